// Writes the page's build-time assets into the directory given as the only
// argument: presets.json from the project's named-preset table, and the dry
// riffs the page offers as sources, from the project's riff synthesiser
// (16-bit PCM WAV, 48 kHz mono). Run at build time under Node.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "host/common/Levels.h"
#include "host/demo/DemoRiff.h"
#include "host/demo/PluckedString.h"
#include "presets/NamedPresets.h"

namespace {

using veltrax::host::kDemoSampleRate;

bool writeText(const std::string& path, const std::string& text) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && written;
}

void putLittleEndian(std::string& bytes, uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// 16-bit PCM, rounded to nearest and clamped to full scale.
std::string wavBytes(const std::vector<double>& samples, uint32_t sampleRate) {
  const auto dataBytes = static_cast<uint32_t>(samples.size() * 2);
  std::string bytes = "RIFF";
  putLittleEndian(bytes, 36 + dataBytes, 4);
  bytes += "WAVEfmt ";
  putLittleEndian(bytes, 16, 4);
  putLittleEndian(bytes, 1, 2);  // PCM
  putLittleEndian(bytes, 1, 2);  // mono
  putLittleEndian(bytes, sampleRate, 4);
  putLittleEndian(bytes, sampleRate * 2, 4);
  putLittleEndian(bytes, 2, 2);
  putLittleEndian(bytes, 16, 2);
  bytes += "data";
  putLittleEndian(bytes, dataBytes, 4);
  for (double sample : samples) {
    const double scaled = std::round(std::fmax(-1.0, std::fmin(1.0, sample)) * 32767.0);
    putLittleEndian(bytes, static_cast<uint32_t>(static_cast<int32_t>(scaled)), 2);
  }
  return bytes;
}

std::string presetsJson() {
  std::string json = "[\n";
  for (size_t i = 0; i < veltrax::kNamedPresets.size(); ++i) {
    const auto& preset = veltrax::kNamedPresets[i];
    char row[200];
    std::snprintf(row, sizeof row,
                  "  {\"name\": \"%.*s\", \"label\": \"%.*s\", \"sustain\": %.9g, \"tone\": %.9g, "
                  "\"volume\": %.9g}%s\n",
                  static_cast<int>(preset.name.size()), preset.name.data(),
                  static_cast<int>(preset.label.size()), preset.label.data(), preset.sustain,
                  preset.tone, preset.volume, i + 1 < veltrax::kNamedPresets.size() ? "," : "");
    json += row;
  }
  return json + "]\n";
}

// A slow single-note line over a low E, each note left to ring: the riff that
// lets a player hear how long the sustain knob holds a decaying note.
std::vector<double> synthesizeSlowLead(double sampleRate) {
  struct Note {
    double second;
    double frequency;  // Hz
    double decaySeconds;
  };
  constexpr Note kNotes[] = {{0.0, 82.407, 6.0},  {0.0, 329.628, 3.0}, {1.5, 391.995, 3.0},
                             {3.0, 440.0, 3.0},   {4.5, 493.883, 4.0}, {6.0, 440.0, 2.0},
                             {6.75, 391.995, 6.0}};
  const auto total = static_cast<size_t>(10.0 * sampleRate);
  std::vector<double> out(total, 0.0);
  std::vector<veltrax::host::PluckedString> strings(std::size(kNotes),
                                                    veltrax::host::PluckedString(sampleRate));
  uint32_t noise = 0x2545F491u;
  for (size_t n = 0; n < total; ++n) {
    double sum = 0.0;
    for (size_t k = 0; k < strings.size(); ++k) {
      if (n == static_cast<size_t>(kNotes[k].second * sampleRate))
        strings[k].pluck(kNotes[k].frequency, 0.9, 0.6, kNotes[k].decaySeconds, noise);
      sum += strings[k].next();
    }
    out[n] = sum;
  }
  const double peak = veltrax::host::peakOf(out.data(), out.size());
  const double gain = std::pow(10.0, veltrax::host::kDemoRiffPeakDb / 20.0) / peak;
  for (double& sample : out) sample *= gain;
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: veltrax_web_assets SITE_DIRECTORY\n");
    return 2;
  }
  const std::string site = argv[1];
  const auto rate = static_cast<uint32_t>(kDemoSampleRate);
  const struct {
    std::string path;
    std::string bytes;
  } files[] = {
      {site + "/presets.json", presetsJson()},
      {site + "/riffs/demo-riff.wav",
       wavBytes(veltrax::host::synthesizeDemoRiff(kDemoSampleRate), rate)},
      {site + "/riffs/slow-lead.wav", wavBytes(synthesizeSlowLead(kDemoSampleRate), rate)},
  };
  for (const auto& file : files) {
    if (!writeText(file.path, file.bytes)) {
      std::fprintf(stderr, "veltrax_web_assets: cannot write %s\n", file.path.c_str());
      return 1;
    }
  }
  return 0;
}
