// What the web tests share: where the built page is, the page's own engine
// module, and the bundled dry riffs as samples.
import { readFileSync } from 'node:fs';
import path from 'node:path';
import { pathToFileURL } from 'node:url';

export const siteDir = process.env.VELTRAX_WEB_SITE;
if (!siteDir) throw new Error('VELTRAX_WEB_SITE must name the built page (build/web)');

export function loadEngineModule() {
  return import(pathToFileURL(path.join(siteDir, 'js', 'wasm-engine.js')).href);
}

// A 16-bit PCM mono WAV as written by the build (veltrax_web_assets), as
// float64 samples in -1..1 scaled like Web Audio's decoder (1/32768).
export function readRiff(name) {
  const bytes = readFileSync(path.join(siteDir, 'riffs', name));
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
  const dataAt = bytes.indexOf('data', 12, 'latin1');
  const frames = view.getUint32(dataAt + 4, true) / 2;
  const samples = new Float64Array(frames);
  for (let i = 0; i < frames; ++i) samples[i] = view.getInt16(dataAt + 8 + 2 * i, true) / 32768;
  return samples;
}

// Serves the built page on a free localhost port.
export async function serveSite() {
  const { serveDirectory } = await import('../../web/tools/static-server.mjs');
  return serveDirectory(siteDir);
}
