# Plug-in frame tests.
veltrax_test(frame_tests
  SOURCES frame_dispatcher_test.cpp frame_host_calls_test.cpp frame_record_test.cpp
          frame_value_to_text_test.cpp frame_vtable_slots_test.cpp
  LIBS veltrax_frame
  LABELS frame)

# Separate binary: it replaces the global array allocator to see allocation sizes.
veltrax_test(frame_speaker_arrangement_test
  SOURCES frame_speaker_arrangement_test.cpp
  LIBS veltrax_frame
  LABELS frame)
