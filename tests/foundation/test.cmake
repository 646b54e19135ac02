# The AT client's tests talk to the host's AT server in a thread.
target_link_libraries(test_foundation PRIVATE vornpal_at_responder)
