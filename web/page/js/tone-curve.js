// The effect's small-signal frequency response, measured on the module: a
// fresh instance with the current knobs hears silence for a moment (so the
// knob ramps settle), then an impulse small enough to keep the clipper in its
// linear range; the FFT of what comes out is the response:
//   H(f) = FFT(y)[f] / A,  A = impulse amplitude.
import { EffectEngine, kQuantum } from './wasm-engine.js';

const kLength = 32768;              // samples of the response (1.5 Hz bins at 48 kHz)
const kImpulse = 1e-5;              // linear, -100 dBFS
const kSettleQuanta = 16;           // silent blocks before the impulse

// In-place radix-2 FFT of (re, im), length a power of two.
function fft(re, im) {
  const n = re.length;
  for (let i = 1, j = 0; i < n; ++i) {
    let bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) {
      [re[i], re[j]] = [re[j], re[i]];
      [im[i], im[j]] = [im[j], im[i]];
    }
  }
  for (let size = 2; size <= n; size <<= 1) {
    const step = (-2 * Math.PI) / size;
    for (let start = 0; start < n; start += size) {
      for (let k = 0; k < size / 2; ++k) {
        const wr = Math.cos(step * k), wi = Math.sin(step * k);
        const a = start + k, b = a + size / 2;
        const tr = re[b] * wr - im[b] * wi, ti = re[b] * wi + im[b] * wr;
        re[b] = re[a] - tr;
        im[b] = im[a] - ti;
        re[a] += tr;
        im[a] += ti;
      }
    }
  }
}

// Gain in dB at each of `frequencies` (Hz), for knobs on the 0..10 dial.
export function measureResponse(wasmModule, sampleRate, controls, frequencies) {
  const engine = new EffectEngine(wasmModule, sampleRate, kQuantum);
  const re = new Float64Array(kLength);
  try {
    engine.setControls({ ...controls, on: true });
    engine.input.fill(0);
    for (let q = 0; q < kSettleQuanta; ++q) engine.process(kQuantum);
    for (let at = 0; at < kLength; at += kQuantum) {
      engine.input.fill(0);
      if (at === 0) engine.input[0] = kImpulse;
      engine.process(kQuantum);
      re.set(engine.output, at);
    }
  } finally {
    engine.destroy();
  }
  const im = new Float64Array(kLength);
  fft(re, im);
  return frequencies.map((f) => {
    const bin = Math.min(kLength / 2, Math.round((f / sampleRate) * kLength));
    return 20 * Math.log10(Math.hypot(re[bin], im[bin]) / kImpulse + 1e-30);
  });
}

// Draws the response into an SVG path over a log-frequency axis.
export function drawResponse(svg, path, frequencies, gainsDb) {
  const width = svg.viewBox.baseVal.width, height = svg.viewBox.baseVal.height;
  const top = Math.ceil(Math.max(...gainsDb) / 10) * 10 + 5;
  const range = 60;
  const x = (f) => (Math.log(f / frequencies[0]) / Math.log(frequencies.at(-1) / frequencies[0])) * width;
  const y = (db) => Math.min(height, ((top - db) / range) * height);
  path.setAttribute('d', frequencies.map((f, i) => `${i ? 'L' : 'M'}${x(f).toFixed(1)},${y(gainsDb[i]).toFixed(1)}`).join(''));
  const grid = svg.querySelector('.curve-grid');
  grid.replaceChildren(...[100, 1000, 10000].filter((f) => f < frequencies.at(-1)).map((f) => {
    const line = document.createElementNS('http://www.w3.org/2000/svg', 'g');
    line.innerHTML = `<line x1="${x(f)}" x2="${x(f)}" y1="0" y2="${height}"/>` +
      `<text x="${x(f) + 3}" y="${height - 4}">${f >= 1000 ? `${f / 1000} kHz` : `${f} Hz`}</text>`;
    return line;
  }));
  svg.querySelector('.curve-top').textContent = `${top} dB`;
  svg.querySelector('.curve-bottom').textContent = `${top - range} dB`;
}

// Log-spaced frequencies from 20 Hz to 20 kHz (below Nyquist).
export function curveFrequencies(sampleRate, count = 160) {
  const high = Math.min(20000, sampleRate * 0.45);
  return Array.from({ length: count }, (_, i) => 20 * (high / 20) ** (i / (count - 1)));
}
