# Flags every target of the project gets, tests included.
#
# The audio arithmetic must be bit-exact to the written-out formulas, so the
# compiler may neither fuse multiply-adds nor reassociate: -ffp-contract=off
# and never -ffast-math (checked below, so a stray CXXFLAGS cannot sneak it in).
add_compile_options(-Wall -Wextra -ffp-contract=off -fno-fast-math)

if(CMAKE_CXX_FLAGS MATCHES "fast-math|Ofast")
  message(FATAL_ERROR "VELTRAX must not be built with -ffast-math/-Ofast: the signal chain is bit-exact")
endif()

if(VELTRAX_M32)
  # 32-bit x86 with SSE2 registers for all floating point (no x87 excess precision).
  add_compile_options(-m32 -msse2 -mfpmath=sse)
  add_link_options(-m32)
endif()
