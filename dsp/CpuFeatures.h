// Which vector instruction sets this processor runs, for choosing a fast
// kernel at run time. On targets other than x86 both answers are false, so
// the fast engine falls back to the plain per-sample loop.
#pragma once

namespace veltrax {

// AVX2 (the 256-bit kernel).
bool cpuHasAvx2();

// AVX-512 F, VL and DQ (the 512-bit kernel).
bool cpuHasAvx512();

}  // namespace veltrax
