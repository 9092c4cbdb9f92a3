// Measures the page's figures for web/README.md:
//   node web/tools/measure.mjs            (after `make web` and web/build.sh --with-test-driver)
// 1. the WebAssembly engine alone under Node, in x real time (the demo riff
//    at 48 kHz in 128-frame blocks, float32 in and out, best of 5);
// 2. the page weight (everything in build/web/ except the bundled riffs);
// 3. in headless Chromium at 48 kHz: time from pressing Play to sound at the
//    output, and the worklet's processing cost per 128-frame quantum as a
//    share of the quantum's 2.67 ms, averaged over the quanta of 5 s; and
//    the README's screenshot of the playing page (docs/figures/web-page.png).
import { readdirSync, readFileSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

import { serveDirectory } from './static-server.mjs';

const webDir = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..');
const site = path.resolve(webDir, '../build/web');
const { EffectEngine, kQuantum } = await import(pathToFileURL(path.join(site, 'js/wasm-engine.js')).href);

function realTimeFactor() {
  const module = new WebAssembly.Module(readFileSync(path.join(site, 'veltrax.wasm')));
  const bytes = readFileSync(path.join(site, 'riffs/demo-riff.wav'));
  const samples = new Float32Array(bytes.length / 2 - 22);
  for (let i = 0; i < samples.length; ++i) samples[i] = bytes.readInt16LE(44 + 2 * i) / 32768;
  const engine = new EffectEngine(module, 48000, kQuantum);
  engine.setControls({ sustain: 6, tone: 5, volume: 9.7, on: true });
  let best = Infinity;
  for (let run = 0; run < 5; ++run) {
    const start = process.hrtime.bigint();
    for (let at = 0; at + kQuantum <= samples.length; at += kQuantum) {
      engine.input.set(samples.subarray(at, at + kQuantum));
      engine.process(kQuantum);
    }
    best = Math.min(best, Number(process.hrtime.bigint() - start) / 1e9);
  }
  engine.destroy();
  return samples.length / 48000 / best;
}

function pageBytes(dir = site) {
  let total = 0;
  for (const entry of readdirSync(dir, { withFileTypes: true })) {
    const file = path.join(dir, entry.name);
    if (entry.isDirectory()) total += entry.name === 'riffs' ? 0 : pageBytes(file);
    else total += statSync(file).size;
  }
  return total;
}

async function inChromium() {
  const { chromium } = createRequire(path.join(webDir, 'package.json'))('playwright-core');
  const server = await serveDirectory(site);
  const browser = await chromium.launch({ executablePath: '/usr/bin/chromium',
    args: ['--autoplay-policy=no-user-gesture-required', '--no-sandbox'] });
  try {
    const page = await browser.newPage();
    await page.setViewportSize({ width: 1000, height: 720 });
    await page.goto(`${server.url}?rate=48000`);
    await page.evaluate(() => window.veltrax.ready);
    await page.evaluate(() => window.veltrax.loadPreset('classic-fuzz'));
    await page.evaluate(() => window.veltrax.measureCost());  // resets the sums
    const start = Date.now();
    await page.click('#play');
    await page.waitForFunction(() => window.veltrax.levels().output > -60, null, { polling: 5 });
    const firstSoundMs = Date.now() - start;
    await page.waitForTimeout(5000);
    await page.screenshot({ path: path.resolve(webDir, '../docs/figures/web-page.png') });
    return { firstSoundMs, ...(await page.evaluate(() => window.veltrax.measureCost())) };
  } finally {
    await browser.close();
    server.close();
  }
}

console.log(`wasm engine under Node ${process.version}: ${realTimeFactor().toFixed(0)}x real time`);
console.log(`page weight without riffs: ${(pageBytes() / 1024).toFixed(0)} KiB`);
console.log('Chromium:', await inChromium());
