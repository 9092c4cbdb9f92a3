// The pedal page in headless Chromium (Debian's, driven by playwright-core,
// fake media devices): it loads cleanly, its offline render is the Node
// render, its knobs move the sound the right way, its footswitch does not
// click, live input sounds, a chosen file renders to a valid WAV, and the
// page is drawn.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { after, before, test } from 'node:test';

import { loadEngineModule, readRiff, serveSite, siteDir } from './web_test_support.mjs';

const webDir = path.resolve(siteDir, '../../web');
const { chromium } = createRequire(path.join(webDir, 'package.json'))('playwright-core');
const { encodeWav } = await import(new URL(`file://${siteDir}/js/wav.js`).href);
const { renderOffline } = await loadEngineModule();
const wasmModule = new WebAssembly.Module(readFileSync(path.join(siteDir, 'veltrax.wasm')));

let server, browser, page;
const problems = [];  // console errors, page errors and failed requests

before(async () => {
  server = await serveSite();
  browser = await chromium.launch({
    executablePath: process.env.VELTRAX_CHROMIUM ?? '/usr/bin/chromium',
    args: ['--use-fake-ui-for-media-stream', '--use-fake-device-for-media-stream',
           '--autoplay-policy=no-user-gesture-required', '--no-sandbox'],
  });
  const context = await browser.newContext({ acceptDownloads: true, viewport: { width: 1000, height: 760 } });
  page = await context.newPage();
  page.on('console', (message) => message.type() === 'error' && problems.push(message.text()));
  page.on('pageerror', (error) => problems.push(String(error)));
  page.on('requestfailed', (request) => problems.push(`request failed: ${request.url()}`));
  page.on('response', (response) => response.status() >= 400 && problems.push(`${response.status()} ${response.url()}`));
  await page.goto(server.url);
  await page.evaluate(() => window.veltrax.ready);
});

after(async () => {
  await browser?.close();
  server?.close();
});

// window.veltrax.renderOffline in the page; samples travel as plain arrays.
async function renderInPage(samples, sampleRate, controls) {
  const out = await page.evaluate(async ({ samples, sampleRate, controls }) =>
    Array.from(await window.veltrax.renderOffline(new Float32Array(samples), sampleRate, controls)),
  { samples: Array.from(samples), sampleRate, controls });
  return Float32Array.from(out);
}

const rms = (x) => Math.sqrt(x.reduce((sum, v) => sum + v * v, 0) / x.length);
const riff = Float32Array.from(readRiff('demo-riff.wav').subarray(0, 24000));
const quietRiff = riff.map((x) => x * 0.02);  // -46 dBFS peak: below full saturation

test('the page loads without console errors or failed requests, and is drawn', async () => {
  assert.equal(await page.locator('[role=slider]').count(), 3);
  assert.ok((await page.locator('#preset option').count()) > 3, 'presets listed');
  const png = await page.screenshot();
  // Pixel statistics of the screenshot, decoded by the browser itself.
  const { mean, deviation, colours } = await page.evaluate(async (dataUrl) => {
    const image = new Image();
    image.src = dataUrl;
    await image.decode();
    const canvas = new OffscreenCanvas(image.width, image.height);
    const g = canvas.getContext('2d');
    g.drawImage(image, 0, 0);
    const { data } = g.getImageData(0, 0, image.width, image.height);
    let sum = 0, squares = 0;
    const seen = new Set();
    for (let i = 0; i < data.length; i += 4) {
      const luma = 0.2126 * data[i] + 0.7152 * data[i + 1] + 0.0722 * data[i + 2];
      sum += luma;
      squares += luma * luma;
      seen.add((data[i] >> 4) * 256 + (data[i + 1] >> 4) * 16 + (data[i + 2] >> 4));
    }
    const n = data.length / 4;
    return { mean: sum / n, deviation: Math.sqrt(squares / n - (sum / n) ** 2), colours: seen.size };
  }, `data:image/png;base64,${png.toString('base64')}`);
  assert.ok(deviation > 20 && colours > 30, `screenshot looks blank (mean ${mean}, deviation ${deviation}, ${colours} colours)`);
  assert.deepEqual(problems, []);
});

test('renderOffline in the page equals the Node render of the same engine', async () => {
  const controls = { sustain: 7, tone: 3, volume: 8, on: true };
  const inPage = await renderInPage(riff, 48000, controls);
  const inNode = renderOffline(wasmModule, riff, 48000, controls);
  assert.deepEqual(inPage, inNode);
});

test('more sustain by keyboard and more volume by drag raise the level of a quiet input', async () => {
  await page.evaluate(() => {
    window.veltrax.loadPreset('classic-fuzz');
  });
  const level = async () => rms(await renderInPage(quietRiff, 48000, {}));
  const before = await level();
  const sustain = page.locator('[data-knob=sustain]');
  await sustain.focus();
  for (let i = 0; i < 30; ++i) await page.keyboard.press('ArrowUp');
  assert.equal((await page.evaluate(() => window.veltrax.knobs())).sustain, 9);
  const afterSustain = await level();
  assert.ok(afterSustain > before * 1.05, `sustain 6 -> 9: RMS ${before} -> ${afterSustain}`);

  await page.evaluate(() => window.veltrax.setKnob('volume', 5));
  const atHalf = await level();
  const box = await page.locator('[data-knob=volume] .knob-body').boundingBox();
  const [x, y] = [box.x + box.width / 2, box.y + box.height / 2];
  await page.mouse.move(x, y);
  await page.mouse.down();
  await page.mouse.move(x, y - 60, { steps: 6 });
  await page.mouse.up();
  const volume = (await page.evaluate(() => window.veltrax.knobs())).volume;
  assert.ok(volume > 7, `dragging up 60 px turned volume to ${volume}`);
  assert.ok((await level()) > atHalf * 1.2, 'more volume, more level');
});

test('the footswitch fades between effect and dry sound without a click', async () => {
  // A 220 Hz sine through the live graph, recorded after the pedal by a
  // small recorder worklet, while the footswitch is pressed twice.
  const result = await page.evaluate(async () => {
    const { context, input, output } = window.veltrax.audio;
    await context.resume();
    const recorderCode = `registerProcessor('recorder', class extends AudioWorkletProcessor {
      process(inputs) { if (inputs[0][0]) this.port.postMessage(inputs[0][0].slice()); return true; } });`;
    await context.audioWorklet.addModule(URL.createObjectURL(new Blob([recorderCode], { type: 'text/javascript' })));
    const recorder = new AudioWorkletNode(context, 'recorder');
    const blocks = [];
    recorder.port.onmessage = ({ data }) => blocks.push(data);
    output.connect(recorder);
    const sine = new OscillatorNode(context, { frequency: 220 });
    const level = new GainNode(context, { gain: 0.05 });
    sine.connect(level).connect(input);
    sine.start();
    const wait = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
    const mark = () => blocks.length;
    await wait(400);
    const marks = [mark()];
    document.getElementById('footswitch').dispatchEvent(new MouseEvent('click', { bubbles: true }));
    await wait(400);
    marks.push(mark());
    document.getElementById('footswitch').dispatchEvent(new MouseEvent('click', { bubbles: true }));
    await wait(400);
    marks.push(mark());
    sine.stop();
    output.disconnect(recorder);
    const steps = (from, to) => {
      let largest = 0;
      for (let b = Math.max(1, from); b < to; ++b)
        for (let i = 0; i < 128; ++i) {
          const previous = i ? blocks[b][i - 1] : blocks[b - 1][127];
          largest = Math.max(largest, Math.abs(blocks[b][i] - previous));
        }
      return largest;
    };
    const window10 = 19;  // about 50 ms of quanta around each press
    return {
      steadyOn: steps(marks[0] - window10, marks[0] - 2),
      steadyOff: steps(marks[1] + window10, marks[1] + 2 * window10),
      aroundPresses: Math.max(steps(marks[0] - 2, marks[0] + window10),
                              steps(marks[1] - 2, marks[1] + window10)),
      led: document.getElementById('led').classList.contains('on'),
    };
  });
  assert.ok(result.steadyOn > 0 && result.steadyOff > 0, JSON.stringify(result));
  // Each output sample mixes the wet and the dry sample, so no step may
  // exceed the larger steady step by more than the fade's own slope.
  const bound = 1.2 * Math.max(result.steadyOn, result.steadyOff);
  assert.ok(result.aroundPresses <= bound, `click: ${JSON.stringify(result)}`);
  assert.equal(result.led, true, 'pressed twice: on again');
});

test('live input from the fake microphone comes out of the pedal', async () => {
  await page.click('#live');
  await page.waitForFunction(() => /Live input/.test(document.getElementById('status').textContent));
  assert.match(await page.textContent('#latency'), /Base latency [\d.]+ ms/);
  await page.waitForTimeout(300);  // what the analyser still holds from before is gone
  // The fake device beeps about once a second; watch the output for a few beeps.
  await page.waitForFunction(() => window.veltrax.levels().output > -60, null,
                             { polling: 10, timeout: 10000 });
  if (process.env.VELTRAX_WEB_VERBOSE) {
    await page.waitForTimeout(3000);
    console.log('worklet cost', await page.evaluate(() => window.veltrax.measureCost()));
  }
  await page.click('#stop');
});

test('a chosen file renders and downloads as a valid WAV', async () => {
  const wav = Buffer.from(encodeWav(riff, 44100, 'pcm24'));
  await page.setInputFiles('#file', { name: 'riff.wav', mimeType: 'audio/wav', buffer: wav });
  await page.waitForFunction(() => /riff\.wav is ready|Playing riff\.wav/.test(document.getElementById('status').textContent));
  await page.selectOption('#format', 'float32');
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('#render')]);
  const bytes = readFileSync(await download.path());
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
  assert.equal(bytes.toString('latin1', 0, 4), 'RIFF');
  assert.equal(bytes.toString('latin1', 8, 16), 'WAVEfmt ');
  assert.equal(view.getUint16(20, true), 3, 'IEEE float');
  assert.equal(view.getUint32(24, true), 44100, 'the file keeps its own rate');
  assert.equal(view.getUint32(40, true), riff.length * 4);
  const rendered = new Float32Array(bytes.buffer.slice(bytes.byteOffset + 44, bytes.byteOffset + bytes.length));
  const expected = renderOffline(wasmModule, Float32Array.from(riff, (x) => Math.round(x * 8388608) / 8388608),
                                 44100, await page.evaluate(() => window.veltrax.knobs()));
  assert.deepEqual(rendered, expected);
});

test('bad input gets a clear message on the page, never a dead page', async () => {
  const statusMatches = (pattern) => page.waitForFunction(
    (source) => new RegExp(source).test(document.getElementById('status').textContent), pattern.source);
  const files = [
    { name: 'empty.wav', buffer: Buffer.alloc(0), message: /empty\.wav is empty/ },
    { name: 'noise.mp3', buffer: Buffer.from('this is not audio at all'), message: /could not be decoded/ },
  ];
  for (const { name, buffer, message } of files) {
    await page.setInputFiles('#file', { name, mimeType: 'audio/mpeg', buffer });
    await statusMatches(message);
    assert.equal(await page.locator('#status.error').count(), 1);
  }
  // A refused and a missing microphone, as getUserMedia reports them.
  for (const [error, message] of [['NotAllowedError', /refused/], ['NotFoundError', /No audio input device/]]) {
    await page.evaluate((name) => {
      navigator.mediaDevices.getUserMedia = () => Promise.reject(new DOMException('test', name));
    }, error);
    await page.click('#live');
    await statusMatches(message);
  }
  // A context the browser suspends: the page asks for a click and resumes.
  await page.evaluate(() => window.veltrax.audio.context.suspend());
  await page.locator('#start').waitFor({ state: 'visible' });
  await statusMatches(/click to start/);
  await page.click('#start');
  await page.locator('#start').waitFor({ state: 'hidden' });
  assert.equal(await page.evaluate(() => window.veltrax.audio.context.state), 'running');
  assert.deepEqual(problems, []);
});
