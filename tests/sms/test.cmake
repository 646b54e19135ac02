# libgammu is the independent reference codec of the SMS tests; the corpus
# files are read from the source tree.
find_package(PkgConfig REQUIRED)
pkg_check_modules(GAMMU REQUIRED IMPORTED_TARGET gammu)
target_link_libraries(test_sms PRIVATE PkgConfig::GAMMU)
target_compile_definitions(test_sms PRIVATE
  SMS_CORPUS_DIR="${CMAKE_CURRENT_SOURCE_DIR}/sms/corpus"
  VORNPALCTL_PATH="$<TARGET_FILE:vornpalctl>")
add_dependencies(test_sms vornpalctl)
