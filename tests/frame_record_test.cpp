// The record a new effect hands the host and the six entry points it
// carries: routing, close deleting the instance, exceptions stopped at the
// boundary. (The flag setters are checked slot by slot in the virtual-table
// test.)
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "frame/AudioEffectX.h"

namespace {

struct PlainEffect : AudioEffectX {
  PlainEffect() : AudioEffectX(nullptr, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
};

TEST(FrameRecord, NewEffectPublishesTheDefaultRecord) {
  PlainEffect effect;
  const AEffect* e = effect.getAeffect();
  EXPECT_EQ(std::memcmp(&e->magic, "\x50\x74\x73\x56", 4), 0);
  EXPECT_EQ(e->numPrograms * 100 + e->numParams, 1604);
  EXPECT_EQ(e->numInputs * 10 + e->numOutputs, 12);
  EXPECT_EQ(e->flags, effFlagsCanReplacing);
  EXPECT_EQ(e->ioRatio, 1.0f);
  EXPECT_EQ(e->object, static_cast<AudioEffect*>(&effect));
  EXPECT_EQ(e->uniqueID, 0x4E6F4566);
  EXPECT_EQ(e->version, 1);
  EXPECT_EQ(e->resvd1 | e->resvd2 | e->initialDelay | e->realQualities | e->offQualities, 0);
  EXPECT_EQ(e->user, nullptr);
  EXPECT_EQ(std::string(e->future, sizeof(e->future)), std::string(sizeof(e->future), '\0'));
  EXPECT_EQ(effect.getSampleRate(), 44100.0f);
  EXPECT_EQ(effect.getBlockSize(), 1024);
}

// Records what the entry points reach; with `throwing` every operation throws.
struct EntryProbe : AudioEffectX {
  EntryProbe(std::string& trace, bool throwing)
      : AudioEffectX(nullptr, 16, 4), trace(trace), throwing(throwing) {}
  ~EntryProbe() override { trace += "deleted"; }
  std::string& trace;
  bool throwing;
  void enter(const std::string& what) {
    trace += what + ";";
    if (throwing) throw std::runtime_error(what);
  }
  void enter(const char* what, int32_t n) { enter(what + (" " + std::to_string(n))); }
  void close() override { enter("close"); }
  void processReplacing(float**, float**, int32_t n) override { enter("float", n); }
  void processDoubleReplacing(double**, double**, int32_t n) override { enter("double", n); }
  void __processDeprecated(float**, float**, int32_t n) override { enter("accumulate", n); }
  void setParameter(int32_t i, float v) override {
    enter("set " + std::to_string(i) + " " + std::to_string(v));
  }
  float getParameter(int32_t i) override {
    enter("get " + std::to_string(i));
    return 0.5f;
  }
  int32_t getVstVersion() override {
    enter("version");
    return 2400;
  }
};

// Each entry point reaches its operation; a throwing operation answers 0 at
// the boundary. Close through the virtual dispatcher answers 0 and keeps the
// object; through the record it runs close(), deletes the instance and
// answers 1, also when close() throws (the host never uses the record again).
TEST(FrameEntryPoints, RecordFunctionsReachTheOperationsAndStopExceptions) {
  for (const bool throwing : {false, true}) {
    std::string trace;
    EntryProbe* probe = new EntryProbe(trace, throwing);
    AEffect* e = probe->getAeffect();
    EXPECT_NO_THROW(e->processReplacing(e, nullptr, nullptr, 7));
    EXPECT_NO_THROW(e->processDoubleReplacing(e, nullptr, nullptr, 8));
    EXPECT_NO_THROW(e->process(e, nullptr, nullptr, 9));
    EXPECT_NO_THROW(e->setParameter(e, 2, 0.25f));
    float value = -1.0f;
    intptr_t version = -1, closedDirectly = -1, closed = -1;
    EXPECT_NO_THROW(value = e->getParameter(e, 3));
    EXPECT_NO_THROW(version = e->dispatcher(e, effGetVstVersion, 0, 0, nullptr, 0.0f));
    if (!throwing) closedDirectly = probe->dispatcher(effClose, 0, 0, nullptr, 0.0f);
    EXPECT_NO_THROW(closed = e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f));
    EXPECT_EQ(value, throwing ? 0.0f : 0.5f);
    EXPECT_EQ(version, throwing ? 0 : 2400);
    EXPECT_EQ(closedDirectly, throwing ? -1 : 0);
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(trace, std::string("float 7;double 8;accumulate 9;set 2 0.250000;get 3;version;") +
                         (throwing ? "" : "close;") + "close;deleted");
  }
}

}  // namespace
