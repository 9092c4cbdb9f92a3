#include "host/audio/RenderSettings.h"

#include <cmath>

#include "host/audio/RenderFile.h"

namespace veltrax::host {

constexpr double kMaxGainDb = 96.0;

std::string renderSettingsProblem(const RenderSettings& settings) {
  if (settings.blockSize < 1 || settings.blockSize > (1 << 20))
    return "--block must be 1 to 1048576 samples";
  for (double gain : {settings.inputGainDb, settings.outputGainDb})
    if (!std::isfinite(gain) || std::fabs(gain) > kMaxGainDb)
      return "--input-gain and --output-gain must be -96 to 96 dB";
  if (settings.normalizePeakDbfs &&
      (!std::isfinite(*settings.normalizePeakDbfs) || *settings.normalizePeakDbfs > 0.0 ||
       *settings.normalizePeakDbfs < -kMaxGainDb))
    return "--normalize must be a peak level of -96 to 0 dBFS";
  if (settings.voicingRate &&
      !(*settings.voicingRate >= kMinSampleRate && *settings.voicingRate <= kMaxSampleRate))
    return "--voicing-rate must be 1000 to 1536000 Hz";
  return {};
}

}  // namespace veltrax::host
