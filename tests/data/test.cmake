# A start or stop waits 2000 ms for the modem's report, and a report can
# wait behind the event thread's work on the one before it: probes of the
# interface through the shell, which take real time whatever the scale. At
# the suite's usual scale of 100 the report would have 20 ms, too little on
# a loaded machine; at 5 it has 400 ms. The code keeps its durations.
set_property(TEST data APPEND PROPERTY ENVIRONMENT "VORNPAL_TIME_SCALE=5")
