# The modem daemon's suite: the program it runs as other processes beside
# the test, the daemon itself, and the frames of sim/src/wire.h.
add_executable(simd_peer ${CMAKE_CURRENT_SOURCE_DIR}/simd/peer/main.cpp)
target_link_libraries(simd_peer PRIVATE vornpal vornsim)
add_dependencies(test_simd simd_peer)
target_include_directories(test_simd PRIVATE ${PROJECT_SOURCE_DIR}/sim/src)
set_tests_properties(simd PROPERTIES LABELS daemon)

# Cases of the family suites that drive the modem through the core control
# calls only (no handlers of their own, no per-service controls), run with
# the modem daemon in between: ctest -L daemon. The tools are host programs,
# so a cross build leaves them out.
if(TARGET vornsimd)
  add_dependencies(test_simd vornsimd)
  set(daemon_cases_m2m "M2mClient.*:M2mNv.*:M2mStore.*:M2mRequestFailures.*:M2mCtl.*:M2mIndications.OneReportPostsEachPartInItsOrder:M2mIndications.ScanCellsArriveAsOneRecord:M2mIndications.NvReportsAndMalformedIndications:M2mQueries.ConnectAndDisconnectAProfile")
  set(daemon_cases_device "Board.*:DeviceCtl.*:MimoClat.*:DeviceOperation.*:DeviceRequestFailures.*:DeviceIdentity.InitOpensDmsStartsM2mAndAsksForModeReports:DeviceIdentity.FailedOpenIsReportedAndHealsAtTheNextQuery:DeviceIdentity.OperatingModeReportsBecomeEventsOnTheModemThread:DeviceIdentity.RevisionPhoneNumberAndHardwareVersion")
  set(daemon_cases_network "NetworkEvents.*:NetworkCtl.*:NetworkStart.*:NetworkSetting.RatModesRoundTripAndTheMarker:NetworkRegistration.ScanReportsIncrementally:NetworkInfo.ModemThatStopsAnsweringMidway-NetworkEvents.RejectCausesOnlyOneTo113")
  foreach(through m2m device network)
    add_test(NAME daemon_${through}
      COMMAND ${VORNPAL_SANDBOX} ${VORNPAL_SANDBOX_EXPOSE} -- ${CMAKE_CURRENT_SOURCE_DIR}/scripts/with-vornsimd.sh
              $<TARGET_FILE:vornsimd> $<TARGET_FILE:test_${through}> --gtest_filter=${daemon_cases_${through}})
    set_tests_properties(daemon_${through} PROPERTIES LABELS daemon TIMEOUT 300 ENVIRONMENT "${environment}")
  endforeach()
endif()
