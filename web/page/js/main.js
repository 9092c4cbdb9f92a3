// The pedal page: wires the SVG pedal, the sources, the meters, the tone
// curve and the file render to the WebAssembly engine, and publishes the
// scripting hook window.veltrax (web/README.md).
import { compileEngine } from './wasm-engine.js';
import { Knob } from './knob.js';
import { renderInChunks } from './render-job.js';
import { curveFrequencies, drawResponse, measureResponse } from './tone-curve.js';
import { encodeWav, wavSampleRate } from './wav.js';

const $ = (id) => document.getElementById(id);
const kMaxFileSeconds = 30 * 60;  // longer files are refused: memory, not time
const kRiffs = [
  { file: 'riffs/demo-riff.wav', label: 'Power-chord riff (8.5 s)' },
  { file: 'riffs/slow-lead.wav', label: 'Slow lead (10 s)' },
];
const kKnobLayout = [
  { name: 'sustain', label: 'Sustain', x: 70, y: 110 },
  { name: 'tone', label: 'Tone', x: 150, y: 80 },
  { name: 'volume', label: 'Volume', x: 230, y: 110 },
];

const state = {
  controls: { sustain: 5, tone: 5, volume: 5, on: true },
  wasmBytes: null,
  wasmModule: null,
  presets: [],
  knobs: {},
  audio: null,       // the live graph, see buildAudio()
  source: null,      // the node feeding the pedal
  chosen: null,      // { name, samples, sampleRate }: what "Render file" renders
  render: null,      // AbortController of the running render
};

function showStatus(text, { error = false } = {}) {
  const status = $('status');
  status.textContent = text;
  status.classList.toggle('error', error);
}

function describeError(error) {
  return error?.message || String(error);
}

// ---- Controls -----------------------------------------------------------

function sendControls() {
  state.audio?.pedal.port.postMessage({ type: 'controls', controls: state.controls });
}

function setKnob(name, dial) {
  const knob = state.knobs[name];
  if (!knob) throw new Error(`no knob named "${name}" (sustain, tone, volume)`);
  knob.set(dial);
}

function onKnobChange(name, dial) {
  state.controls[name] = dial;
  $('preset').value = '';
  sendControls();
  scheduleCurve();
}

function setOn(on) {
  state.controls.on = Boolean(on);
  $('led').classList.toggle('on', state.controls.on);
  $('footswitch').setAttribute('aria-checked', String(state.controls.on));
  sendControls();
}

function loadPreset(name) {
  const preset = state.presets.find((p) => p.name === name);
  if (!preset) throw new Error(`no preset named "${name}"`);
  for (const knob of ['sustain', 'tone', 'volume']) state.knobs[knob].set(Math.round(preset[knob] * 100) / 10);
  $('preset').value = name;
}

function buildPedal() {
  const group = $('knobs');
  for (const layout of kKnobLayout) {
    state.knobs[layout.name] = new Knob(group, {
      ...layout, value: state.controls[layout.name],
      onChange: (dial) => onKnobChange(layout.name, dial),
    });
  }
  const footswitch = $('footswitch');
  footswitch.addEventListener('click', () => setOn(!state.controls.on));
  footswitch.addEventListener('keydown', (event) => {
    if (event.key === 'Enter' || event.key === ' ') {
      event.preventDefault();
      setOn(!state.controls.on);
    }
  });
  setOn(true);
  const select = $('preset');
  for (const preset of state.presets) select.add(new Option(preset.label, preset.name));
  select.addEventListener('change', () => select.value && loadPreset(select.value));
}

// ---- Tone curve ---------------------------------------------------------

let curvePending = false;
function scheduleCurve() {
  if (curvePending) return;
  curvePending = true;
  requestAnimationFrame(() => {
    curvePending = false;
    const rate = state.audio?.context.sampleRate ?? 48000;
    const frequencies = curveFrequencies(rate);
    const gains = measureResponse(state.wasmModule, rate, state.controls, frequencies);
    drawResponse($('curve'), $('curve-path'), frequencies, gains);
  });
}

// ---- Audio graph --------------------------------------------------------

// The device's rate, unless the address asks for one (?rate=48000).
function requestedRate() {
  const rate = Number(new URLSearchParams(location.search).get('rate'));
  return rate > 0 ? rate : undefined;
}

async function buildAudio() {
  const context = new AudioContext({ latencyHint: 'interactive', sampleRate: requestedRate() });
  await context.audioWorklet.addModule('js/pedal-worklet.js');
  const pedal = new AudioWorkletNode(context, 'veltrax-pedal', {
    numberOfInputs: 1, numberOfOutputs: 1, outputChannelCount: [1],
    channelCount: 1, channelCountMode: 'explicit', channelInterpretation: 'discrete',
    processorOptions: { wasmBytes: state.wasmBytes, controls: state.controls },
  });
  pedal.onprocessorerror = () =>
    showStatus('The audio engine stopped. Reload the page to start it again.', { error: true });
  const input = new GainNode(context);
  const output = new GainNode(context);
  const analyser = () => new AnalyserNode(context, { fftSize: 2048 });
  const inputAnalyser = analyser(), outputAnalyser = analyser();
  input.connect(pedal).connect(output).connect(context.destination);
  input.connect(inputAnalyser);
  output.connect(outputAnalyser);
  context.addEventListener('statechange', updateStartButton);
  state.audio = { context, pedal, input, output, inputAnalyser, outputAnalyser,
                  block: new Float32Array(2048) };
  updateStartButton();
}

function updateStartButton() {
  const suspended = state.audio && state.audio.context.state !== 'running';
  $('start').hidden = !suspended;
  if (suspended) showStatus('The browser holds audio until you click: click to start.');
}

async function startAudio() {
  await state.audio.context.resume();
  updateStartButton();
  if (state.audio.context.state === 'running') showStatus('Audio running. Choose a source and play.');
}

// The default output device's rate, probed with a fresh context; when it no
// longer matches, the pedal restarts at the new rate.
async function checkDeviceRate() {
  if (!state.audio) return;
  if (requestedRate()) return;
  const probe = new AudioContext();
  const rate = probe.sampleRate;
  await probe.close();
  const old = state.audio.context.sampleRate;
  if (rate === old) return;
  stopSource();
  await state.audio.context.close();
  await buildAudio();
  scheduleCurve();
  showStatus(`The audio device changed from ${old} Hz to ${rate} Hz: the pedal restarted at the new rate. Press Play again.`);
}

// ---- Sources ------------------------------------------------------------

function stopSource() {
  if (!state.source) return;
  if (state.source.stop) state.source.stop();
  state.source.disconnect();
  state.source.mediaStream?.getTracks().forEach((track) => track.stop());
  state.source = null;
}

async function ensureRunning() {
  if (state.audio.context.state !== 'running') await startAudio();
}

async function playChosen() {
  if (!state.chosen) {
    showStatus('Choose a bundled riff or a file first.', { error: true });
    return;
  }
  await ensureRunning();
  stopSource();
  const { samples, sampleRate, name } = state.chosen;
  const buffer = new AudioBuffer({ length: samples.length, sampleRate, numberOfChannels: 1 });
  buffer.copyToChannel(samples, 0);
  const node = new AudioBufferSourceNode(state.audio.context, { buffer, loop: true });
  node.connect(state.audio.input);
  node.start();
  state.source = node;
  showStatus(`Playing ${name} (looped).`);
}

async function playLive() {
  if (!navigator.mediaDevices?.getUserMedia) {
    showStatus('This browser offers no audio input here (it needs http://localhost or https).', { error: true });
    return;
  }
  let stream;
  try {
    stream = await navigator.mediaDevices.getUserMedia({
      audio: { echoCancellation: false, noiseSuppression: false, autoGainControl: false },
    });
  } catch (error) {
    const reasons = {
      NotAllowedError: 'Microphone access was refused. Allow it in the browser\'s site settings to play live.',
      NotFoundError: 'No audio input device was found. Connect an interface or microphone and try again.',
      NotReadableError: 'The audio input device is busy or unavailable.',
    };
    showStatus(reasons[error.name] ?? `Live input failed: ${describeError(error)}`, { error: true });
    return;
  }
  await ensureRunning();
  stopSource();
  const node = new MediaStreamAudioSourceNode(state.audio.context, { mediaStream: stream });
  node.connect(state.audio.input);
  state.source = node;
  const { context } = state.audio;
  const track = stream.getAudioTracks()[0];
  const trackRate = track?.getSettings().sampleRate;
  $('latency').textContent =
    `Base latency ${(context.baseLatency * 1000).toFixed(1)} ms, output latency ` +
    `${((context.outputLatency || 0) * 1000).toFixed(1)} ms at ${context.sampleRate} Hz` +
    (trackRate && trackRate !== context.sampleRate ? ` (input device at ${trackRate} Hz, resampled)` : '');
  showStatus(`Live input: ${track?.label || 'audio input'}.`);
}

// Decodes a file or fetched bytes at the file's own rate (WAV) or the
// context's; keeps the first channel. Throws with a message for the page.
async function decodeSource(name, bytes) {
  if (bytes.byteLength === 0) throw new Error(`${name} is empty.`);
  const contextRate = state.audio?.context.sampleRate ?? 48000;
  const fileRate = wavSampleRate(bytes);
  const rate = fileRate >= 3000 && fileRate <= 768000 ? fileRate : contextRate;
  let buffer;
  try {
    buffer = await new OfflineAudioContext(1, 1, rate).decodeAudioData(bytes.slice(0));
  } catch {
    throw new Error(`${name} could not be decoded: it is not an audio format this browser reads.`);
  }
  if (buffer.length === 0) throw new Error(`${name} holds no audio samples.`);
  if (buffer.duration > kMaxFileSeconds)
    throw new Error(`${name} is ${(buffer.duration / 60).toFixed(0)} minutes long; the page takes files up to ${kMaxFileSeconds / 60} minutes.`);
  return { name, samples: buffer.getChannelData(0).slice(), sampleRate: buffer.sampleRate };
}

async function chooseBytes(name, bytes) {
  showStatus(`Decoding ${name}…`);
  try {
    state.chosen = await decodeSource(name, bytes);
  } catch (error) {
    showStatus(describeError(error), { error: true });
    return false;
  }
  const { samples, sampleRate } = state.chosen;
  $('source-info').textContent =
    `${name}: ${(samples.length / sampleRate).toFixed(1)} s at ${sampleRate} Hz, first channel.`;
  $('download').hidden = true;
  showStatus(`${name} is ready: Play it or render it.`);
  return true;
}

async function chooseRiff(index) {
  const riff = kRiffs[index];
  const response = await fetch(riff.file);
  if (!response.ok) throw new Error(`could not load ${riff.file} (${response.status})`);
  return chooseBytes(riff.label, await response.arrayBuffer());
}

async function chooseFile(file) {
  if (!file) return;
  if (await chooseBytes(file.name, await file.arrayBuffer())) await playChosen();
}

function buildSources() {
  const riffSelect = $('riff');
  kRiffs.forEach((riff, i) => riffSelect.add(new Option(riff.label, String(i))));
  riffSelect.addEventListener('change', async () => {
    if (await chooseRiff(Number(riffSelect.value))) await playChosen();
  });
  $('file').addEventListener('change', (event) => chooseFile(event.target.files[0]));
  const drop = $('drop');
  drop.addEventListener('dragover', (event) => {
    event.preventDefault();
    drop.classList.add('over');
  });
  drop.addEventListener('dragleave', () => drop.classList.remove('over'));
  drop.addEventListener('drop', (event) => {
    event.preventDefault();
    drop.classList.remove('over');
    chooseFile(event.dataTransfer.files[0]);
  });
  $('play').addEventListener('click', playChosen);
  $('stop').addEventListener('click', () => {
    stopSource();
    showStatus('Stopped.');
  });
  $('live').addEventListener('click', playLive);
  $('start').addEventListener('click', startAudio);
}

// ---- Meters -------------------------------------------------------------

function levelDb(analyser, block) {
  analyser.getFloatTimeDomainData(block);
  let peak = 0;
  for (let i = 0; i < block.length; ++i) peak = Math.max(peak, Math.abs(block[i]));
  return peak > 0 ? 20 * Math.log10(peak) : -Infinity;
}

function levels() {
  const { inputAnalyser, outputAnalyser, block } = state.audio;
  return { input: levelDb(inputAnalyser, block), output: levelDb(outputAnalyser, block) };
}

function updateMeters() {
  if (state.audio) {
    const { input, output } = levels();
    for (const [id, db] of [['in', input], ['out', output]]) {
      $(`meter-${id}`).value = Math.max(-60, db);
      $(`level-${id}`).textContent = Number.isFinite(db) ? `${db.toFixed(1)} dB` : '–∞ dB';
    }
  }
  requestAnimationFrame(updateMeters);
}

// ---- Render -------------------------------------------------------------

async function renderChosen() {
  if (!state.chosen) {
    showStatus('Choose a bundled riff or a file to render first.', { error: true });
    return;
  }
  const { name, samples, sampleRate } = state.chosen;
  const controller = new AbortController();
  state.render = controller;
  $('render').disabled = true;
  $('cancel').disabled = false;
  $('download').hidden = true;
  const progress = $('progress');
  try {
    const out = await renderInChunks(state.wasmModule, samples, sampleRate, state.controls, {
      signal: controller.signal,
      onProgress: (fraction) => {
        progress.value = fraction;
        showStatus(`Rendering ${name}: ${(fraction * 100).toFixed(0)} %`);
      },
    });
    const wav = encodeWav(out, sampleRate, $('format').value);
    const link = $('download');
    if (link.href) URL.revokeObjectURL(link.href);
    link.href = URL.createObjectURL(new Blob([wav], { type: 'audio/wav' }));
    link.download = `${name.replace(/\.[^.]*$/, '').replace(/[^\w.-]+/g, '-')}-veltrax.wav`;
    link.textContent = `Download ${link.download}`;
    link.hidden = false;
    link.click();
    showStatus(`Rendered ${name}: ${(out.length / sampleRate).toFixed(1)} s.`);
  } catch (error) {
    if (error.name === 'AbortError') showStatus('Rendering cancelled.');
    else showStatus(`Rendering failed: ${describeError(error)}`, { error: true });
  } finally {
    state.render = null;
    $('render').disabled = false;
    $('cancel').disabled = true;
  }
}

// ---- Scripting hook -----------------------------------------------------

function validSamples(samples, sampleRate) {
  if (!(samples instanceof Float32Array)) throw new TypeError('samples must be a Float32Array');
  if (!(Number.isFinite(sampleRate) && sampleRate >= 62.5 && sampleRate < 2147483648))
    throw new RangeError(`sample rate ${sampleRate} Hz is outside what the effect accepts`);
}

function measureCost() {
  return new Promise((resolve) => {
    const { pedal, context } = state.audio;
    pedal.port.onmessage = ({ data }) => {
      const meanMs = data.busyMs / Math.max(1, data.quanta);
      const budgetMs = (128 / context.sampleRate) * 1000;
      resolve({ meanMicroseconds: meanMs * 1000, percentOfBudget: (100 * meanMs) / budgetMs,
                quanta: data.quanta, sampleRate: data.sampleRate, clock: data.clock });
    };
    pedal.port.postMessage({ type: 'cost' });
  });
}

async function main() {
  const [wasm, presets] = await Promise.all([
    fetch('veltrax.wasm').then((r) => {
      if (!r.ok) throw new Error(`veltrax.wasm could not be loaded (${r.status})`);
      return r.arrayBuffer();
    }),
    fetch('presets.json').then((r) => r.json()),
  ]);
  state.wasmBytes = wasm;
  state.wasmModule = compileEngine(wasm);
  state.presets = presets;
  buildPedal();
  buildSources();
  await buildAudio();
  navigator.mediaDevices?.addEventListener('devicechange', () =>
    checkDeviceRate().catch((error) => showStatus(describeError(error), { error: true })));
  $('render').addEventListener('click', renderChosen);
  $('cancel').addEventListener('click', () => state.render?.abort());
  scheduleCurve();
  updateMeters();
  await chooseRiff(0);
  updateStartButton();
  if (state.audio.context.state === 'running') showStatus('Ready: press Play, drop a file or use live input.');
}

const ready = main().catch((error) => {
  showStatus(`The pedal could not start: ${describeError(error)}`, { error: true });
  throw error;
});
ready.catch(() => {});

window.veltrax = {
  ready,
  setKnob,
  setOn,
  loadPreset,
  knobs: () => ({ ...state.controls }),
  presets: () => state.presets.map((p) => p.name),
  levels,
  measureCost,
  get audio() {
    const { context, input, output } = state.audio;
    return { context, input, output };
  },
  async renderOffline(samples, sampleRate, controls = {}) {
    validSamples(samples, sampleRate);
    return renderInChunks(state.wasmModule, samples, sampleRate, { ...state.controls, ...controls });
  },
};
