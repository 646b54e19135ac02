# The thousand calls up and down, apart from the regular suite:
# ctest -L soak.
add_test(NAME data_soak
  COMMAND ${VORNPAL_SANDBOX} ${VORNPAL_SANDBOX_EXPOSE} -- ${VORNPAL_TEST_EMULATOR}
          $<TARGET_FILE:test_data> --gtest_also_run_disabled_tests --gtest_filter=Soak.DISABLED_*)
set_tests_properties(data_soak PROPERTIES LABELS soak TIMEOUT 3600
  ENVIRONMENT "${environment}")
# The ctl tests run the tool against the same simulated modem.
add_dependencies(test_data vornpalctl)
