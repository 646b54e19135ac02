#include <stdio.h>
#include <vornpal/log.h>

int main(void) {
  vorn_set_log_level(4);
  printf("cmake: level %d\n", vorn_get_log_level());
  return 0;
}
