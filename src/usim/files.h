// Reading the card's files (shared by the queries and the walk).
#pragma once

#include <cstddef>
#include <cstdint>

#include <vornpal/platform/user_identity_module_v01.h>

namespace vorn::usim {

// usim_file_id: the file and its path, each path element low byte first.
using FileAddress = uim_file_id_type_v01;

// The file of a type on a card of card_type: type 1 under 3F00, others
// under 3F00 7F20 on a SIM and 3F00 7FFF on any other card. An unknown type
// gets file id 0.
void package_file_id(int type, int32_t card_type, FileAddress &out);
// The whole file, or the whole of record 1, into out (at most
// kReadBufferSize bytes): 0 or -1.
int read_transparent(const FileAddress &file, uint8_t *out, int *out_len);
int read_record(const FileAddress &file, uint8_t *out, int *out_len);
// Record 1 of EF MSISDN: the alpha part (14 bytes taken as they stand),
// the number and its type of number. 0 or -1.
int get_msisdn_info(char (&name)[32], char (&number)[32], uint32_t &type);
// The phone number as the network gave it to the data side: 0 and a
// terminated number, or -1.
int msisdn_from_network(char *number, size_t size);

}  // namespace vorn::usim
