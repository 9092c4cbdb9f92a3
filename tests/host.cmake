# Tests of the command-line host: the host library against the built module,
# the analysis and synthesis code, and `veltrax` itself end to end.
if(NOT TARGET veltrax_cli)
  return()
endif()

veltrax_test(cli_signal_analysis_test SOURCES cli_signal_analysis_test.cpp
             LIBS veltrax_host_analysis veltrax_host_demo LABELS cli)
veltrax_test(cli_output_format_test SOURCES cli_output_format_test.cpp LIBS veltrax_host_audio LABELS cli)

if(NOT TARGET veltrax_module)
  return()
endif()

add_library(veltrax_refusing_module MODULE host_refusing_module.cpp)
target_include_directories(veltrax_refusing_module PRIVATE ${PROJECT_SOURCE_DIR})
veltrax_test(host_library_test SOURCES host_library_test.cpp
             LIBS veltrax_host_audio veltrax_host_analysis LABELS cli NEEDS_MODULE)
add_dependencies(host_library_test veltrax_refusing_module)
target_compile_definitions(host_library_test PRIVATE
  VELTRAX_REFUSING_MODULE_PATH="$<TARGET_FILE:veltrax_refusing_module>")

find_package(PkgConfig REQUIRED)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
add_library(veltrax_cli_harness STATIC support/CliHarness.cpp)
target_include_directories(veltrax_cli_harness PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_definitions(veltrax_cli_harness PRIVATE
  VELTRAX_CLI_PATH="$<TARGET_FILE:veltrax_cli>" VELTRAX_MODULE_PATH="$<TARGET_FILE:veltrax_module>")
target_link_libraries(veltrax_cli_harness PUBLIC PkgConfig::SNDFILE)
add_dependencies(veltrax_cli_harness veltrax_cli veltrax_module)

foreach(area cli_render cli_render_set cli_bad_input cli_info_demo)
  veltrax_test(${area}_test SOURCES ${area}_test.cpp LIBS veltrax_cli_harness LABELS cli NEEDS_MODULE)
endforeach()
