#include "frame/QTypeBase.h"

Q_TypeBase::Q_TypeBase(audioMasterCallback audioMaster, int32_t numPrograms, int32_t numParams)
    : AudioEffectX(audioMaster, numPrograms, numParams), volumeRangeLow(0.0), headerVersion(1) {}
