# The Python package (label "python"): pytest against the built package and
# the built plug-in module, which the tests drive through its record.
if(TARGET _veltrax)
  add_test(NAME python_package
           COMMAND /usr/bin/python3 -m pytest -q -p no:cacheprovider ${PROJECT_SOURCE_DIR}/python/tests)
  set_tests_properties(python_package PROPERTIES LABELS python
    ENVIRONMENT "PYTHONPATH=${VELTRAX_PYTHON_DIR}:${PROJECT_SOURCE_DIR}/python/tests;VELTRAX_MODULE=$<TARGET_FILE:veltrax_module>")
endif()
