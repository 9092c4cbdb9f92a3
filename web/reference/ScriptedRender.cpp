// Runs a block script through the native module, loaded and driven as any
// host drives it, so that the web tests can compare the WebAssembly engine
// with the module value for value (tests/web_engine_test.mjs runs the same
// script through the WebAssembly engine).
//
//   veltrax_web_reference MODULE SCRIPT INPUT OUTPUT
//
// INPUT and OUTPUT are raw native-endian float64 samples. SCRIPT has one
// command per line: `rate HZ` (first line), `param INDEX VALUE` (stores a
// knob value, 0..1) and `process FRAMES` (the next FRAMES input samples as
// one block).
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "host/common/HostError.h"
#include "host/plugin/EffectInstance.h"

namespace {

using veltrax::host::EffectInstance;
using veltrax::host::HostError;

std::vector<double> readSamples(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw HostError("cannot read " + path);
  std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<double> samples(bytes.size() / sizeof(double));
  if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(double));
  return samples;
}

std::vector<double> runScript(EffectInstance& effect, std::istream& script,
                              const std::vector<double>& input) {
  std::vector<double> output;
  output.reserve(input.size());
  std::string line;
  while (std::getline(script, line)) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "rate") {
      double rate = 0.0;
      words >> rate;
      effect.prepare(rate, 4096);
    } else if (command == "param") {
      int index = 0;
      float value = 0.0f;
      words >> index >> value;
      effect.setParameter(index, value);
    } else if (command == "process") {
      size_t frames = 0;
      words >> frames;
      const size_t at = output.size();
      if (frames == 0 || frames > 4096 || at + frames > input.size())
        throw HostError("block of " + std::to_string(frames) + " frames does not fit: " + line);
      output.resize(at + frames);
      effect.process(input.data() + at, output.data() + at, static_cast<int32_t>(frames));
    } else if (!command.empty()) {
      throw HostError("unknown script command: " + line);
    }
  }
  return output;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: veltrax_web_reference MODULE SCRIPT INPUT OUTPUT\n");
    return 2;
  }
  try {
    auto effect = EffectInstance::create(veltrax::host::ModuleLibrary::open(argv[1]));
    std::ifstream script(argv[2]);
    if (!script) throw HostError(std::string("cannot read ") + argv[2]);
    const std::vector<double> output = runScript(*effect, script, readSamples(argv[3]));
    std::ofstream out(argv[4], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(output.data()),
              static_cast<std::streamsize>(output.size() * sizeof(double)));
    if (!out.flush()) throw HostError(std::string("cannot write ") + argv[4]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "veltrax_web_reference: %s\n", error.what());
    return 1;
  }
  return 0;
}
