# The fast engine against the plain loop, value for value (label "golden").
# Linked statically against the effect, so the test can pick kernels and engines.
veltrax_test(golden_guard_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/golden_guard_test.cpp
             LIBS veltrax_effect LABELS golden)
