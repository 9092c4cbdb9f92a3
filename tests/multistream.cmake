# The multi-stream engine against the plain loop, stream by stream, value for
# value (label "golden", like the fast engine's guard).
veltrax_test(multistream_guard_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/multistream_guard_test.cpp
             LIBS veltrax_multistream LABELS golden)
