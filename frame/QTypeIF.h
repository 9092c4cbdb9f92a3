// The interface object a host receives from an entry function: a virtual
// destructor and the instance's AEffect record, nothing else (the layout is
// fixed by the host). Destroying it neither closes nor frees the effect; the
// host ends an instance by sending the close opcode through the record.
#pragma once

#include "frame/AEffect.h"

class Q_TypeIF {
 public:
  // Reads the record's owner and keeps the owner's own record address.
  explicit Q_TypeIF(AEffect* e);
  virtual ~Q_TypeIF();

  AEffect* effect;
};
