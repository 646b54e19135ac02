# Ten million requests against the simulated modem, apart from the regular
# suite: ctest -L soak
add_test(NAME sim_soak
  COMMAND ${VORNPAL_SANDBOX} ${VORNPAL_SANDBOX_EXPOSE} -- ${VORNPAL_TEST_EMULATOR}
          $<TARGET_FILE:test_sim> --gtest_also_run_disabled_tests --gtest_filter=ModemSoak.*)
set_tests_properties(sim_soak PROPERTIES LABELS soak TIMEOUT 1800 ENVIRONMENT "${environment}")
