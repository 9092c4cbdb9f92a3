# End-to-end tests of the effect: they load the built module with dlopen and
# drive it only through the AEffect record and vtable positions.
add_library(veltrax_module_host STATIC support/ModuleHost.cpp)
target_include_directories(veltrax_module_host PUBLIC ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR})
target_compile_definitions(veltrax_module_host PUBLIC VELTRAX_MODULE_PATH="$<TARGET_FILE:veltrax_module>")
target_link_libraries(veltrax_module_host PUBLIC ${CMAKE_DL_LIBS})
add_dependencies(veltrax_module_host veltrax_module)

foreach(area plugin_entry parameters_programs signal_chain)
  veltrax_test(${area}_test SOURCES ${area}_test.cpp LIBS veltrax_module_host LABELS effect)
endforeach()

add_test(NAME module_exports_only_entry_functions
         COMMAND ${CMAKE_COMMAND} -DMODULE=$<TARGET_FILE:veltrax_module>
                 -P ${CMAKE_CURRENT_SOURCE_DIR}/support/check_exports.cmake)
set_tests_properties(module_exports_only_entry_functions PROPERTIES LABELS effect)

veltrax_test(shared_clipping_table_test SOURCES shared_clipping_table_test.cpp LIBS veltrax_effect LABELS effect)
veltrax_test(out_of_memory_test SOURCES out_of_memory_test.cpp LIBS veltrax_effect LABELS effect)

# The voicing against an independent model of the circuit (support/VoicingModel).
add_library(veltrax_voicing_model STATIC support/VoicingModel.cpp)
target_include_directories(veltrax_voicing_model PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
foreach(area voicing_response voicing_levels)
  veltrax_test(${area}_test SOURCES ${area}_test.cpp LIBS veltrax_module_host veltrax_voicing_model LABELS voicing)
endforeach()
