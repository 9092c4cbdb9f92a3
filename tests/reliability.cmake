# Reliability evidence: thread stress, allocation audit, soak and the
# sample-rate sweep. All drive the built module through ModuleHost, so they
# also run in the 32-bit build.
veltrax_test(soak_test SOURCES soak_test.cpp LIBS veltrax_module_host LABELS soak)
veltrax_test(sample_rate_sweep_test SOURCES sample_rate_sweep_test.cpp LIBS veltrax_module_host LABELS sweep)
find_package(Threads REQUIRED)
veltrax_test(thread_stress_test SOURCES thread_stress_test.cpp LIBS veltrax_module_host Threads::Threads LABELS threads)
veltrax_test(allocation_audit_test SOURCES allocation_audit_test.cpp
             LIBS veltrax_module_host veltrax_allocation_counter LABELS alloc)
