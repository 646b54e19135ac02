# The modem daemon's suite: the program it runs as other processes beside
# the test, the daemon itself, and the frames of sim/src/wire.h.
add_executable(simd_peer ${CMAKE_CURRENT_SOURCE_DIR}/simd/peer/main.cpp)
target_link_libraries(simd_peer PRIVATE vornpal vornsim)
add_dependencies(test_simd simd_peer vornsimd)
target_include_directories(test_simd PRIVATE ${PROJECT_SOURCE_DIR}/sim/src)
set_tests_properties(simd PROPERTIES LABELS daemon)
