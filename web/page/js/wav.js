// WAV files: the header's sample rate (to decode a file at its own rate) and
// mono WAV encoding as 24-bit PCM or 32-bit float.

// The sample rate of a RIFF/WAVE file, or 0 if `bytes` is not one.
export function wavSampleRate(bytes) {
  if (bytes.byteLength < 28) return 0;
  const view = new DataView(bytes);
  const tag = (at) => String.fromCharCode(...new Uint8Array(bytes, at, 4));
  if (tag(0) !== 'RIFF' || tag(8) !== 'WAVE') return 0;
  for (let at = 12; at + 8 <= bytes.byteLength; at += 8 + view.getUint32(at + 4, true)) {
    if (tag(at) === 'fmt ' && at + 16 <= bytes.byteLength) return view.getUint32(at + 12, true);
  }
  return 0;
}

// A mono WAV file. `format` is 'pcm24' (clamped to full scale, rounded to
// nearest) or 'float32' (values as they are).
export function encodeWav(samples, sampleRate, format = 'pcm24') {
  const bytesPerSample = format === 'float32' ? 4 : 3;
  const dataBytes = samples.length * bytesPerSample;
  const buffer = new ArrayBuffer(44 + dataBytes);
  const view = new DataView(buffer);
  const text = (at, s) => [...s].forEach((c, i) => view.setUint8(at + i, c.charCodeAt(0)));
  text(0, 'RIFF');
  view.setUint32(4, 36 + dataBytes, true);
  text(8, 'WAVEfmt ');
  view.setUint32(16, 16, true);
  view.setUint16(20, format === 'float32' ? 3 : 1, true);  // 3: IEEE float, 1: PCM
  view.setUint16(22, 1, true);
  view.setUint32(24, sampleRate, true);
  view.setUint32(28, sampleRate * bytesPerSample, true);
  view.setUint16(32, bytesPerSample, true);
  view.setUint16(34, bytesPerSample * 8, true);
  text(36, 'data');
  view.setUint32(40, dataBytes, true);
  if (format === 'float32') {
    new Float32Array(buffer, 44).set(samples);  // little-endian on every platform Web Audio runs on
  } else {
    const bytes = new Uint8Array(buffer, 44);
    for (let i = 0; i < samples.length; ++i) {
      const clamped = Math.max(-1, Math.min(1, samples[i] || 0));
      const value = Math.max(-8388608, Math.min(8388607, Math.round(clamped * 8388608)));
      bytes[3 * i] = value & 0xff;
      bytes[3 * i + 1] = (value >> 8) & 0xff;
      bytes[3 * i + 2] = (value >> 16) & 0xff;
    }
  }
  return buffer;
}
