// The data family's view of the phone number, for AT+CNUM when the card
// has none: the MSISDN the network gave the attach APN.
#include <cstring>

#include <vornpal/data.h>

#include "usim/files.h"

int vorn::usim::msisdn_from_network(char *number, size_t size) {
  if (number == nullptr || size == 0) return -1;
  // The data family writes up to 511 digits and a terminator.
  char digits[512] = {};
  if (vorn_data_pal_get_msisdn(digits) != 0) return -1;
  const size_t length = strnlen(digits, sizeof digits - 1);
  if (length >= size) return -1;
  std::memcpy(number, digits, length + 1);
  return 0;
}
