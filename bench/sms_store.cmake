# The AP store benchmarks set the library's store beside sqlite used directly.
target_link_libraries(vornpal_bench PRIVATE SQLite::SQLite3)
