#include "lv2/ControlFollower.h"

#include "lv2/ControlMapping.h"
#include "lv2/HostedEffect.h"

namespace veltrax::lv2 {

void ControlFollower::connect(uint32_t port, const float* location) {
  if (port >= kFirstControlPort && port < kFirstControlPort + kControlPortCount)
    ports_[port - kFirstControlPort] = location;
}

void ControlFollower::syncFrom(const HostedEffect& effect) {
  for (uint32_t i = 0; i < kControlPortCount; ++i)
    sent_[i] = effect.parameter(parameterOfPort(kFirstControlPort + i));
}

void ControlFollower::apply(HostedEffect& effect) {
  for (uint32_t i = 0; i < kControlPortCount; ++i) {
    if (ports_[i] == nullptr) continue;
    const uint32_t port = kFirstControlPort + i;
    const float value = parameterForPort(port, *ports_[i]);
    if (value != value || value == sent_[i]) continue;
    effect.setParameter(parameterOfPort(port), value);
    sent_[i] = value;
  }
}

}  // namespace veltrax::lv2
