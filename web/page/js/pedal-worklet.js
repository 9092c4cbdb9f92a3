// The real-time path: an AudioWorkletProcessor that runs one effect instance
// on 128-frame render quanta at the context's sample rate. The wasm bytes come
// in processorOptions and are instantiated synchronously here. process()
// allocates nothing: the engine's block buffers live in wasm memory and the
// views on them are made once (again only if that memory grows).
import { EffectEngine, compileEngine, kQuantum } from './wasm-engine.js';

// The clock for the cost figure: performance.now() where the worklet scope
// has it, else Date.now(), whose 1 ms steps still average out over many quanta.
const clock = globalThis.performance ? () => globalThis.performance.now() : () => Date.now();

class PedalProcessor extends AudioWorkletProcessor {
  constructor(options) {
    super();
    const { wasmBytes, controls } = options.processorOptions;
    this.engine = new EffectEngine(compileEngine(wasmBytes), sampleRate, kQuantum);
    this.engine.setControls(controls);
    this.busyMs = 0;
    this.quanta = 0;
    // Control messages arrive on the audio thread between quanta.
    this.port.onmessage = ({ data }) => {
      if (data.type === 'controls') this.engine.setControls(data.controls);
      else if (data.type === 'cost') {
        this.port.postMessage({ type: 'cost', busyMs: this.busyMs, quanta: this.quanta,
                                sampleRate, clock: globalThis.performance ? 'performance.now' : 'Date.now' });
        this.busyMs = 0;
        this.quanta = 0;
      }
    };
  }

  process(inputs, outputs) {
    const engine = this.engine;
    const input = inputs[0];
    if (input.length > 0) engine.input.set(input[0]);
    else engine.input.fill(0);
    const start = clock();
    engine.process(kQuantum);
    this.busyMs += clock() - start;
    this.quanta += 1;
    const output = outputs[0];
    for (let c = 0; c < output.length; ++c) output[c].set(engine.output);
    return true;
  }
}

registerProcessor('veltrax-pedal', PedalProcessor);
