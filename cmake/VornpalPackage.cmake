# Debian packages of a build, made by CPack's DEB generator:
#   cpack --config BUILD/CPackConfig.cmake -B BUILD/packages
# libvornpal1 (the library), libvornpal-dev (headers, the .so link, vornpal.pc,
# the CMake package, vornpal(3)), and on a host vornpal-sim (the simulated
# modem) and vornpal-tools (vornpalctl and the sandbox). A cross build makes
# vornpal-tools only when vornpalctl is linked to the platform's libraries,
# which the device's firmware provides.
set(VORNPAL_DEB_VERSION ${PROJECT_VERSION})
set(VORNPAL_DEB_MAINTAINER "libvornpal developers <libvornpal-dev@vorn.example>")
# What the library and the programs need at run time, as Debian names it
# (the packaging test compares it with dpkg-shlibdeps).
set(VORNPAL_DEB_RUNTIME "libc6 (>= 2.34), libgcc-s1 (>= 3.0), libstdc++6 (>= 12)")

execute_process(COMMAND dpkg-architecture -t ${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
  OUTPUT_VARIABLE VORNPAL_DEB_ARCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)

# vornpal(3) names every public header with the opening sentences of its
# comment, up to the comment's first blank line.
file(GLOB VORNPAL_PUBLIC_HEADERS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/vornpal/*.h)
set(VORNPAL_HEADER_LIST "")
foreach(header ${VORNPAL_PUBLIC_HEADERS})
  file(READ ${header} text)
  string(REPLACE ";" "," text "${text}")
  string(REPLACE "\n" ";" lines "${text}")
  set(summary "")
  foreach(line ${lines})
    if(line MATCHES "^/\\* (.*) \\*/$")
      set(summary "${CMAKE_MATCH_1}")
      break()
    elseif(line MATCHES "^ \\* (.+)$")
      string(APPEND summary " ${CMAKE_MATCH_1}")
    elseif(NOT line STREQUAL "/*")
      break()
    endif()
  endforeach()
  string(STRIP "${summary}" summary)
  string(REPLACE "\\" "\\e" summary "${summary}")
  string(REPLACE "-" "\\-" summary "${summary}")
  get_filename_component(name ${header} NAME)
  string(APPEND VORNPAL_HEADER_LIST ".TP\n.B <vornpal/${name}>\n${summary}\n")
endforeach()
configure_file(doc/vornpal.3.in ${PROJECT_BINARY_DIR}/package/vornpal.3 @ONLY)

# Each package's copyright and changelog, and the library's manual page.
configure_file(cmake/package/changelog.in ${PROJECT_BINARY_DIR}/package/changelog @ONLY)
add_custom_command(OUTPUT package/changelog.gz package/vornpal.3.gz
  COMMAND gzip -9nkf package/changelog package/vornpal.3
  DEPENDS ${PROJECT_BINARY_DIR}/package/changelog ${PROJECT_BINARY_DIR}/package/vornpal.3 VERBATIM)
add_custom_target(vornpal_package_docs ALL
  DEPENDS ${PROJECT_BINARY_DIR}/package/changelog.gz ${PROJECT_BINARY_DIR}/package/vornpal.3.gz)
install(FILES ${PROJECT_BINARY_DIR}/package/vornpal.3.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)

set(VORNPAL_DEB_COMPONENTS lib dev)
if(NOT CMAKE_CROSSCOMPILING)
  list(APPEND VORNPAL_DEB_COMPONENTS sim tools)
elseif(NOT "vornsim" IN_LIST VORNPAL_CTL_PLATFORM_LIBS)
  list(APPEND VORNPAL_DEB_COMPONENTS tools)
endif()

set(lib_NAME libvornpal1)
set(lib_SECTION libs)
set(lib_DEPENDS "${VORNPAL_DEB_RUNTIME}, libsqlite3-0 (>= 3.5.9)")
set(lib_DESCRIPTION "platform abstraction layer of the fixed-wireless-access framework
The C interface through which the framework's daemons (the AT command server,
the web UI, ...) reach the 5G module: data calls, network, SMS, USIM and eSIM,
USSD and IMS, the device, and the module's M2M service.")
set(dev_NAME libvornpal-dev)
set(dev_SECTION libdevel)
set(dev_DEPENDS "libvornpal1 (= ${VORNPAL_DEB_VERSION})")
set(dev_DESCRIPTION "platform abstraction layer of the fixed-wireless-access framework (development)
The C headers of libvornpal, the link to the shared library, its pkg-config
file (vornpal) and its CMake package (find_package(vornpal)); vornpal(3) leads
to the headers.")
set(sim_NAME vornpal-sim)
set(sim_SECTION devel)
set(sim_DEPENDS "${VORNPAL_DEB_RUNTIME}")
set(sim_DESCRIPTION "simulated 5G modem for libvornpal on a host
The platform's QMI and diag symbols for a development host, answered by a
simulated modem and network, with a C++ control API (vornsim/sim.h): a daemon
links it in place of the device's platform libraries.")
set(tools_NAME vornpal-tools)
set(tools_SECTION utils)
set(tools_DEPENDS "libvornpal1 (= ${VORNPAL_DEB_VERSION}), ${VORNPAL_DEB_RUNTIME}")
if(NOT CMAKE_CROSSCOMPILING)
  string(APPEND tools_DEPENDS ", vornpal-sim (= ${VORNPAL_DEB_VERSION}), bubblewrap")
endif()
set(tools_DESCRIPTION "command-line tool for libvornpal
vornpalctl inspects and drives libvornpal from a shell, one command per
request of the library. On a host it runs in a private root
(vornpal-sandbox) against the simulated modem.")

foreach(component ${VORNPAL_DEB_COMPONENTS})
  string(TOUPPER ${component} c)
  set(CPACK_DEBIAN_${c}_PACKAGE_NAME ${${component}_NAME})
  set(CPACK_DEBIAN_${c}_PACKAGE_SECTION ${${component}_SECTION})
  set(CPACK_DEBIAN_${c}_PACKAGE_DEPENDS ${${component}_DEPENDS})
  set(CPACK_COMPONENT_${c}_DESCRIPTION ${${component}_DESCRIPTION})
  install(FILES cmake/package/copyright ${PROJECT_BINARY_DIR}/package/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${component}_NAME} COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vornpal)
set(CPACK_PACKAGE_VERSION ${VORNPAL_DEB_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL ${VORNPAL_DEB_COMPONENTS})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${VORNPAL_DEB_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${VORNPAL_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Packages with a shared library activate the ldconfig trigger. CPack would
# otherwise write postinst and postrm scripts that call ldconfig; naming
# those scripts among the control files (none exists) keeps it from that.
foreach(c LIB SIM)
  set(CPACK_DEBIAN_${c}_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/package/triggers
      ${PROJECT_BINARY_DIR}/package/no-script/postinst ${PROJECT_BINARY_DIR}/package/no-script/postrm)
endforeach()
# libvornpal1's shlibs: dependants get "libvornpal1 (>= VERSION)".
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_STRIP_FILES ON)
include(CPack)

# The packaging test (tests/scripts/check-packages.sh) on a host build that
# ships: no sanitizer. It checks the packages of an armhf build too when
# VORNPAL_PACKAGE_ARMHF_BUILD names one (scripts/test-all.sh does).
set(VORNPAL_PACKAGE_ARMHF_BUILD "" CACHE PATH "armhf build directory whose packages the packaging test checks")
if(NOT CMAKE_CROSSCOMPILING AND NOT VORNPAL_SANITIZE)
  add_test(NAME packages
    COMMAND ${PROJECT_SOURCE_DIR}/tests/scripts/check-packages.sh ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}
            ${VORNPAL_PACKAGE_ARMHF_BUILD})
  set_tests_properties(packages PROPERTIES TIMEOUT 600 LABELS package)
endif()
