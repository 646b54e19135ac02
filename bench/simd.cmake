# The modem daemon's benchmark runs a client program of its own, once on
# the modem of that process and once through vornsimd.
add_executable(simd_bench_client ${CMAKE_CURRENT_SOURCE_DIR}/simd/client.cpp)
target_link_libraries(simd_bench_client PRIVATE vornsim Threads::Threads)
add_dependencies(vornpal_bench simd_bench_client vornsimd)
