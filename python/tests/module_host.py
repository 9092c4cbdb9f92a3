"""The built plug-in module (veltrax.so) driven through its record with ctypes,
as a host drives it: the reference the Python package is compared with."""

import ctypes as C
import os

import numpy as np

CALLBACK = C.CFUNCTYPE(C.c_ssize_t, C.c_void_p, C.c_int32, C.c_int32, C.c_ssize_t, C.c_void_p,
                       C.c_float)
DISPATCHER = CALLBACK  # the same signature
SET_PARAMETER = C.CFUNCTYPE(None, C.c_void_p, C.c_int32, C.c_float)
PROCESS_DOUBLE = C.CFUNCTYPE(None, C.c_void_p, C.POINTER(C.POINTER(C.c_double)),
                             C.POINTER(C.POINTER(C.c_double)), C.c_int32)
AUDIO_MASTER_VERSION, EFF_OPEN, EFF_CLOSE, EFF_SET_SAMPLE_RATE = 1, 0, 1, 10
ON_OFF, VOLUME, TONE, SUSTAIN = 0, 1, 2, 3


class AEffect(C.Structure):
    _fields_ = [("magic", C.c_int32), ("dispatcher", DISPATCHER), ("process", C.c_void_p),
                ("setParameter", SET_PARAMETER), ("getParameter", C.c_void_p),
                ("numPrograms", C.c_int32), ("numParams", C.c_int32), ("numInputs", C.c_int32),
                ("numOutputs", C.c_int32), ("flags", C.c_int32), ("resvd1", C.c_ssize_t),
                ("resvd2", C.c_ssize_t), ("initialDelay", C.c_int32),
                ("realQualities", C.c_int32), ("offQualities", C.c_int32), ("ioRatio", C.c_float),
                ("object", C.c_void_p), ("user", C.c_void_p), ("uniqueID", C.c_int32),
                ("version", C.c_int32), ("processReplacing", C.c_void_p),
                ("processDoubleReplacing", PROCESS_DOUBLE), ("future", C.c_char * 56)]


@CALLBACK
def _host(effect, opcode, index, value, ptr, opt):
    return 2400 if opcode == AUDIO_MASTER_VERSION else 0


_library = C.CDLL(os.environ["VELTRAX_MODULE"])
_library.getinterface.restype = C.c_void_p
_library.getinterface.argtypes = [CALLBACK]


class ModuleEffect:
    """One instance made by the entry function, opened and set to a rate."""

    def __init__(self, rate):
        interface = _library.getinterface(_host)
        # The interface object: a vtable pointer, then the record's address.
        self._pointer = C.c_void_p.from_address(interface + C.sizeof(C.c_void_p)).value
        self._record = AEffect.from_address(self._pointer)
        self._record.dispatcher(self._pointer, EFF_OPEN, 0, 0, None, 0.0)
        self._record.dispatcher(self._pointer, EFF_SET_SAMPLE_RATE, 0, 0, None, float(rate))

    def knob(self, index, value):
        self._record.setParameter(self._pointer, index, value)

    def block(self, x):
        """One block through the double-precision process entry; returns the output."""
        x = np.ascontiguousarray(x, dtype=np.float64)
        y = np.empty_like(x)
        inp = (C.POINTER(C.c_double) * 1)(x.ctypes.data_as(C.POINTER(C.c_double)))
        out = (C.POINTER(C.c_double) * 1)(y.ctypes.data_as(C.POINTER(C.c_double)))
        self._record.processDoubleReplacing(self._pointer, inp, out, len(x))
        return y

    def close(self):
        self._record.dispatcher(self._pointer, EFF_CLOSE, 0, 0, None, 0.0)
