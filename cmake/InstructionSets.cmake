# The instruction sets of the fast kernels, one definition for the effect and
# the benchmarks. A kernel source is compiled with its set switched on and
# chosen at run time (dsp/CpuFeatures.h). No FMA: a fused multiply-add rounds
# once and would change bits.
#
# veltrax_vector_sources(<target> AVX2 <files...> AVX512 <files...>)
# adds the files to <target> with their flags, on x86 only: elsewhere no
# vector kernel is built and the fast engine runs the plain loop.
set(VELTRAX_AVX2_FLAGS -mavx2 -mno-fma)
set(VELTRAX_AVX512_FLAGS -mavx512f -mavx512vl -mavx512dq -mno-fma)

if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
  set(VELTRAX_X86 ON)
else()
  set(VELTRAX_X86 OFF)
endif()

function(veltrax_vector_sources target)
  cmake_parse_arguments(V "" "" "AVX2;AVX512" ${ARGN})
  if(NOT VELTRAX_X86)
    return()
  endif()
  target_sources(${target} PRIVATE ${V_AVX2} ${V_AVX512})
  set_source_files_properties(${V_AVX2} TARGET_DIRECTORY ${target}
                              PROPERTIES COMPILE_OPTIONS "${VELTRAX_AVX2_FLAGS}")
  set_source_files_properties(${V_AVX512} TARGET_DIRECTORY ${target}
                              PROPERTIES COMPILE_OPTIONS "${VELTRAX_AVX512_FLAGS}")
endfunction()
