#include "support/VoicingModel.h"

#include <cmath>
#include <stdexcept>

namespace voicing {
namespace {

using Complex = std::complex<double>;

// One filter section: type code (0 low-pass, 1 high-pass, 10 peaking,
// 12 first-order high shelf), frequency in Hz, q, gain in dB.
struct Stage {
  int code;
  double f, q, dB;
};

const std::vector<Stage> kPre = {
    {12, 20000, 0.95, -27.5}, {12, 20000, 1, -27}, {1, 10, 1, 0}, {10, 120, 1.4, 3}};
const std::vector<Stage> kPost = {{0, 20000, 1, 0}, {12, 21000, 1, -3}};  // at four times the rate
const std::vector<Stage> kPower = {
    {12, 22000, 1, -27}, {1, 50, 1, 0}, {10, 1550, 0.8, -4.5}, {12, 12000, 1, 23}};
const std::vector<Stage> kRevise = {{10, 1500, 0.5, 5}, {0, 265, 1, 0},     {1, 80, 1, 0},
                                    {0, 5000, 1, 0},    {10, 1000, 1.4, 3}, {10, 2000, 1.4, -6},
                                    {10, 8000, 1.4, 6}, {0, 10000, 1, 0}};

// Oversampling low-pass H(z) = sum f_k z^-k / (1 - sum c_k z^-k): one set for
// 48000 Hz, one for every other rate.
struct OversamplingSet {
  double c[5], f[6];
};
const OversamplingSet k48000 = {
    {4.7181074828, -8.947956614, 8.5251327512, -4.0797858127, 0.78446243108},
    {8.0192548309e-06, 2.2200499802e-06, 9.641451041e-06, 9.641451041e-06, 2.2200499802e-06,
     8.0192548309e-06}};
const OversamplingSet k44100 = {
    {4.6895803471, -8.8483551143, 8.3944946433, -4.0035910569, 0.76781105159},
    {9.982639973e-06, 5.9181205966e-06, 1.416387819e-05, 1.416387819e-05, 5.9181205966e-06,
     9.982639973e-06}};
const OversamplingSet& oversamplingSet(double rate) {
  return static_cast<int>(rate) == 48000 ? k48000 : k44100;
}

constexpr double kClampLow = -0.001, kClampHigh = 0.00125;  // on the interpolated signal
constexpr double kClipScale = 800.0;                        // clamp range -> -0.8 .. 1
constexpr double kTanhSlope = 16.0;                         // the curve is tanh(16 h)
constexpr double kOutputLevel = 0.35;

// Analog prototype (n0 + n1 s + n2 s^2) / (d0 + d1 s + d2 s^2).
struct Prototype {
  double n0, n1, n2, d0, d1, d2;
};

Prototype prototype(const Stage& s) {
  const double v = std::pow(10.0, std::fabs(s.dB) / 20.0);
  switch (s.code) {
    case 0:
      return {1, 0, 0, 1, 1, 0};  // 1 / (s + 1)
    case 1:
      return {0, 1, 0, 1, 1, 0};  // s / (s + 1)
    case 10:
      return s.dB > 0 ? Prototype{1, v / s.q, 1, 1, 1 / s.q, 1}   // boost
                      : Prototype{1, 1 / s.q, 1, 1, v / s.q, 1};  // cut
    case 12:
      return {1, std::pow(10.0, s.dB / 20.0), 0, 1, 1, 0};  // (V s + 1) / (s + 1)
  }
  throw std::invalid_argument("no prototype for this type code");
}

double warp(double f, double rate) { return std::tan(M_PI * std::fmin(f, rate / 2) / rate); }

// Section response at f: the prototype at s = j tan(pi f / rate) / K.
Complex response(const Stage& s, double rate, double f) {
  const Prototype p = prototype(s);
  const Complex x(0.0, std::tan(M_PI * f / rate) / warp(s.f, rate));
  return (p.n0 + x * (p.n1 + x * p.n2)) / (p.d0 + x * (p.d1 + x * p.d2));
}

Complex cascade(const std::vector<Stage>& stages, double rate, double f) {
  Complex h = 1.0;
  for (const Stage& s : stages) h *= response(s, rate, f);
  return h;
}

Complex oversamplingResponse(const OversamplingSet& set, double rate, double f) {
  const Complex zInverse = std::polar(1.0, -2.0 * M_PI * f / rate);
  Complex num = 0.0, den = 1.0, power = 1.0;
  for (int k = 0; k < 6; ++k, power *= zInverse) {
    num += set.f[k] * power;
    if (k < 5) den -= set.c[k] * power * zInverse;
  }
  return num / den;
}

// Bilinear image of the prototype, first order when it has no s^2 terms.
Section design(const Stage& s, double rate) {
  const Prototype p = prototype(s);
  const double k = warp(s.f, rate);
  Section d;
  if (p.n2 == 0 && p.d2 == 0) {
    const double a0 = p.d1 + p.d0 * k;
    d.b0 = (p.n1 + p.n0 * k) / a0, d.b1 = (p.n0 * k - p.n1) / a0, d.a1 = (p.d0 * k - p.d1) / a0;
  } else {
    const double a0 = p.d2 + p.d1 * k + p.d0 * k * k;
    d.b0 = (p.n2 + p.n1 * k + p.n0 * k * k) / a0, d.b1 = 2 * (p.n0 * k * k - p.n2) / a0,
    d.b2 = (p.n2 - p.n1 * k + p.n0 * k * k) / a0;
    d.a1 = 2 * (p.d0 * k * k - p.d2) / a0, d.a2 = (p.d2 - p.d1 * k + p.d0 * k * k) / a0;
  }
  return d;
}

std::vector<Section> designAll(const std::vector<Stage>& stages, double rate) {
  std::vector<Section> out;
  for (const Stage& s : stages) out.push_back(design(s, rate));
  return out;
}

Stage tonePeak(double tone) { return {10, tonePeakHz(tone), 0.8, tonePeakDb(tone)}; }
Stage toneShelf(double tone) { return {12, 12000, 1, toneShelfDb(tone)}; }

double blend(double from, double to, double t) { return from + (to - from) * t; }

// Gives s the coefficients w of the way from a to b, keeping its state.
void retune(Section& s, const Section& a, const Section& b, double w) {
  s.b0 = blend(a.b0, b.b0, w), s.b1 = blend(a.b1, b.b1, w), s.b2 = blend(a.b2, b.b2, w);
  s.a1 = blend(a.a1, b.a1, w), s.a2 = blend(a.a2, b.a2, w);
}

}  // namespace

double sustainGain(double x) { return 0.1 + 0.9 * x * x; }
double volumeGain(double x) { return x * x * x; }
double toneLevel(double x) { return 0.188364909 + 0.811635091 * (1 - x); }
double tonePeakHz(double x) { return 390 + 1710 * (1 - x) * (1 - x); }
double tonePeakDb(double x) { return -6 + 6 * (1 - x) * (1 - x); }
double toneShelfDb(double x) { return 37 * (1 - (1 - x) * (1 - x)); }

Complex effectPathResponse(double rate, const Knobs& knobs, double f) {
  const double fast = 4 * rate;
  Complex section = 0.0;  // zero insertion, clipper slope, decimation by four
  for (int m = 0; m < 4; ++m) {
    const double image = f - m * rate;
    const Complex os = oversamplingResponse(oversamplingSet(rate), fast, image);
    section += os * os * kClipScale * kTanhSlope * cascade(kPost, fast, image) / 4.0;
  }
  std::vector<Stage> power = kPower;
  power[2] = tonePeak(knobs.tone);
  power[3] = toneShelf(knobs.tone);
  return cascade(kPre, rate, f) * sustainGain(knobs.sustain) * section * toneLevel(knobs.tone) *
         cascade(power, rate, f) * cascade(kRevise, rate, f) * volumeGain(knobs.volume) *
         kOutputLevel;
}

double Section::run(double x) {
  const double y = b0 * x + s1;
  s1 = b1 * x - a1 * y + s2;
  s2 = b2 * x - a2 * y;
  return y;
}

ChainModel::ChainModel(double rate)
    : rate_(rate),
      pre_(designAll(kPre, rate)),
      post_(designAll(kPost, 4 * rate)),
      power_(designAll(kPower, rate)),
      revise_(designAll(kRevise, rate)) {
  const OversamplingSet& set = oversamplingSet(rate);
  osB0_ = set.f[0];
  for (int k = 0; k < 5; ++k) osB_[k] = set.f[k + 1], osA_[k] = set.c[k];
}

double ChainModel::oversample(std::array<double, 5>& in, std::array<double, 5>& out,
                              double v) const {
  double y = osB0_ * v;
  for (int k = 0; k < 5; ++k) y += osB_[k] * in[k] + osA_[k] * out[k];
  for (int k = 4; k > 0; --k) in[k] = in[k - 1], out[k] = out[k - 1];
  in[0] = v, out[0] = y;
  return y;
}

void ChainModel::process(const double* in, double* out, int n) {
  if (knobs_.volume != applied_.volume) volume_ = volumeGain(knobs_.volume);
  if (knobs_.sustain != applied_.sustain) sustain_ = sustainGain(knobs_.sustain);
  const bool glide = knobs_.tone != applied_.tone;
  if (glide) {
    tone_ = toneLevel(knobs_.tone);
    toneFrom_ = {power_[2], power_[3]};
    toneTo_ = {design(tonePeak(knobs_.tone), rate_), design(toneShelf(knobs_.tone), rate_)};
  }
  const double step = n > 1 ? 1.0 / (n - 1) : 0.0;
  for (int i = 0; i < n; ++i) {
    double x = in[i];
    for (Section& s : pre_) x = s.run(x);
    const double u = x * blend(sustainPrev_, sustain_, i * step);
    double z0 = 0.0;
    for (int pass = 0; pass < 4; ++pass) {
      const double y = oversample(upIn_, upOut_, pass == 0 ? u : 0.0);
      double h = std::fmin(std::fmax(y, kClampLow), kClampHigh) * kClipScale;
      for (Section& s : post_) h = s.run(h);
      const double z =
          oversample(downIn_, downOut_, std::tanh(kTanhSlope * std::fmin(std::fmax(h, -1.0), 1.0)));
      if (pass == 0) z0 = z;
    }
    double t = z0 * blend(tonePrev_, tone_, i * step);
    for (int j = 0; glide && j < 2; ++j)  // coefficients move 1/n of the way per sample
      retune(power_[2 + j], toneFrom_[j], toneTo_[j], static_cast<double>(i) / n);
    for (Section& s : power_) t = s.run(t);
    for (Section& s : revise_) t = s.run(t);
    out[i] = blend(volumePrev_, volume_, i * step) * t * kOutputLevel;
  }
  for (int j = 0; glide && j < 2; ++j)
    retune(power_[2 + j], toneTo_[j], toneTo_[j], 0.0);  // next block: new set
  applied_ = knobs_;
  volumePrev_ = volume_, sustainPrev_ = sustain_, tonePrev_ = tone_;
}

}  // namespace voicing
