/* A C99 daemon's first use of the library. */
#include <stdio.h>

int main(void) {
  vorn_set_log_level(3);
  int check = vornQmi_CheckResponseCode("QMI_X_REQ_V01", 0, 1, 0);
  printf("c: level %d, check %d\n", vorn_get_log_level(), check);
  return 0;
}
