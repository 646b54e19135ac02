# A start or stop waits 2000 ms for the modem's report, and a report can
# wait behind the event thread's work on the one before it: probes of the
# interface through the shell, which take real time whatever the scale. At
# the suite's usual scale of 100 the report would have 20 ms, too little on
# a loaded machine; at 5 it has 400 ms. The code keeps its durations.
set_property(TEST data APPEND PROPERTY ENVIRONMENT "VORNPAL_TIME_SCALE=5")
# The thousand calls up and down, apart from the regular suite:
# ctest -L soak. Each step waits for its events, so a report has at most one
# word of the event thread's to wait behind, and the scale can be higher: at
# 10 a stop has 200 ms for its report (at 20, 100 ms were once too few in a
# thousand on a loaded machine under ASan).
add_test(NAME data_soak
  COMMAND ${VORNPAL_SANDBOX} ${VORNPAL_SANDBOX_EXPOSE} -- ${VORNPAL_TEST_EMULATOR}
          $<TARGET_FILE:test_data> --gtest_also_run_disabled_tests --gtest_filter=Soak.DISABLED_*)
set_tests_properties(data_soak PROPERTIES LABELS soak TIMEOUT 3600
  ENVIRONMENT "${environment};VORNPAL_TIME_SCALE=10")
# The ctl tests run the tool against the same simulated modem.
add_dependencies(test_data vornpalctl)
