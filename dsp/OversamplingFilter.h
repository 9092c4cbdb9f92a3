// The fixed fifth-order low-pass that the clipping section runs at four
// times the sample rate, as interpolation filter before the clamp and as
// decimation filter after the table:
//   H(z) = (f0 + f1 z^-1 + ... + f5 z^-5) / (1 - c1 z^-1 - ... - c5 z^-5)
// DC gain 1 (within 3e-6), -3 dB near 5.93 kHz, about -45.6 dB at 12 kHz.
#pragma once

struct OversamplingCoefficients {
  double feedback[5];     // c1 .. c5
  double feedforward[6];  // f0 .. f5
};

// Made for 48000 Hz (run at 192000 Hz).
inline constexpr OversamplingCoefficients kOversampling48000{
    {4.7181074828, -8.947956614, 8.5251327512, -4.0797858127, 0.78446243108},
    {8.0192548309e-06, 2.2200499802e-06, 9.641451041e-06, 9.641451041e-06, 2.2200499802e-06,
     8.0192548309e-06}};

// Made for 44100 Hz (run at 176400 Hz); used for every rate but 48000.
inline constexpr OversamplingCoefficients kOversampling44100{
    {4.6895803471, -8.8483551143, 8.3944946433, -4.0035910569, 0.76781105159},
    {9.982639973e-06, 5.9181205966e-06, 1.416387819e-05, 1.416387819e-05, 5.9181205966e-06,
     9.982639973e-06}};

// The 48000 Hz set when the rate truncated toward zero is 48000, else the
// 44100 Hz set.
const OversamplingCoefficients& oversamplingCoefficientsFor(double sampleRate);

// One step on a six-entry state row (s5 stays as the setup left it, 0):
//   y = f0 v + s0;  s_k = f_(k+1) v + c_(k+1) y + s_(k+1)  for k = 0..4.
inline double oversamplingStep(double* state, const double* feedback, const double* feedforward,
                               double v) {
  const double y = feedforward[0] * v + state[0];
  state[0] = feedforward[1] * v + feedback[0] * y + state[1];
  state[1] = feedforward[2] * v + feedback[1] * y + state[2];
  state[2] = feedforward[3] * v + feedback[2] * y + state[3];
  state[3] = feedforward[4] * v + feedback[3] * y + state[4];
  state[4] = feedforward[5] * v + feedback[4] * y + state[5];
  return y;
}
