// The page's host of the effect, compiled with the effect into one
// WebAssembly module: it creates an instance through the module's entry
// function and drives it only through the AEffect record (open, sample rate,
// block size, parameters, double-precision process), like every other host of
// the project. JavaScript sees a handful of C functions and two pairs of
// block buffers in linear memory, allocated once per instance: float32 for
// Web Audio, float64 for callers that hand over the effect's own precision.
#include <cstdint>
#include <new>

#include "frame/AEffect.h"
#include "host/plugin/HostCallback.h"
#include "host/plugin/InterfaceObject.h"

extern "C" void* getinterface(audioMasterCallback audioMaster);

namespace {

struct WebEngine {
  AEffect* record = nullptr;
  veltrax::host::HostContext context;
  int32_t capacity = 0;  // frames each buffer holds
  float* inputFloat = nullptr;
  float* outputFloat = nullptr;
  double* input = nullptr;
  double* output = nullptr;
};

intptr_t dispatch(WebEngine* engine, int32_t opcode, int32_t index = 0, intptr_t value = 0,
                  float opt = 0.0f) {
  return engine->record->dispatcher(engine->record, opcode, index, value, nullptr, opt);
}

void releaseBuffers(WebEngine* engine) {
  delete[] engine->inputFloat;
  delete[] engine->outputFloat;
  delete[] engine->input;
  delete[] engine->output;
}

}  // namespace

#define WEB_EXPORT extern "C" __attribute__((used, visibility("default")))

// Page, once per instance (worklet set-up, offline render, tone curve):
// creates and opens one effect, sets `sampleRate` (Hz) and starts processing
// with blocks of at most `capacity` frames. Null for a rate the effect would
// ignore (not finite, below 62.5 Hz, 2^31 Hz or above), a capacity below 1,
// or when memory runs out.
WEB_EXPORT WebEngine* veltrax_web_create(double sampleRate, int32_t capacity) {
  if (!(sampleRate >= 62.5 && sampleRate < 2147483648.0) || capacity < 1) return nullptr;
  auto* engine = new (std::nothrow) WebEngine;
  if (!engine) return nullptr;
  engine->capacity = capacity;
  engine->inputFloat = new (std::nothrow) float[capacity]();
  engine->outputFloat = new (std::nothrow) float[capacity]();
  engine->input = new (std::nothrow) double[capacity]();
  engine->output = new (std::nothrow) double[capacity]();
  void* object = getinterface(veltrax::host::hostCallback);
  engine->record = object ? veltrax::host::interfaceEffect(object) : nullptr;
  if (object) veltrax::host::destroyInterfaceObject(object);
  const bool buffers = engine->inputFloat && engine->outputFloat && engine->input && engine->output;
  if (!buffers || !engine->record || !engine->record->processDoubleReplacing) {
    if (engine->record) engine->record->dispatcher(engine->record, effClose, 0, 0, nullptr, 0.0f);
    releaseBuffers(engine);
    delete engine;
    return nullptr;
  }
  engine->record->user = &engine->context;
  engine->context.sampleRate = sampleRate;
  engine->context.blockSize = capacity;
  dispatch(engine, effOpen);
  dispatch(engine, effSetSampleRate, 0, 0, static_cast<float>(sampleRate));
  dispatch(engine, effSetBlockSize, 0, capacity);
  dispatch(engine, effMainsChanged, 0, 1);
  return engine;
}

// Page, when an instance is no longer needed: stops and closes the effect
// (the module deletes it) and frees the buffers.
WEB_EXPORT void veltrax_web_destroy(WebEngine* engine) {
  if (!engine) return;
  dispatch(engine, effMainsChanged, 0, 0);
  dispatch(engine, effClose);
  releaseBuffers(engine);
  delete engine;
}

// Page, between blocks: stores a knob value (0..1; index 0 On/Off, 1 volume,
// 2 tone, 3 sustain); the effect applies it at its next block.
WEB_EXPORT void veltrax_web_set_parameter(WebEngine* engine, int32_t index, float value) {
  engine->record->setParameter(engine->record, index, value);
}

// Page, any time: the knob value the effect holds.
WEB_EXPORT float veltrax_web_get_parameter(WebEngine* engine, int32_t index) {
  return engine->record->getParameter(engine->record, index);
}

// Page, after create and after any call that may grow memory: the block
// buffers, `capacity` frames each.
WEB_EXPORT float* veltrax_web_input_float(WebEngine* engine) { return engine->inputFloat; }
WEB_EXPORT float* veltrax_web_output_float(WebEngine* engine) { return engine->outputFloat; }
WEB_EXPORT double* veltrax_web_input(WebEngine* engine) { return engine->input; }
WEB_EXPORT double* veltrax_web_output(WebEngine* engine) { return engine->output; }

// Audio thread (the worklet's process()), once per block of 1..capacity
// frames: output = effect(input) in double precision.
WEB_EXPORT void veltrax_web_process(WebEngine* engine, int32_t frames) {
  if (frames < 1 || frames > engine->capacity) return;
  double* inputs[1] = {engine->input};
  double* outputs[1] = {engine->output};
  engine->record->processDoubleReplacing(engine->record, inputs, outputs, frames);
}

// As veltrax_web_process, from and to the float32 buffers (exact widening on
// the way in, rounding to nearest on the way out).
WEB_EXPORT void veltrax_web_process_float(WebEngine* engine, int32_t frames) {
  if (frames < 1 || frames > engine->capacity) return;
  for (int32_t i = 0; i < frames; ++i) engine->input[i] = engine->inputFloat[i];
  veltrax_web_process(engine, frames);
  for (int32_t i = 0; i < frames; ++i)
    engine->outputFloat[i] = static_cast<float>(engine->output[i]);
}
