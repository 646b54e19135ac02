# The UIM service's channel and power requests have time-outs of 1000 ms:
# at the suite's usual scale of 100 the simulated card would have 10 ms to
# answer, too little on a loaded machine, and a long APDU response 21 ms to
# arrive. At 20 they get 50 ms and 105 ms; the code keeps its durations.
set_property(TEST usim APPEND PROPERTY ENVIRONMENT "VORNPAL_TIME_SCALE=20")
# The ctl tests run the tool against the same simulated modem.
add_dependencies(test_usim vornpalctl)
