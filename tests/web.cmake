# The pedal page's tests (label `web`: the WebAssembly engine against the
# native module under Node; label `browser`: the page in headless Chromium).
# The web_site fixture builds build/web/ through emcmake (web/build.sh) and
# installs the pinned playwright-core first, so a clean clone needs no other
# step. Without emscripten, Node or Chromium the tests say so and skip.
find_program(VELTRAX_NODE node)
find_program(VELTRAX_EMCMAKE emcmake)
find_program(VELTRAX_CHROMIUM chromium PATHS /usr/bin NO_DEFAULT_PATH)
set(web_site ${PROJECT_SOURCE_DIR}/build/web)
set(web_tests ${CMAKE_CURRENT_SOURCE_DIR}/web)

function(veltrax_web_skip name label reason)
  add_test(NAME ${name} COMMAND sh -c "echo 'skipped: ${reason} (tools/setup.sh installs it)'; exit 77")
  set_tests_properties(${name} PROPERTIES LABELS ${label} SKIP_RETURN_CODE 77)
endfunction()

# Presets without the tools (m32, sanitizers) have no native reference host.
if(NOT TARGET veltrax_web_reference)
  return()
endif()
if(NOT VELTRAX_NODE OR NOT VELTRAX_EMCMAKE)
  veltrax_web_skip(web_engine_matches_module web "emscripten or Node.js is missing")
  veltrax_web_skip(web_page_in_chromium browser "emscripten or Node.js is missing")
  return()
endif()

add_test(NAME web_build COMMAND ${PROJECT_SOURCE_DIR}/web/build.sh --with-test-driver)
set_tests_properties(web_build PROPERTIES FIXTURES_SETUP web_site LABELS "web;browser"
                     RESOURCE_LOCK web_site TIMEOUT 900)

add_test(NAME web_engine_matches_module
         COMMAND ${VELTRAX_NODE} --test ${web_tests}/web_engine_test.mjs)
set_tests_properties(web_engine_matches_module PROPERTIES FIXTURES_REQUIRED web_site LABELS web
  ENVIRONMENT "VELTRAX_WEB_SITE=${web_site};VELTRAX_WEB_REFERENCE=$<TARGET_FILE:veltrax_web_reference>;VELTRAX_MODULE=$<TARGET_FILE:veltrax_module>")

if(NOT VELTRAX_CHROMIUM)
  veltrax_web_skip(web_page_in_chromium browser "/usr/bin/chromium is missing")
  return()
endif()
add_test(NAME web_page_in_chromium COMMAND ${VELTRAX_NODE} --test ${web_tests}/web_browser_test.mjs)
set_tests_properties(web_page_in_chromium PROPERTIES FIXTURES_REQUIRED web_site LABELS browser
  RESOURCE_LOCK web_site TIMEOUT 300
  ENVIRONMENT "VELTRAX_WEB_SITE=${web_site};VELTRAX_CHROMIUM=${VELTRAX_CHROMIUM}")
