// Instance creation through the module's two entry functions.
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/ModuleHost.h"

using namespace testhost;

namespace {

int versionQueries = 0;
intptr_t versionAnswer = 0;

intptr_t countingHost(AEffect* effect, int32_t opcode, int32_t, intptr_t, void* ptr, float) {
  if (opcode == audioMasterVersion) {
    ++versionQueries;
    EXPECT_EQ(effect, nullptr);
    EXPECT_EQ(ptr, nullptr);
    return versionAnswer;
  }
  return 0;
}

intptr_t throwingHost(AEffect*, int32_t, int32_t, intptr_t, void*, float) {
  throw std::runtime_error("host failure");
}

class PluginEntry : public ::testing::Test {
 protected:
  Module module;
};

TEST_F(PluginEntry, VersionZeroCreatesNothingAndAsksOnce) {
  versionQueries = 0;
  versionAnswer = 0;
  EXPECT_EQ(module.getinterface()(countingHost), nullptr);
  EXPECT_EQ(versionQueries, 1);
  EXPECT_EQ(module.qTypeIF()(nullptr), nullptr);  // no host to ask: no instance
}

TEST_F(PluginEntry, ThrowingHostGetsNullAndNoException) {
  EXPECT_EQ(module.getinterface()(throwingHost), nullptr);
  EXPECT_EQ(module.qTypeIF()(throwingHost), nullptr);
}

TEST_F(PluginEntry, AnyNonZeroVersionCreatesAnInstanceWhoseRecordPointsBack) {
  for (intptr_t answer : {intptr_t{1}, intptr_t{2400}, intptr_t{-1}}) {
    versionAnswer = answer;
    void* object = module.getinterface()(countingHost);
    ASSERT_NE(object, nullptr) << answer;
    AEffect* record = interfaceEffect(object);
    EXPECT_EQ(record->magic, kEffectMagic);
    ASSERT_NE(record->object, nullptr);
    // The object's own getAeffect (vtable slot 31) answers this very record.
    EXPECT_EQ(callVirtualSlot<AEffect*>(record->object, 31), record);
    destroyInterfaceObject(object);
    EXPECT_EQ(record->dispatcher(record, effClose, 0, 0, nullptr, 0.0f), 1);
  }
}

TEST_F(PluginEntry, BothEntryFunctionsGiveIndependentInstances) {
  void* first = module.getinterface()(answeringHost);
  void* second = module.qTypeIF()(answeringHost);
  ASSERT_TRUE(first && second);
  AEffect* a = interfaceEffect(first);
  AEffect* b = interfaceEffect(second);
  EXPECT_NE(a, b);
  EXPECT_NE(a->object, b->object);
  // Destroying the interface objects leaves both instances usable.
  destroyInterfaceObject(first);
  destroyInterfaceObject(second);
  a->setParameter(a, 2, 0.25f);
  EXPECT_EQ(a->getParameter(a, 2), 0.25f);
  EXPECT_EQ(b->getParameter(b, 2), 0.5f);
  EXPECT_EQ(a->dispatcher(a, effClose, 0, 0, nullptr, 0.0f), 1);
  EXPECT_EQ(b->dispatcher(b, effClose, 0, 0, nullptr, 0.0f), 1);
}

}  // namespace
