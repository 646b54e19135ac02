// A C++ daemon's first use of the library.
#include <cstdio>

int main() {
  vorn_set_log_level(2);
  int check = vornQmi_CheckResponseCode("QMI_X_REQ_V01", 0, 0, 0);
  std::printf("c++: level %d, check %d\n", vorn_get_log_level(), check);
  return 0;
}
