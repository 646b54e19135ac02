// The decoders of the card's files, one per kind of file. Each writes the
// field(s) of its type; a long file that "runs on" into the fields behind
// its own stops at the end of the record.
#pragma once

#include <cstdint>

#include <vornpal/usim.h>

namespace vorn::usim {

// src: the file's content, src_len bytes of it valid, in a buffer of at
// least kReadBufferSize bytes (bytes past src_len are zero). 0, 3 for a
// null record, -1 for a file too long for its field (ICCID, IMSI).
int decode_siminfo(const uint8_t *src, int src_len, usim_info_record *out, int type);

// A file is read into a buffer of this size; longer contents are cut.
constexpr int kReadBufferSize = 256;

}  // namespace vorn::usim
