#include "support/ModuleHost.h"

#include <cmath>
#include <cstring>
#include <random>

namespace testhost {

intptr_t answeringHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
  return opcode == audioMasterVersion ? 2400 : 0;
}

Module::Module(const char* path) {
  handle_ = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!handle_) throw std::runtime_error(std::string("dlopen failed: ") + dlerror());
  getinterface_ = reinterpret_cast<EntryFunction>(dlsym(handle_, "getinterface"));
  qTypeIF_ = reinterpret_cast<EntryFunction>(dlsym(handle_, "QTypeIF"));
  if (!getinterface_ || !qTypeIF_) throw std::runtime_error("entry functions not exported");
}

Module::~Module() { dlclose(handle_); }

Instance::Instance(const Module& module, audioMasterCallback host) {
  void* object = module.getinterface()(host);
  if (!object) throw std::runtime_error("getinterface returned null");
  effect_ = interfaceEffect(object);
  destroyInterfaceObject(object);  // the instance lives on until close
}

Instance::~Instance() { dispatch(effClose); }

std::string Instance::text(int32_t opcode, int32_t index, size_t bufferSize) const {
  std::vector<char> buffer(bufferSize, '\x7f');
  dispatch(opcode, index, 0, buffer.data());
  return std::string(buffer.data(), strnlen(buffer.data(), bufferSize));
}

std::vector<double> Instance::process(const std::vector<double>& in,
                                      const std::vector<int>& blocks) const {
  std::vector<double> out(in.size());
  size_t position = 0;
  for (size_t b = 0; position < in.size(); ++b) {
    const int32_t n =
        static_cast<int32_t>(std::min<size_t>(blocks[b % blocks.size()], in.size() - position));
    double* input = const_cast<double*>(in.data()) + position;
    double* output = out.data() + position;
    effect_->processDoubleReplacing(effect_, &input, &output, n);
    position += static_cast<size_t>(n);
  }
  return out;
}

void Instance::processInPlace(double* buffer, int32_t n) const {
  effect_->processDoubleReplacing(effect_, &buffer, &buffer, n);
}

std::vector<double> noise(double amplitude, size_t length, uint32_t seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> uniform(-amplitude, amplitude);
  std::vector<double> out(length);
  for (auto& x : out) x = uniform(generator);
  return out;
}

bool sameSamples(double a, double b) {
  if (std::isnan(a) && std::isnan(b)) return true;
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace testhost
