# Cross build for 32-bit ARM (armhf) with Debian's arm-linux-gnueabihf
# toolchain. VORNPAL_ARMHF_SYSROOT is the directory made by
# scripts/armhf-sysroot.sh: the C library of the toolchain plus the armhf
# packages the project links (sqlite3). Tests run under qemu-arm in it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

if(NOT VORNPAL_ARMHF_SYSROOT)
  set(VORNPAL_ARMHF_SYSROOT ${CMAKE_BINARY_DIR}/sysroot)
endif()
set(VORNPAL_ARMHF_SYSROOT ${VORNPAL_ARMHF_SYSROOT} CACHE PATH "armhf sysroot with sqlite3")
set(CMAKE_FIND_ROOT_PATH ${VORNPAL_ARMHF_SYSROOT} /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Executables find the sysroot's libraries (sqlite3) under the emulator too.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${VORNPAL_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${VORNPAL_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${VORNPAL_ARMHF_SYSROOT})
