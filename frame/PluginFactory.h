// The single factory of effect instances, internal to the module.
#pragma once

#include "frame/AEffect.h"

class AudioEffect;

// Creates one effect with the host callback (ordinary throwing allocation):
// null if the allocation yields null; a throwing constructor's memory is
// released and the exception passes on.
AudioEffect* createPluginFilter(audioMasterCallback audioMaster);
