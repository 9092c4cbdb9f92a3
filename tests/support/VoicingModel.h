// An independent model of the pedal's voicing, written from the circuit's
// documented figures and never from the product code: each filter section is
// its analog prototype H(s) (s normalised to the section frequency), mapped by
// the bilinear transform with pre-warping, s = (1 - 1/z) / (K (1 + 1/z)),
// K = tan(pi f0 / rate). The stage tables, the tapers, the oversampling
// coefficient sets, the clamp bounds, the x800 scale and the output level are
// copied here as numbers, so a changed number in the product shows up.
#pragma once

#include <array>
#include <complex>
#include <vector>

namespace voicing {

// Knob positions 0..1.
struct Knobs {
  double volume = 0.5, tone = 0.5, sustain = 0.5;
};

// Knob tapers: control value for knob position x.
double sustainGain(double x);  // 0.1 .. 1, linear
double volumeGain(double x);   // 0 .. 1, linear
double toneLevel(double x);    // 1 .. 0.188364909, linear
double tonePeakHz(double x);   // 2100 .. 390 Hz
double tonePeakDb(double x);   // 0 .. -6 dB
double toneShelfDb(double x);  // 0 .. +37 dB, shelf at 12 kHz

// Small-signal transfer of the effect path (switch on, knobs settled) at f Hz,
// clipper in its linear range: the oversampled section is averaged over the
// four images that decimation folds onto f.
std::complex<double> effectPathResponse(double rate, const Knobs& knobs, double f);

// Transposed direct form II section, b over a, a0 = 1.
struct Section {
  double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0, s1 = 0, s2 = 0;
  double run(double x);
};

// The whole chain sample by sample (switch on), with the per-block knob
// ramps and the one-block glide of the two tone filters; std::tanh stands in
// for the product's interpolated table (they differ by less than 1e-7).
class ChainModel {
 public:
  explicit ChainModel(double rate);
  void setKnobs(const Knobs& knobs) { knobs_ = knobs; }
  void process(const double* in, double* out, int n);

 private:
  double rate_;
  Knobs knobs_, applied_{-1, -1, -1};
  std::vector<Section> pre_, post_, power_, revise_;
  std::array<Section, 2> toneFrom_, toneTo_;  // power stages 2, 3: glide ends
  double volume_ = 1, sustain_ = 1, tone_ = 1, volumePrev_ = 0, sustainPrev_ = 0, tonePrev_ = 0;
  std::array<double, 5> osB_{}, osA_{};  // feedforward taps 1..5 and feedback taps 1..5
  double osB0_ = 0;
  std::array<double, 5> upIn_{}, upOut_{}, downIn_{}, downOut_{};
  double oversample(std::array<double, 5>& in, std::array<double, 5>& out, double v) const;
};

}  // namespace voicing
