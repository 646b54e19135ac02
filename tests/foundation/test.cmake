# The AT client's tests talk to the host's AT server in a thread.
target_link_libraries(test_foundation PRIVATE vornpal_at_responder)
# The soak of thousands of child processes runs apart from the regular suite,
# under a label of its own: ctest -L soak
add_test(NAME foundation_soak
  COMMAND ${VORNPAL_SANDBOX} ${VORNPAL_SANDBOX_EXPOSE} -- ${VORNPAL_TEST_EMULATOR}
          $<TARGET_FILE:test_foundation> --gtest_also_run_disabled_tests --gtest_filter=ProcessSoak.*)
set_tests_properties(foundation_soak PROPERTIES LABELS soak TIMEOUT 1800 ENVIRONMENT "${environment}")
