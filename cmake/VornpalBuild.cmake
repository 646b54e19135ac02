# Compiler settings shared by every target of the project.
add_compile_options(-Wall -Wextra -Werror)

if(VORNPAL_SANITIZE)
  add_compile_options(-fsanitize=${VORNPAL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VORNPAL_SANITIZE})
endif()

# Tests run each executable in a private root (see tools/sandbox). On a cross
# build the executable runs under the emulator inside that sandbox.
set(VORNPAL_SANDBOX ${PROJECT_SOURCE_DIR}/tools/sandbox/vornpal-sandbox)
# In a cross build pkg-config looks only at the sysroot's packages.
if(CMAKE_CROSSCOMPILING AND VORNPAL_ARMHF_SYSROOT)
  set(ENV{PKG_CONFIG_LIBDIR}
      ${VORNPAL_ARMHF_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${VORNPAL_ARMHF_SYSROOT}/usr/share/pkgconfig)
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${VORNPAL_ARMHF_SYSROOT})
endif()

set(VORNPAL_SANDBOX_EXPOSE --expose ${PROJECT_BINARY_DIR} --expose ${PROJECT_SOURCE_DIR})
if(CMAKE_CROSSCOMPILING AND CMAKE_CROSSCOMPILING_EMULATOR)
  set(VORNPAL_TEST_EMULATOR ${CMAKE_CROSSCOMPILING_EMULATOR})
  list(APPEND VORNPAL_SANDBOX_EXPOSE --expose ${VORNPAL_ARMHF_SYSROOT})
else()
  set(VORNPAL_TEST_EMULATOR "")
endif()
