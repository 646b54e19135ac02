// Fuzz targets that let the library write its files run only in the sandbox.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

inline void require_sandbox() {
  const char *sandboxed = std::getenv("VORNPAL_SANDBOX");
  if (sandboxed == nullptr || std::strcmp(sandboxed, "1") != 0) {
    std::fprintf(stderr, "run inside tools/sandbox/vornpal-sandbox\n");
    std::exit(2);
  }
}
