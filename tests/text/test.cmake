# The GSM alphabet is checked against libgammu, through the SMS tests' own
# wrapper of it; UCS-2 and Latin-1 against the C library's iconv.
find_package(PkgConfig REQUIRED)
pkg_check_modules(GAMMU REQUIRED IMPORTED_TARGET gammu)
target_sources(test_text PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/sms/gammu_ref.cpp)
target_include_directories(test_text PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/sms)
target_link_libraries(test_text PRIVATE PkgConfig::GAMMU)
