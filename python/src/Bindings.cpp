// The compiled core of the `veltrax` Python package (_veltrax): one effect
// instance per channel for streaming (PedalCore), the multi-stream engine for
// batches, and the named presets. Argument checks that need Python objects
// live here and raise TypeError/ValueError; the friendlier surface (dial
// scale, decibel gains, presets by name) is veltrax/__init__.py. Every call
// that processes audio releases the GIL.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "dsp/multistream/StreamBatch.h"
#include "effect/VELTRAX.h"
#include "host/audio/RenderFile.h"
#include "host/audio/RenderSet.h"
#include "host/common/HostError.h"
#include "host/plugin/ModuleLibrary.h"
#include "presets/NamedPresets.h"

namespace py = pybind11;
namespace ms = veltrax::multistream;

namespace {

constexpr double kMinSampleRate = 1000.0;     // Hz, the rates the effect builds
constexpr double kMaxSampleRate = 1536000.0;  // Hz

void checkSampleRate(double rate) {
  if (!std::isfinite(rate) || rate < kMinSampleRate || rate > kMaxSampleRate)
    throw py::value_error("sample_rate must be between 1000 and 1536000 Hz, got " +
                          std::to_string(rate));
}

void checkBlockSize(int blockSize) {
  if (blockSize < 1 || blockSize > (1 << 20))
    throw py::value_error("block_size must be between 1 and 1048576, got " +
                          std::to_string(blockSize));
}

// A float64 view of `x` shaped (channels, frames): the array itself when it
// is C-contiguous float64, else one converted copy (float32, or a strided view).
py::array_t<double, py::array::c_style> asAudio(const py::array& x) {
  const char kind = x.dtype().kind();
  if (kind != 'f' || (x.itemsize() != 4 && x.itemsize() != 8))
    throw py::type_error("audio must be a float64 or float32 array, got dtype " +
                         std::string(py::str(x.dtype())));
  if (x.ndim() != 1 && x.ndim() != 2)
    throw py::value_error("audio must be shaped (frames,) or (channels, frames), got " +
                          std::to_string(x.ndim()) + " dimensions");
  return py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(x);
}

size_t channelsOf(const py::array& x) {
  return x.ndim() == 2 ? static_cast<size_t>(x.shape(0)) : 1;
}
size_t framesOf(const py::array& x) { return static_cast<size_t>(x.shape(x.ndim() - 1)); }

// One stateful pedal: one effect instance per channel, fed consecutive blocks.
class PedalCore {
 public:
  PedalCore(double sampleRate, int blockSize, bool preroll)
      : sampleRate_(sampleRate), blockSize_(blockSize), preroll_(preroll) {
    checkSampleRate(sampleRate);
    checkBlockSize(blockSize);
  }

  // Knob values 0..1 by parameter index; they reach the instances' next block.
  void setKnob(int index, float value) {
    knobs_[index] = value;
    for (auto& fx : channels_) fx->setParameter(index, value);
  }
  float knob(int index) const { return knobs_[index]; }

  // Forget all running state: the next call starts like a new pedal.
  void reset() { channels_.clear(); }

  double sampleRate() const { return sampleRate_; }
  int blockSize() const { return blockSize_; }

  py::array process(const py::array& x, py::object outArg) {
    py::array_t<double, py::array::c_style> in = asAudio(x);
    py::array_t<double, py::array::c_style> out;
    if (outArg.is_none()) {
      out = py::array_t<double, py::array::c_style>(in.request().shape);
    } else {
      if (!py::isinstance<py::array>(outArg)) throw py::type_error("out must be a numpy array");
      py::array given = py::reinterpret_borrow<py::array>(outArg);
      if (given.dtype().kind() != 'f' || given.itemsize() != 8 ||
          !(given.flags() & py::array::c_style) || !given.writeable())
        throw py::type_error("out must be a writeable C-contiguous float64 array");
      if (given.ndim() != in.ndim() ||
          !std::equal(in.shape(), in.shape() + in.ndim(), given.shape()))
        throw py::value_error("out must have the shape of the audio");
      out = py::reinterpret_borrow<py::array_t<double, py::array::c_style>>(given);
    }
    const size_t channels = channelsOf(in), frames = framesOf(in);
    if (!channels_.empty() && channels_.size() != channels)
      throw py::value_error("this pedal runs " + std::to_string(channels_.size()) +
                            " channels; call reset() before processing " +
                            std::to_string(channels));
    const double* src = in.data();
    double* dst = out.mutable_data();
    {
      py::gil_scoped_release released;
      if (channels_.empty()) start(channels);
      for (size_t c = 0; c < channels; ++c)
        run(*channels_[c], src + c * frames, dst + c * frames, frames);
    }
    return out;
  }

 private:
  void start(size_t channels) {
    for (size_t c = 0; c < channels; ++c) {
      auto fx = std::make_unique<VELTRAX>(nullptr);
      for (int i = 0; i < VELTRAX::kNumParams; ++i) fx->setParameter(i, knobs_[i]);
      fx->setSampleRate(static_cast<float>(sampleRate_));
      fx->reserveBlockCapacity(blockSize_);
      if (preroll_) {
        std::vector<double> silence(static_cast<size_t>(blockSize_), 0.0);
        run(*fx, silence.data(), silence.data(), silence.size());
      }
      channels_.push_back(std::move(fx));
    }
  }

  void run(VELTRAX& fx, const double* in, double* out, size_t frames) const {
    for (size_t pos = 0; pos < frames; pos += static_cast<size_t>(blockSize_)) {
      double* i = const_cast<double*>(in + pos);
      double* o = out + pos;
      const size_t n = std::min(frames - pos, static_cast<size_t>(blockSize_));
      fx.processDoubleReplacing(&i, &o, static_cast<int32_t>(n));
    }
  }

  double sampleRate_;
  int blockSize_;
  bool preroll_;
  float knobs_[VELTRAX::kNumParams] = {1.0f, 0.5f, 0.5f, 0.5f};  // On/Off, volume, tone, sustain
  std::vector<std::unique_ptr<VELTRAX>> channels_;
};

// Independent 1-D streams through the multi-stream engine; knobs[i] is
// (sustain, tone, volume, on) for stream i.
std::vector<py::array> processBatch(const std::vector<py::array>& arrays, double sampleRate,
                                    const std::vector<std::tuple<float, float, float, bool>>& knobs,
                                    int threads, int blockSize, bool preroll) {
  checkSampleRate(sampleRate);
  checkBlockSize(blockSize);
  if (knobs.size() != arrays.size()) throw py::value_error("one setting per array is needed");
  if (threads < 1) throw py::value_error("threads must be at least 1");
  std::vector<py::array_t<double, py::array::c_style>> ins;
  std::vector<py::array> outs;
  std::vector<ms::StreamJob> jobs;
  for (size_t i = 0; i < arrays.size(); ++i) {
    ins.push_back(asAudio(arrays[i]));
    py::array_t<double, py::array::c_style> out(ins.back().request().shape);
    const size_t channels = channelsOf(ins.back()), frames = framesOf(ins.back());
    const auto [sustain, tone, volume, on] = knobs[i];
    for (size_t c = 0; c < channels; ++c)
      jobs.push_back({ins.back().data() + c * frames, out.mutable_data() + c * frames, frames,
                      ms::Knobs{sustain, tone, volume, on ? 1.0f : 0.0f}, preroll});
    outs.push_back(out);
  }
  {
    py::gil_scoped_release released;
    ms::renderStreams(jobs.data(), jobs.size(), static_cast<float>(sampleRate), blockSize, threads);
  }
  return outs;
}

// The command-line host's per-file settings from the package's arguments.
veltrax::host::RenderSettings renderSettings(std::tuple<float, float, float, bool> knobs,
                                             int blockSize, bool preroll, double inputGainDb,
                                             double outputGainDb) {
  checkBlockSize(blockSize);
  veltrax::host::RenderSettings settings;
  const auto [sustain, tone, volume, on] = knobs;
  settings.knobs = veltrax::host::KnobSettings{on, volume, tone, sustain};
  settings.blockSize = blockSize;
  settings.preroll = preroll;
  settings.inputGainDb = inputGainDb;
  settings.outputGainDb = outputGainDb;
  if (const std::string problem = veltrax::host::renderSettingsProblem(settings); !problem.empty())
    throw py::value_error(problem);
  return settings;
}

// One file through the plug-in module at `modulePath` with the command-line
// host's file code (atomic output, never over the input).
py::dict renderFile(const std::string& modulePath, const std::string& input,
                    const std::string& output, const veltrax::host::RenderSettings& settings,
                    bool force) {
  veltrax::host::RenderRequest request;
  request.input = input;
  request.output = output;
  request.settings = settings;
  request.force = force;
  veltrax::host::RenderReport report;
  {
    py::gil_scoped_release released;
    report = veltrax::host::renderFile(veltrax::host::ModuleLibrary::open(modulePath), request);
  }
  py::dict result;
  result["frames"] = report.frames;
  result["channels"] = report.channels;
  result["sample_rate"] = report.sampleRate;
  result["seconds"] = report.seconds;
  return result;
}

// A file set into `directory` with the command-line host's set rendering
// (the multi-stream engine); returns the failures as "<input>: <reason>".
std::vector<std::string> renderSet(const std::vector<std::string>& inputs,
                                   const std::string& directory,
                                   const veltrax::host::RenderSettings& settings, bool force,
                                   int jobs) {
  veltrax::host::RenderSetRequest request;
  request.inputs = inputs;
  request.outputDirectory = directory;
  request.settings = settings;
  request.force = force;
  request.jobs = jobs;
  py::gil_scoped_release released;
  return veltrax::host::renderSet(request).failures;
}

}  // namespace

PYBIND11_MODULE(_veltrax, m) {
  m.doc() = "Compiled core of the veltrax package; use the veltrax module.";

  py::class_<PedalCore>(m, "PedalCore")
      .def(py::init<double, int, bool>(), py::arg("sample_rate"), py::arg("block_size"),
           py::arg("preroll"))
      .def("set_knob", &PedalCore::setKnob)
      .def("knob", &PedalCore::knob)
      .def("reset", &PedalCore::reset)
      .def("process", &PedalCore::process, py::arg("x"), py::arg("out") = py::none())
      .def_property_readonly("sample_rate", &PedalCore::sampleRate)
      .def_property_readonly("block_size", &PedalCore::blockSize);

  m.def("process_batch", &processBatch, py::arg("arrays"), py::arg("sample_rate"), py::arg("knobs"),
        py::arg("threads"), py::arg("block_size"), py::arg("preroll"));

  py::class_<veltrax::host::RenderSettings>(m, "RenderSettings");
  m.def("render_settings", &renderSettings, py::arg("knobs"), py::arg("block_size"),
        py::arg("preroll"), py::arg("input_gain"), py::arg("output_gain"));
  m.def("render_file", &renderFile, py::arg("module"), py::arg("input"), py::arg("output"),
        py::arg("settings"), py::arg("force"));
  m.def("render_set", &renderSet, py::arg("inputs"), py::arg("directory"), py::arg("settings"),
        py::arg("force"), py::arg("jobs"));
  py::register_exception<veltrax::host::HostError>(m, "RenderError", PyExc_RuntimeError);

  py::dict presets;
  for (const veltrax::NamedPreset& p : veltrax::kNamedPresets)
    presets[py::str(std::string(p.name))] =
        py::make_tuple(std::string(p.label), p.sustain, p.tone, p.volume);
  m.attr("PRESETS") = presets;
  m.attr("ON_OFF") = static_cast<int>(VELTRAX::kOnOff);
  m.attr("VOLUME") = static_cast<int>(VELTRAX::kVolume);
  m.attr("TONE") = static_cast<int>(VELTRAX::kTone);
  m.attr("SUSTAIN") = static_cast<int>(VELTRAX::kSustain);
  m.attr("KERNEL") = ms::bestKernel().name;
}
