# The SMS benchmarks race libgammu on the PDUs of the test corpus, through
# the tests' own wrapper of gammu.
find_package(PkgConfig REQUIRED)
pkg_check_modules(GAMMU REQUIRED IMPORTED_TARGET gammu)
target_sources(vornpal_bench PRIVATE ${PROJECT_SOURCE_DIR}/tests/sms/gammu_ref.cpp)
target_include_directories(vornpal_bench PRIVATE ${PROJECT_SOURCE_DIR}/tests/sms)
target_link_libraries(vornpal_bench PRIVATE PkgConfig::GAMMU)
target_compile_definitions(vornpal_bench PRIVATE
  SMS_CORPUS_DIR="${PROJECT_SOURCE_DIR}/tests/sms/corpus")
