# The AT round trip runs against the host's AT server in a thread.
target_link_libraries(vornpal_bench PRIVATE vornpal_at_responder)
