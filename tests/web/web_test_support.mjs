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

// Serves the built page on a free localhost port, as `make serve-web` does
// (plain files, no cross-origin headers). Resolves to { url, close() }.
export async function serveSite() {
  const { createServer } = await import('node:http');
  const { readFile } = await import('node:fs/promises');
  const types = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css',
                  '.json': 'application/json', '.wasm': 'application/wasm', '.wav': 'audio/wav' };
  const server = createServer(async (request, response) => {
    const urlPath = decodeURIComponent(new URL(request.url, 'http://localhost').pathname);
    const file = path.join(siteDir, urlPath.endsWith('/') ? `${urlPath}index.html` : urlPath);
    try {
      if (!file.startsWith(siteDir)) throw new Error('outside the site');
      const body = await readFile(file);
      response.writeHead(200, { 'Content-Type': types[path.extname(file)] ?? 'application/octet-stream' });
      response.end(body);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return { url: `http://localhost:${server.address().port}/`, close: () => server.close() };
}
