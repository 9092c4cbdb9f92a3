// The WebAssembly engine against the native module, under Node: the bundled
// dry riff goes through the same block scripts (knob settings, block
// lengths, On/Off toggles, rates) in both, and the outputs agree sample by
// sample.
//
// Tolerance: 1e-12 absolute (-240 dBFS) on outputs of up to about 0.4. The
// wasm build links another math library (musl's tan, cos, exp, pow where the
// module uses glibc's), whose results may differ in the last bit, and
// WebAssembly has no flush-to-zero, so denormal filter states survive where
// the native block flushes them to zero. Both differences start at about
// 1e-16 relative; the IIR cascades and the clipping curve carry them along
// (measured: at most 1e-16 absolute on these scripts), and the margin keeps
// the check meaningful: a wrong coefficient, block split or ramp shows as
// 1e-6 or more.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { test } from 'node:test';

import { readRiff, siteDir, loadEngineModule } from './web_test_support.mjs';

const kTolerance = 1e-12;
const referenceHost = process.env.VELTRAX_WEB_REFERENCE;
const nativeModule = process.env.VELTRAX_MODULE;
const { EffectEngine, Parameter } = await loadEngineModule();
const wasmModule = new WebAssembly.Module(readFileSync(path.join(siteDir, 'veltrax.wasm')));

// A block script: the rate, then knob stores and blocks in order.
function script(rate, steps) {
  const lines = [`rate ${rate}`];
  for (const step of steps) {
    if (step.param !== undefined) lines.push(`param ${step.param} ${step.value}`);
    else lines.push(`process ${step.frames}`);
  }
  return lines.join('\n') + '\n';
}

// Cuts `total` frames into blocks cycling through `lengths`, with `controls`
// (a function of the block number returning knob stores) before each block.
function blocks(total, lengths, controls = () => []) {
  const steps = [];
  for (let at = 0, n = 0; at < total; ++n) {
    const frames = Math.min(lengths[n % lengths.length], total - at);
    steps.push(...controls(n), { frames });
    at += frames;
  }
  return steps;
}

const knobs = (sustain, tone, volume, on = 1) => [
  { param: Parameter.onOff, value: on },
  { param: Parameter.sustain, value: sustain },
  { param: Parameter.tone, value: tone },
  { param: Parameter.volume, value: volume },
];

function renderWasm(rate, steps, input) {
  const engine = new EffectEngine(wasmModule, rate, 4096);
  const out = new Float64Array(input.length);
  let at = 0;
  for (const step of steps) {
    if (step.param !== undefined) {
      engine.setParameter(step.param, step.value);
      continue;
    }
    engine.inputDouble.set(input.subarray(at, at + step.frames));
    engine.processDouble(step.frames);
    out.set(engine.outputDouble.subarray(0, step.frames), at);
    at += step.frames;
  }
  engine.destroy();
  return out;
}

function renderNative(rate, steps, input) {
  const dir = mkdtempSync(path.join(tmpdir(), 'veltrax-web-'));
  try {
    const files = ['script.txt', 'in.f64', 'out.f64'].map((name) => path.join(dir, name));
    writeFileSync(files[0], script(rate, steps));
    writeFileSync(files[1], new Uint8Array(input.buffer, input.byteOffset, input.byteLength));
    execFileSync(referenceHost, [nativeModule, ...files], { stdio: 'inherit' });
    const bytes = readFileSync(files[2]);
    return new Float64Array(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length));
  } finally {
    rmSync(dir, { recursive: true, force: true });
  }
}

const riff = readRiff('demo-riff.wav');
const seconds = (rate, s) => Math.round(rate * s);

const cases = [
  { name: 'classic fuzz in 128-frame quanta', rate: 48000,
    steps: [...knobs(0.6, 0.5, 0.97), ...blocks(seconds(48000, 3), [128])] },
  { name: 'full sustain, dark, odd block lengths', rate: 48000,
    steps: [...knobs(1, 0, 0.5), ...blocks(seconds(48000, 3), [1, 7, 128, 513, 64, 4096])] },
  { name: 'tone sweep and On/Off toggles every 40 blocks', rate: 48000,
    steps: blocks(seconds(48000, 3), [256], (n) => [
      ...(n === 0 ? knobs(0.8, 0, 0.9) : []),
      { param: Parameter.tone, value: Math.fround((n % 50) / 50) },
      ...(n % 40 === 39 ? [{ param: Parameter.onOff, value: (n / 40) % 2 < 1 ? 0 : 1 }] : []),
    ]) },
  { name: 'bright lead at 44.1 kHz', rate: 44100,
    steps: [...knobs(0.8, 0.85, 0.93), ...blocks(seconds(44100, 2), [128, 100])] },
  { name: 'bypassed from the first block', rate: 96000,
    steps: [...knobs(0.5, 0.5, 0.5, 0), ...blocks(seconds(96000, 1), [128])] },
];

for (const { name, rate, steps } of cases) {
  test(`wasm engine equals the native module: ${name}`, () => {
    const total = steps.reduce((sum, step) => sum + (step.frames ?? 0), 0);
    const input = riff.slice(0, total);
    const wasm = renderWasm(rate, steps, input);
    const native = renderNative(rate, steps, input);
    assert.equal(native.length, total);
    let worst = 0;
    let worstAt = 0;
    for (let i = 0; i < total; ++i) {
      const difference = Math.abs(wasm[i] - native[i]);
      if (!(difference <= worst)) [worst, worstAt] = [difference, i];
    }
    const rms = Math.sqrt(native.reduce((sum, x) => sum + x * x, 0) / total);
    assert.ok(rms > 1e-3, `the render is not silent (RMS ${rms})`);
    if (process.env.VELTRAX_WEB_VERBOSE) console.log(`${name}: worst ${worst}, RMS ${rms}`);
    assert.ok(worst <= kTolerance,
              `largest difference ${worst} at sample ${worstAt} exceeds ${kTolerance}`);
  });
}
