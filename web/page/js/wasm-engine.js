// The effect's WebAssembly engine (veltrax.wasm): one effect instance per
// EffectEngine, created through the module's entry function and driven
// through its record by the small host inside the wasm (web/engine). Used by
// the worklet, the page's offline render and tone curve, and the Node tests.
// The WebAssembly module is compiled once and instantiated synchronously, so
// the audio worklet can build its engine inside its constructor.

// The effect's parameter indexes.
export const Parameter = Object.freeze({ onOff: 0, volume: 1, tone: 2, sustain: 3 });
// Web Audio's render quantum, in frames.
export const kQuantum = 128;

export function compileEngine(bytes) {
  return new WebAssembly.Module(bytes);
}

// The wasm is built stand-alone: it asks its host only to hear about memory
// growth (the engine re-checks its views after each call instead) and to exit.
function imports() {
  return {
    env: { emscripten_notify_memory_growth() {} },
    wasi_snapshot_preview1: {
      proc_exit(code) {
        throw new Error(`VELTRAX engine stopped (exit code ${code})`);
      },
    },
  };
}

export class EffectEngine {
  // `sampleRate` in Hz; `capacity` the longest block, in frames.
  constructor(wasmModule, sampleRate, capacity = kQuantum) {
    const instance = new WebAssembly.Instance(wasmModule, imports());
    this.wasm = instance.exports;
    this.wasm._initialize();
    this.handle = this.wasm.veltrax_web_create(sampleRate, capacity);
    if (!this.handle) throw new Error(`the effect cannot run at ${sampleRate} Hz`);
    this.capacity = capacity;
    this.sampleRate = sampleRate;
    this.refreshViews();
  }

  // Views on the block buffers; rebuilt only when the memory has grown.
  refreshViews() {
    const { memory } = this.wasm;
    if (this.memoryBuffer === memory.buffer) return;
    this.memoryBuffer = memory.buffer;
    const view = (Type, pointer) => new Type(memory.buffer, pointer, this.capacity);
    this.input = view(Float32Array, this.wasm.veltrax_web_input_float(this.handle));
    this.output = view(Float32Array, this.wasm.veltrax_web_output_float(this.handle));
    this.inputDouble = view(Float64Array, this.wasm.veltrax_web_input(this.handle));
    this.outputDouble = view(Float64Array, this.wasm.veltrax_web_output(this.handle));
  }

  // Stores a knob value (0..1); the effect applies it at its next block.
  setParameter(index, value) {
    this.wasm.veltrax_web_set_parameter(this.handle, index, value);
  }

  parameter(index) {
    return this.wasm.veltrax_web_get_parameter(this.handle, index);
  }

  // Sets all four controls: knobs on the pedal's 0..10 dial, `on` a boolean.
  setControls({ sustain, tone, volume, on }) {
    if (sustain !== undefined) this.setParameter(Parameter.sustain, dialToValue(sustain));
    if (tone !== undefined) this.setParameter(Parameter.tone, dialToValue(tone));
    if (volume !== undefined) this.setParameter(Parameter.volume, dialToValue(volume));
    if (on !== undefined) this.setParameter(Parameter.onOff, on ? 1 : 0);
  }

  // output[0..frames) = effect(input[0..frames)), float32 buffers.
  process(frames) {
    this.wasm.veltrax_web_process_float(this.handle, frames);
    this.refreshViews();
  }

  // The same on the float64 buffers (inputDouble, outputDouble).
  processDouble(frames) {
    this.wasm.veltrax_web_process(this.handle, frames);
    this.refreshViews();
  }

  destroy() {
    if (this.handle) this.wasm.veltrax_web_destroy(this.handle);
    this.handle = 0;
  }
}

// The pedal's 0..10 dial to the effect's 0..1 knob value, clamped.
export function dialToValue(dial) {
  const value = Number(dial) / 10;
  return Number.isFinite(value) ? Math.min(1, Math.max(0, value)) : 0;
}

// Processes samples[from, to) into out[from, to) in blocks of at most the
// engine's capacity; returns `to`. Lets callers cut long files into chunks.
export function processRange(engine, samples, out, from, to) {
  for (let at = from; at < to; at += engine.capacity) {
    const frames = Math.min(engine.capacity, to - at);
    engine.input.set(samples.subarray(at, at + frames));
    engine.process(frames);
    out.set(engine.output.subarray(0, frames), at);
  }
  return to;
}

// A whole buffer through a fresh effect instance in 128-frame blocks, as the
// real-time path runs it.
export function renderOffline(wasmModule, samples, sampleRate, controls) {
  const engine = new EffectEngine(wasmModule, sampleRate, kQuantum);
  try {
    engine.setControls(controls);
    const out = new Float32Array(samples.length);
    processRange(engine, samples, out, 0, samples.length);
    return out;
  } finally {
    engine.destroy();
  }
}
