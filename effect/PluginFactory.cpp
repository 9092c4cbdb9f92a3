#include "frame/PluginFactory.h"

#include "effect/VELTRAX.h"

AudioEffect* createPluginFilter(audioMasterCallback audioMaster) {
  return new VELTRAX(audioMaster);
}
