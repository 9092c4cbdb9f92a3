// Serves a directory of static files on a free localhost port, like
// `make serve-web` (plain files, no cross-origin headers), for the browser
// tests and the measurements. Resolves to { url, close() }.
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import path from 'node:path';

const kTypes = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css',
                 '.json': 'application/json', '.wasm': 'application/wasm', '.wav': 'audio/wav' };

export async function serveDirectory(root) {
  const server = createServer(async (request, response) => {
    const urlPath = decodeURIComponent(new URL(request.url, 'http://localhost').pathname);
    const file = path.join(root, urlPath.endsWith('/') ? `${urlPath}index.html` : urlPath);
    try {
      if (!file.startsWith(root)) throw new Error('outside the site');
      const body = await readFile(file);
      response.writeHead(200, { 'Content-Type': kTypes[path.extname(file)] ?? 'application/octet-stream' });
      response.end(body);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return { url: `http://localhost:${server.address().port}/`, close: () => server.close() };
}
