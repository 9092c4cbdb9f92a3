# Plug-in frame tests.
veltrax_test(frame_tests LABELS frame LIBS veltrax_frame SOURCES
  frame_dispatcher_test.cpp frame_record_test.cpp
  frame_speaker_arrangement_test.cpp frame_value_to_text_test.cpp frame_vtable_slots_test.cpp)
