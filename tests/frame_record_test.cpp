// The record a new effect hands the host, the flag setters, and the six
// entry points the record carries (routing, close deleting the instance,
// exceptions stopped at the boundary).
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "frame/AEffEditor.h"
#include "frame/AudioEffectX.h"

namespace {

class PlainEffect : public AudioEffectX {
 public:
  PlainEffect() : AudioEffectX(nullptr, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
  float storedSampleRate() const { return sampleRate; }
  int32_t storedBlockSize() const { return blockSize; }
};

TEST(FrameRecord, NewEffectPublishesTheDefaultRecord) {
  PlainEffect effect;
  const AEffect* e = effect.getAeffect();
  const unsigned char magicBytes[4] = {0x50, 0x74, 0x73, 0x56};
  EXPECT_EQ(std::memcmp(&e->magic, magicBytes, 4), 0);
  EXPECT_EQ(e->numPrograms, 16);
  EXPECT_EQ(e->numParams, 4);
  EXPECT_EQ(e->numInputs, 1);
  EXPECT_EQ(e->numOutputs, 2);
  EXPECT_EQ(e->flags, effFlagsCanReplacing);
  EXPECT_EQ(e->resvd1, 0);
  EXPECT_EQ(e->resvd2, 0);
  EXPECT_EQ(e->initialDelay, 0);
  EXPECT_EQ(e->ioRatio, 1.0f);
  EXPECT_EQ(e->object, static_cast<AudioEffect*>(&effect));
  EXPECT_EQ(e->user, nullptr);
  EXPECT_EQ(e->uniqueID, 0x4E6F4566);
  EXPECT_EQ(e->version, 1);
  EXPECT_EQ(e->dispatcher, &AudioEffect::dispatchEffectClass);
  EXPECT_EQ(e->process, &AudioEffect::__processClassDeprecated);
  EXPECT_EQ(e->setParameter, &AudioEffect::setParameterClass);
  EXPECT_EQ(e->getParameter, &AudioEffect::getParameterClass);
  EXPECT_EQ(e->processReplacing, &AudioEffect::processClassReplacing);
  EXPECT_EQ(e->processDoubleReplacing, &AudioEffect::processClassDoubleReplacing);
  for (const char byte : e->future) EXPECT_EQ(byte, 0);
  EXPECT_EQ(effect.getSampleRate(), 44100.0f);
  EXPECT_EQ(effect.getBlockSize(), 1024);
  EXPECT_EQ(effect.getProgram(), 0);
  EXPECT_EQ(effect.getEditor(), nullptr);
}

TEST(FrameRecord, FlagSettersToggleExactlyTheirBit) {
  struct Setter {
    int32_t bit;
    void (*set)(PlainEffect&, bool);
  };
  const Setter setters[] = {
      {2, [](PlainEffect& e, bool s) { e.__hasClipDeprecated(s); }},
      {4, [](PlainEffect& e, bool s) { e.__hasVuDeprecated(s); }},
      {8, [](PlainEffect& e, bool s) { e.__canMonoDeprecated(s); }},
      {16, [](PlainEffect& e, bool s) { e.canProcessReplacing(s); }},
      {32, [](PlainEffect& e, bool s) { e.programsAreChunks(s); }},
      {256, [](PlainEffect& e, bool s) { e.isSynth(s); }},
      {512, [](PlainEffect& e, bool s) { e.noTail(s); }},
      {1024, [](PlainEffect& e, bool s) { e.__wantAsyncOperationDeprecated(s); }},
      {2048, [](PlainEffect& e, bool s) { e.__hasExternalBufferDeprecated(s); }},
      {4096, [](PlainEffect& e, bool s) { e.canDoubleReplacing(s); }},
  };
  for (const int32_t background : {0, ~0}) {
    for (const Setter& s : setters) {
      PlainEffect effect;
      int32_t& flags = effect.getAeffect()->flags;
      flags = background;
      s.set(effect, true);
      EXPECT_EQ(flags, background | s.bit) << "bit " << s.bit;
      s.set(effect, false);
      EXPECT_EQ(flags, background & ~s.bit) << "bit " << s.bit;
    }
  }
}

TEST(FrameRecord, RecordSettersAndEditorFlag) {
  PlainEffect effect;
  AEffect* e = effect.getAeffect();
  effect.setUniqueID(0x4D4A434D);
  effect.setNumInputs(3);
  effect.setNumOutputs(1);
  effect.setInitialDelay(64);
  effect.__setRealtimeQualitiesDeprecated(5);
  effect.__setOfflineQualitiesDeprecated(6);
  EXPECT_EQ(e->uniqueID, 0x4D4A434D);
  EXPECT_EQ(e->numInputs, 3);
  EXPECT_EQ(e->numOutputs, 1);
  EXPECT_EQ(e->initialDelay, 64);
  EXPECT_EQ(e->realQualities, 5);
  EXPECT_EQ(e->offQualities, 6);

  effect.__setBlockSizeAndSampleRateDeprecated(256, 96000.0f);
  EXPECT_EQ(effect.storedBlockSize(), 256);
  EXPECT_EQ(effect.storedSampleRate(), 96000.0f);

  AEffEditor* editor = new AEffEditor;
  effect.setEditor(editor);
  EXPECT_EQ(e->flags, effFlagsCanReplacing | effFlagsHasEditor);
  EXPECT_EQ(effect.getEditor(), editor);
  effect.setEditor(nullptr);
  EXPECT_EQ(e->flags, effFlagsCanReplacing);
  delete editor;
}

// ---------------------------------------------------------------------------
// Entry points.

struct Traces {
  bool destroyed = false;
  int closes = 0;
  std::string last;
};

class EntryProbe : public AudioEffectX {
 public:
  EntryProbe(Traces* traces, bool throwing)
      : AudioEffectX(nullptr, 16, 4), traces(traces), throwing(throwing) {}
  ~EntryProbe() override { traces->destroyed = true; }

  void close() override {
    ++traces->closes;
    fail();
  }
  void processReplacing(float**, float**, int32_t n) override { enter("float " + std::to_string(n)); }
  void processDoubleReplacing(double**, double**, int32_t n) override {
    enter("double " + std::to_string(n));
  }
  void __processDeprecated(float**, float**, int32_t n) override { enter("accumulate " + std::to_string(n)); }
  void setParameter(int32_t i, float v) override { enter("set " + std::to_string(i) + "=" + std::to_string(v)); }
  float getParameter(int32_t i) override {
    enter("get " + std::to_string(i));
    return 0.5f;
  }
  int32_t getVstVersion() override {
    fail();
    return 2400;
  }

 private:
  void enter(const std::string& what) {
    traces->last = what;
    fail();
  }
  void fail() const {
    if (throwing) throw std::runtime_error("effect failure");
  }
  Traces* traces;
  bool throwing;
};

TEST(FrameEntryPoints, RecordFunctionsReachTheVirtualOperations) {
  Traces traces;
  EntryProbe* probe = new EntryProbe(&traces, false);
  AEffect* e = probe->getAeffect();
  e->processReplacing(e, nullptr, nullptr, 7);
  EXPECT_EQ(traces.last, "float 7");
  e->processDoubleReplacing(e, nullptr, nullptr, 8);
  EXPECT_EQ(traces.last, "double 8");
  e->process(e, nullptr, nullptr, 9);
  EXPECT_EQ(traces.last, "accumulate 9");
  e->setParameter(e, 2, 0.25f);
  EXPECT_EQ(traces.last, "set 2=0.250000");
  EXPECT_EQ(e->getParameter(e, 3), 0.5f);
  EXPECT_EQ(traces.last, "get 3");
  EXPECT_EQ(e->dispatcher(e, effGetVstVersion, 0, 0, nullptr, 0.0f), 2400);

  // Close through the dispatcher itself leaves the object alive.
  EXPECT_EQ(probe->dispatcher(effClose, 0, 0, nullptr, 0.0f), 0);
  EXPECT_FALSE(traces.destroyed);
  // Close through the record runs close() and deletes the instance.
  EXPECT_EQ(e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f), 1);
  EXPECT_TRUE(traces.destroyed);
  EXPECT_EQ(traces.closes, 2);
}

TEST(FrameEntryPoints, ExceptionsStopAtTheRecordBoundary) {
  Traces traces;
  EntryProbe* probe = new EntryProbe(&traces, true);
  AEffect* e = probe->getAeffect();
  EXPECT_NO_THROW(e->processReplacing(e, nullptr, nullptr, 1));
  EXPECT_NO_THROW(e->processDoubleReplacing(e, nullptr, nullptr, 1));
  EXPECT_NO_THROW(e->process(e, nullptr, nullptr, 1));
  EXPECT_NO_THROW(e->setParameter(e, 0, 1.0f));
  float value = -1.0f;
  EXPECT_NO_THROW(value = e->getParameter(e, 0));
  EXPECT_EQ(value, 0.0f);
  intptr_t answer = -1;
  EXPECT_NO_THROW(answer = e->dispatcher(e, effGetVstVersion, 0, 0, nullptr, 0.0f));
  EXPECT_EQ(answer, 0);
  // A close that throws still ends the instance (the host will not use the
  // record again), so nothing leaks.
  EXPECT_NO_THROW(answer = e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f));
  EXPECT_EQ(answer, 1);
  EXPECT_TRUE(traces.destroyed);
}

}  // namespace
