# The allocation counter for real-time audits (LV2 run(), the module's
# process). An object library, so that its malloc/new replacements always
# land in the executable; the exports let dlopen'ed code bind to them too.
add_library(veltrax_allocation_counter OBJECT ${CMAKE_CURRENT_LIST_DIR}/support/AllocationCounter.cpp)
target_include_directories(veltrax_allocation_counter PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_options(veltrax_allocation_counter INTERFACE
  "LINKER:--export-dynamic-symbol=malloc,--export-dynamic-symbol=calloc"
  "LINKER:--export-dynamic-symbol=realloc,--export-dynamic-symbol=free"
  "LINKER:--export-dynamic-symbol=memalign,--export-dynamic-symbol=aligned_alloc"
  "LINKER:--export-dynamic-symbol=posix_memalign,--export-dynamic-symbol=valloc"
  "LINKER:--export-dynamic-symbol=_Znw*,--export-dynamic-symbol=_Zna*"
  "LINKER:--export-dynamic-symbol=_Zdl*,--export-dynamic-symbol=_Zda*")

# LV2 plug-in tests: the bundle as lilv, lv2_validate and lv2apply see it.
if(NOT (TARGET veltrax_lv2_bundle AND TARGET veltrax_lv2_testhost AND TARGET veltrax_module_host))
  return()
endif()

# lilv searches the build's bundle directory and Debian's LV2 vocabulary (/usr/lib/lv2) only.
set(lv2_test_path "${VELTRAX_LV2_BUILD_DIR}:/usr/lib/lv2")

veltrax_test(lv2_host_features_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/lv2_host_features_test.cpp
  LIBS veltrax_lv2_base
  LABELS lv2)

foreach(area bundle audio realtime lv2apply)
  veltrax_test(lv2_${area}_test
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/lv2_${area}_test.cpp ${CMAKE_CURRENT_LIST_DIR}/lv2_test_support.cpp
    LIBS veltrax_lv2_testhost veltrax_lv2_base veltrax_module_host veltrax_host_plugin veltrax_presets
    LABELS lv2)
  add_dependencies(lv2_${area}_test veltrax_lv2_bundle)
  target_compile_definitions(lv2_${area}_test PRIVATE
    VELTRAX_LV2_PATH="${lv2_test_path}"
    VELTRAX_LV2_BINARY="$<TARGET_FILE:veltrax_lv2>"
    VELTRAX_VERSION_MINOR=${PROJECT_VERSION_MINOR}
    VELTRAX_VERSION_MICRO=${PROJECT_VERSION_PATCH})
endforeach()
target_link_libraries(lv2_realtime_test PRIVATE veltrax_allocation_counter)
add_dependencies(lv2_bundle_test veltrax_lv2host)
target_compile_definitions(lv2_bundle_test PRIVATE VELTRAX_LV2HOST="$<TARGET_FILE:veltrax_lv2host>")

find_program(LV2APPLY lv2apply)
target_compile_definitions(lv2_lv2apply_test PRIVATE LV2APPLY_PATH="${LV2APPLY}")
if(TARGET veltrax_cli_harness)  # the harness writes and reads the WAV files
  target_link_libraries(lv2_lv2apply_test PRIVATE veltrax_cli_harness)
  target_compile_definitions(lv2_lv2apply_test PRIVATE VELTRAX_HAVE_SNDFILE=1)
endif()

# The Turtle files against the LV2 vocabulary Debian installs.
find_program(LV2_VALIDATE lv2_validate)
if(LV2_VALIDATE)
  set(bundle ${VELTRAX_LV2_BUILD_DIR}/veltrax.lv2)
  add_test(NAME lv2_validate
           COMMAND ${LV2_VALIDATE} ${bundle}/manifest.ttl ${bundle}/veltrax.ttl ${bundle}/presets.ttl)
  set_tests_properties(lv2_validate PROPERTIES LABELS lv2
                       FAIL_REGULAR_EXPRESSION "Found [1-9][0-9]* errors|[Ww]arning")
endif()
