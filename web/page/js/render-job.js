// Whole buffers through a fresh effect instance in 128-frame blocks (as the
// real-time path runs them), cut into chunks of about half a second of work
// so the page stays responsive: progress after each chunk, cancel between
// chunks through an AbortSignal.
import { EffectEngine, kQuantum, processRange } from './wasm-engine.js';

const kChunkFrames = kQuantum * 1024;

export async function renderInChunks(wasmModule, samples, sampleRate, controls,
                                     { onProgress = () => {}, signal } = {}) {
  const engine = new EffectEngine(wasmModule, sampleRate, kQuantum);
  try {
    engine.setControls(controls);
    const out = new Float32Array(samples.length);
    for (let at = 0; at < samples.length;) {
      if (signal?.aborted) throw new DOMException('Rendering cancelled', 'AbortError');
      at = processRange(engine, samples, out, at, Math.min(samples.length, at + kChunkFrames));
      onProgress(at / samples.length);
      await new Promise((resolve) => setTimeout(resolve, 0));
    }
    return out;
  } finally {
    engine.destroy();
  }
}
