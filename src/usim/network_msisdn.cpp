// The data family's view of the phone number, for AT+CNUM when the card
// has none. The data family (vorn_data_pal_get_msisdn) is not part of the
// library yet: until it is, the network knows no number, and this one
// function is where the call goes once it exists.
#include "usim/files.h"

int vorn::usim::msisdn_from_network(char *number, size_t size) {
  (void)number;
  (void)size;
  return -1;
}
