# A start or stop waits 2000 ms for the modem's report: at the suite's usual
# scale of 100 the simulated modem would have 20 ms to deliver it, too little
# on a loaded machine. At 20 it gets 100 ms; the code keeps its durations.
set_property(TEST data APPEND PROPERTY ENVIRONMENT "VORNPAL_TIME_SCALE=20")
