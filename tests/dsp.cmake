# Circuit DSP building blocks.
veltrax_test(dsp_tests LIBS veltrax_dsp LABELS dsp SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/filter_design_test.cpp ${CMAKE_CURRENT_LIST_DIR}/filter_runtime_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/clipping_table_test.cpp ${CMAKE_CURRENT_LIST_DIR}/knob_taper_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/flush_to_zero_test.cpp)
