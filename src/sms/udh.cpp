// The user data header: its information elements on the wire and in
// sms_udh_element, one reader and one writer per element type.
#include <algorithm>
#include <cstring>

#include <vornpal/sms_user_data.h>

#include "foundation/log_site.h"

namespace {

constexpr unsigned kMaxUdhl = 140;

// The whole header, for the one element whose layout depends on the others.
struct HeaderView {
  const uint8_t *data;  // data[0] is the UDHL
  uint8_t udhl() const { return data[0]; }
};

using Reader = bool (*)(const uint8_t *body, uint8_t length, sms_udh_element &element,
                        const HeaderView &header);
using Writer = uint8_t (*)(const sms_udh_element *element, uint8_t *out);

bool length_is(uint8_t length, uint8_t expected, const char *text) {
  if (length == expected) return true;
  VORN_LOG(VORN_ERR, text, length);
  return false;
}

bool concat_in_bounds(uint8_t total, uint8_t seq) { return total != 0 && seq != 0 && seq <= total; }

uint16_t big_endian(const uint8_t *octets) {
  return static_cast<uint16_t>(octets[0] << 8 | octets[1]);
}

uint8_t *put_big_endian(uint8_t *out, uint16_t value) {
  *out++ = static_cast<uint8_t>(value >> 8);
  *out++ = static_cast<uint8_t>(value);
  return out;
}

// Identifier and length octet, then the body; returns the octets written.
uint8_t put_element(uint8_t *out, uint8_t id, const uint8_t *body, uint8_t length) {
  out[0] = id;
  out[1] = length;
  if (length > 0) std::memcpy(out + 2, body, length);
  return static_cast<uint8_t>(length + 2);
}

// Animations and pictures: a position followed by a fixed block of data.
template <class Block>
uint8_t put_positioned(uint8_t *out, uint8_t id, uint8_t position, const Block &data) {
  out[0] = id;
  out[1] = static_cast<uint8_t>(sizeof data + 1);
  out[2] = position;
  std::memcpy(out + 3, &data, sizeof data);
  return static_cast<uint8_t>(sizeof data + 3);
}

// --- readers -----------------------------------------------------------------------

bool read_concat_8(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 3, "UDH Header Concat 8 Present with invalid data length = %d"))
    return false;
  e.body.concat_8 = {body[0], body[1], body[2]};
  if (concat_in_bounds(body[1], body[2])) return true;
  VORN_LOG(VORN_ERR, "UDH Header Contact 8 with out of bound max messages");
  return false;
}

bool read_special_sm(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 2, "SMS UDH Header Special SM Present with invalid data length = %d"))
    return false;
  // Only voicemail is told apart from the other kinds.
  e.body.special_sm.msg_waiting = (body[0] & 0x80) ? 2 : 1;
  e.body.special_sm.msg_waiting_kind = (body[0] & 0x07) ? 4 : 0;
  e.body.special_sm.message_count = body[1];
  return true;
}

bool read_port_8(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 2, "UDH Header Port 8 Present with invalid data length = %d"))
    return false;
  e.body.port_8 = {body[0], body[1]};
  return true;
}

bool read_port_16(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 4, "SMS UDH Header Port16 Present with invalid data length = %d"))
    return false;
  e.body.port_16 = {big_endian(body), big_endian(body + 2)};
  return true;
}

bool read_concat_16(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 4, "SMS UDH Header Concat16 Present with invalid data length = %d"))
    return false;
  e.body.concat_16 = {big_endian(body), body[2], body[3]};
  return concat_in_bounds(body[2], body[3]);
}

bool read_text_formatting(const uint8_t *body, uint8_t length, sms_udh_element &e,
                          const HeaderView &) {
  if (length != 3 && length != 4) {
    VORN_LOG(VORN_ERR, "SMS UDH Header Text Formatting Present with invalid data length = %d",
             length);
    return false;
  }
  sms_udh_text_formatting &f = e.body.text_formatting;
  f.start_position = body[0];
  f.text_formatting_length = body[1];
  f.alignment = body[2] & 0x03;
  f.font_size = (body[2] >> 2) & 0x03;
  f.style_bold = (body[2] >> 4) & 1;
  f.style_italic = (body[2] >> 5) & 1;
  f.style_underlined = (body[2] >> 6) & 1;
  f.style_strikethrough = (body[2] >> 7) & 1;
  if (length == 4) {
    f.is_color_present = 1;
    f.foreground = body[3] & 0x0F;
    f.background = body[3] >> 4;
  }
  return true;
}

bool read_pre_def_sound(const uint8_t *body, uint8_t length, sms_udh_element &e,
                        const HeaderView &) {
  if (!length_is(length, 2,
                 "SMS UDH Header Pre Defined Sound Present with invalid data length = %d"))
    return false;
  e.body.pre_def_sound = {body[0], body[1]};
  return true;
}

bool read_user_def_sound(const uint8_t *body, uint8_t length, sms_udh_element &e,
                         const HeaderView &) {
  sms_udh_user_def_sound &sound = e.body.user_def_sound;
  if (length == 0) {
    VORN_LOG(VORN_ERR, "SMS UDH Header User Defined Sound Present with no Data");
    return false;
  }
  if (length - 1 > static_cast<int>(sizeof sound.sound_data)) {
    VORN_LOG(VORN_ERR, "Max Size Exceed Header id %d ", SMS_UDH_USER_DEF_SOUND);
    return false;
  }
  sound.data_length = static_cast<uint8_t>(length - 1);
  sound.position = body[0];
  std::memset(sound.sound_data, 0xFF, sizeof sound.sound_data);
  std::memcpy(sound.sound_data, body + 1, sound.data_length);
  return true;
}

bool read_pre_def_anim(const uint8_t *body, uint8_t length, sms_udh_element &e,
                       const HeaderView &) {
  if (!length_is(length, 2,
                 "SMS UDH Header Pre Defined Animation Present with invalid data length = %d"))
    return false;
  e.body.pre_def_anim = {body[0], body[1]};
  return true;
}

constexpr const char kAnimationLength[] =
    "SMS UDH Header Large Defined Animation Present with invalid data length = %d";

template <class Block>
bool read_positioned(const uint8_t *body, uint8_t length, const char *text, uint8_t &position,
                     Block &data) {
  if (!length_is(length, sizeof data + 1, text)) return false;
  position = body[0];
  std::memcpy(&data, body + 1, sizeof data);
  return true;
}

bool read_large_anim(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  return read_positioned(body, length, kAnimationLength, e.body.large_anim.position,
                         e.body.large_anim.data);
}

bool read_small_anim(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  return read_positioned(body, length, kAnimationLength, e.body.small_anim.position,
                         e.body.small_anim.data);
}

bool read_large_picture(const uint8_t *body, uint8_t length, sms_udh_element &e,
                        const HeaderView &) {
  return read_positioned(body, length,
                         "SMS UDH Header Large Picture Present with invalid data length = %d",
                         e.body.large_picture.position, e.body.large_picture.data);
}

bool read_small_picture(const uint8_t *body, uint8_t length, sms_udh_element &e,
                        const HeaderView &) {
  return read_positioned(body, length,
                         "SMS UDH Header Small Picture Present with invalid data legnth = %d",
                         e.body.small_picture.position, e.body.small_picture.data);
}

bool read_var_picture(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  sms_udh_var_picture &p = e.body.var_picture;
  if (length < 3 || length > sizeof p.data + 3) {
    VORN_LOG(VORN_ERR, "SMS UDH Header Var Picture Present with invalid data length = %d", length);
    return false;
  }
  unsigned wire_width = body[1];
  if (length - 3u != wire_width * body[2]) {
    VORN_LOG(VORN_ERR, "SMS UDH Header Var Picture, pic size value mismatch with heigt and weight");
    return false;
  }
  if (wire_width * 8 > 255) {
    VORN_LOG(VORN_ERR, "SMS UDH Header Var Picture, pic width is too large");
    return false;
  }
  p.position = body[0];
  p.width = static_cast<uint8_t>(wire_width * 8);
  p.height = body[2];
  std::memcpy(p.data, body + 3, length - 3u);
  return true;
}

bool read_user_prompt(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 1, "SMS UDH User Prompt present with invalid data length = %d"))
    return false;
  e.body.user_prompt.number_of_objects = body[0];
  return true;
}

// An extended object carries its seven octets of description only in the
// first segment, which is told by a 16-bit concatenation element anywhere in
// the header (an 8-bit one is not looked at). 1 or 0, -1 for a bad header.
int first_segment_check(const HeaderView &header) {
  const uint8_t *data = header.data;
  unsigned udhl = header.udhl();
  int first = 1;
  unsigned pos = 1;
  for (int n = 0; n < SMS_MAX_UD_HEADERS && pos < udhl + 1; ++n) {
    unsigned iedl = pos + 1 <= udhl ? data[pos + 1] : 0;
    if (pos + iedl + 2 > udhl + 1) {
      VORN_LOG(VORN_ERR, "Invalid IEDL: pos(%d) + iedl(%d) + 2 > UDHL(%d) + 1", pos, iedl, udhl);
      return -1;
    }
    if (data[pos] == SMS_UDH_CONCAT_16 && pos + 5 <= udhl && data[pos + 5] != 1) {
      VORN_LOG(VORN_DBUG, "SMS_UDH_CONCAT_16 not first segment");
      first = 0;
    }
    pos += iedl + 2;
  }
  return first;
}

constexpr uint8_t kEoDescription = 7;  // reference, length (2), control, type, position (2)

bool read_eo(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &header) {
  sms_udh_eo &eo = e.body.eo;
  if (length == 0) {
    VORN_LOG(VORN_ERR, "SMS UDH Extended Object present with no Data");
    return false;
  }
  int first = first_segment_check(header);
  if (first < 0) {
    VORN_LOG(VORN_ERR, "sms_ts_udh_decode_first_seg_check failed");
    return false;
  }
  eo.first_segment = static_cast<uint8_t>(first);
  unsigned skip = first ? kEoDescription : 0;
  if (length < skip || length - skip > sizeof eo.content - (first ? kEoDescription : 0)) {
    VORN_LOG(VORN_ERR, " SMS UDH Extended Object presents invalid UDHL:%d", length);
    return false;
  }
  if (first) {
    eo.reference = body[0];
    eo.length = big_endian(body + 1);
    eo.control = body[3];
    eo.type = body[4];
    eo.position = big_endian(body + 5);
  }
  eo.content_length = static_cast<uint8_t>(length - skip);
  std::memcpy(eo.content, body + skip, eo.content_length);
  return true;
}

bool read_rfc822(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (!length_is(length, 1, "SMS UDH Header Rfc822 Present with invalid data length = %d"))
    return false;
  e.body.rfc822.header_length = body[0];
  return true;
}

// National language shifts: Turkish, Spanish and Portuguese only.
bool read_language(const uint8_t *body, uint8_t length, const char *length_text,
                   const char *id_text, sms_udh_nat_lang &lang) {
  if (!length_is(length, 1, length_text)) return false;
  if (body[0] < 1 || body[0] > 3) {
    VORN_LOG(VORN_ERR, id_text, body[0]);
    return false;
  }
  lang.language = body[0];
  return true;
}

bool read_nat_lang_ss(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  return read_language(
      body, length, "SMS UDH National Lang Single Shift Present with invalid data length = %d",
      "SMS UDH National Lang Single Shift Present with invalid id = %d", e.body.nat_lang_ss);
}

bool read_nat_lang_ls(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  return read_language(
      body, length, "SMS UDH National Lang Locking Shift Present with invalid data length = %d",
      "SMS UDH National Lang Locking Shift Present with invalid id = %d", e.body.nat_lang_ls);
}

bool read_other(const uint8_t *body, uint8_t length, sms_udh_element &e, const HeaderView &) {
  if (length > sizeof e.body.other.data) {
    VORN_LOG(VORN_ERR, "SMS UDH Header Other data length exceeding 226");
    return false;
  }
  e.body.other.data_length = length;
  std::memcpy(e.body.other.data, body, length);
  return true;
}

// --- writers of the elements that the header writer puts inline --------------------

uint8_t write_concat_8(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_concat_8 &c = e->body.concat_8;
  const uint8_t body[] = {c.msg_ref, c.total_sm, c.seq_num};
  return put_element(out, SMS_UDH_CONCAT_8, body, sizeof body);
}

uint8_t write_port_8(const sms_udh_element *e, uint8_t *out) {
  const uint8_t body[] = {e->body.port_8.dest_port, e->body.port_8.orig_port};
  return put_element(out, SMS_UDH_PORT_8, body, sizeof body);
}

uint8_t write_port_16(const sms_udh_element *e, uint8_t *out) {
  uint8_t body[4];
  put_big_endian(put_big_endian(body, e->body.port_16.dest_port), e->body.port_16.orig_port);
  return put_element(out, SMS_UDH_PORT_16, body, sizeof body);
}

uint8_t write_concat_16(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_concat_16 &c = e->body.concat_16;
  uint8_t body[4];
  *put_big_endian(body, c.msg_ref) = c.total_sm;
  body[3] = c.seq_num;
  return put_element(out, SMS_UDH_CONCAT_16, body, sizeof body);
}

struct ElementCodec {
  uint32_t id;
  Reader read;
  Writer write;
};

constexpr ElementCodec kCodecs[] = {
    {SMS_UDH_CONCAT_8, read_concat_8, write_concat_8},
    {SMS_UDH_SPECIAL_SM, read_special_sm, sms_ts_encode_udh_special_sm},
    {SMS_UDH_PORT_8, read_port_8, write_port_8},
    {SMS_UDH_PORT_16, read_port_16, write_port_16},
    {SMS_UDH_CONCAT_16, read_concat_16, write_concat_16},
    {SMS_UDH_TEXT_FORMATTING, read_text_formatting, sms_ts_encode_udh_text_formatting},
    {SMS_UDH_PRE_DEF_SOUND, read_pre_def_sound, sms_ts_encode_udh_pre_def_sound},
    {SMS_UDH_USER_DEF_SOUND, read_user_def_sound, sms_ts_encode_udh_user_def_sound},
    {SMS_UDH_PRE_DEF_ANIM, read_pre_def_anim, sms_ts_encode_udh_pre_def_anim},
    {SMS_UDH_LARGE_ANIM, read_large_anim, sms_ts_encode_udh_large_anim},
    {SMS_UDH_SMALL_ANIM, read_small_anim, sms_ts_encode_udh_small_anim},
    {SMS_UDH_LARGE_PICTURE, read_large_picture, sms_ts_encode_udh_large_picture},
    {SMS_UDH_SMALL_PICTURE, read_small_picture, sms_ts_encode_udh_small_picture},
    {SMS_UDH_VAR_PICTURE, read_var_picture, sms_ts_encode_udh_var_picture},
    {SMS_UDH_USER_PROMPT, read_user_prompt, sms_ts_encode_udh_user_prompt},
    {SMS_UDH_EXTENDED_OBJECT, read_eo, sms_ts_encode_udh_eo},
    {SMS_UDH_RFC822, read_rfc822, sms_ts_encode_udh_rfc822},
    {SMS_UDH_NAT_LANG_SS, read_nat_lang_ss, sms_ts_encode_udh_nat_lang_ss},
    {SMS_UDH_NAT_LANG_LS, read_nat_lang_ls, sms_ts_encode_udh_nat_lang_ls},
};

constexpr ElementCodec kOtherCodec{0, read_other, sms_ts_encode_udh_other};

const ElementCodec &codec_of(uint32_t id) {
  for (const ElementCodec &codec : kCodecs)
    if (codec.id == id) return codec;
  return kOtherCodec;
}

// Concatenation elements that cannot be part of a message are left out.
bool writable(const sms_udh_element &e) {
  bool concat = e.header_id == SMS_UDH_CONCAT_8 || e.header_id == SMS_UDH_CONCAT_16;
  if (!concat) return true;
  bool in_bounds = e.header_id == SMS_UDH_CONCAT_8
                       ? concat_in_bounds(e.body.concat_8.total_sm, e.body.concat_8.seq_num)
                       : concat_in_bounds(e.body.concat_16.total_sm, e.body.concat_16.seq_num);
  if (!in_bounds) VORN_LOG(VORN_ERR, "SMS UDH Header id %d Present with no Data", e.header_id);
  return in_bounds;
}

}  // namespace

extern "C" {

VORNPAL_API uint8_t DecodeUserDataHeader(uint8_t length, const uint8_t *data, uint8_t *num_headers,
                                         sms_udh_element *headers) {
  if (data == nullptr || num_headers == nullptr || headers == nullptr || data[0] == 0) {
    VORN_LOG(VORN_ERR, "null pointer in sms_ts_decode_user_data_header");
    return 0;
  }
  const HeaderView header{data};
  unsigned udhl = header.udhl();
  if (udhl >= std::min<unsigned>(length, kMaxUdhl)) {
    VORN_LOG(VORN_ERR, "Invalid UDHL %d (exceeds UD length %d)", udhl, length);
    return 255;
  }
  if (udhl == 1) {
    VORN_LOG(VORN_ERR, "SMS UDH could not be decoded");
    return 0;
  }
  uint8_t count = 0;
  for (unsigned pos = 1; pos < udhl + 1;) {
    if (count == SMS_MAX_UD_HEADERS) {
      VORN_LOG(VORN_DBUG, "decode_udh: Num Headers has exceeded SMS_MAX_UD_HEADERS");
      break;
    }
    // Identifier, length and body must lie inside the header.
    if (pos + 2 > udhl + 1 || pos + 2 + data[pos + 1] > udhl + 1) return 0;
    uint8_t length_octet = data[pos + 1];
    sms_udh_element &element = headers[count];
    element = sms_udh_element{};
    element.header_id = data[pos];
    if (!codec_of(element.header_id).read(data + pos + 2, length_octet, element, header)) {
      VORN_LOG(VORN_ERR, "Bad UDH: pos=%d, data[pos]=%d", pos, data[pos]);
      *num_headers = 0;
      return 0;
    }
    ++count;
    pos += 2 + length_octet;
  }
  *num_headers = count;
  return static_cast<uint8_t>(udhl);
}

VORNPAL_API uint8_t sms_ts_encode_user_data_header(uint8_t num_headers,
                                                   const sms_udh_element *headers, uint8_t *out) {
  if (num_headers == 0 || headers == nullptr || out == nullptr) return 0;
  unsigned pos = 1;
  for (unsigned i = 0; i < std::min<unsigned>(num_headers, SMS_MAX_UD_HEADERS); ++i) {
    const sms_udh_element &element = headers[i];
    if (!writable(element)) continue;
    if (pos - 1 + sms_ts_get_udh_length(&element) > 255) break;  // the UDHL is one octet
    pos += codec_of(element.header_id).write(&element, out + pos);
  }
  out[0] = static_cast<uint8_t>(pos - 1);
  return out[0];
}

VORNPAL_API uint32_t sms_ts_get_udh_length(const sms_udh_element *element) {
  if (element == nullptr) return 0;
  const auto &body = element->body;
  switch (element->header_id) {
    case SMS_UDH_CONCAT_8: return 5;
    case SMS_UDH_SPECIAL_SM:
    case SMS_UDH_PORT_8:
    case SMS_UDH_PRE_DEF_SOUND:
    case SMS_UDH_PRE_DEF_ANIM: return 4;
    case SMS_UDH_PORT_16:
    case SMS_UDH_CONCAT_16: return 6;
    case SMS_UDH_TEXT_FORMATTING: return body.text_formatting.is_color_present ? 6 : 5;
    case SMS_UDH_USER_DEF_SOUND: return body.user_def_sound.data_length + 3u;
    case SMS_UDH_LARGE_ANIM:
    case SMS_UDH_LARGE_PICTURE: return 131;
    case SMS_UDH_SMALL_ANIM:
    case SMS_UDH_SMALL_PICTURE: return 35;
    case SMS_UDH_VAR_PICTURE: return body.var_picture.width * body.var_picture.height / 8u + 5;
    case SMS_UDH_USER_PROMPT:
    case SMS_UDH_RFC822:
    case SMS_UDH_NAT_LANG_SS:
    case SMS_UDH_NAT_LANG_LS: return 3;
    case SMS_UDH_EXTENDED_OBJECT: return body.eo.content_length + (body.eo.first_segment ? 9u : 2u);
    default: return body.other.data_length + 2u;
  }
}

VORNPAL_API uint32_t ComputeUserDataHeaderLength(uint8_t num_headers,
                                                 const sms_udh_element *headers) {
  if (num_headers == 0 || headers == nullptr) return 0;
  uint32_t length = 1;
  for (unsigned i = 0; i < std::min<unsigned>(num_headers, SMS_MAX_UD_HEADERS); ++i)
    length += sms_ts_get_udh_length(&headers[i]);
  return length;
}

VORNPAL_API uint8_t sms_ts_encode_udh_special_sm(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_special_sm &s = e->body.special_sm;
  // The kinds that decoding folds into 4 go out as "other" (7).
  uint8_t kind = s.msg_waiting_kind < 4 ? static_cast<uint8_t>(s.msg_waiting_kind) : 7;
  const uint8_t body[] = {static_cast<uint8_t>(kind | (s.msg_waiting == 2 ? 0x80 : 0)),
                          s.message_count};
  return put_element(out, SMS_UDH_SPECIAL_SM, body, sizeof body);
}

VORNPAL_API uint8_t sms_ts_encode_udh_text_formatting(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_text_formatting &f = e->body.text_formatting;
  const uint8_t body[] = {
      f.start_position, f.text_formatting_length,
      static_cast<uint8_t>((f.alignment & 3) | (f.font_size & 3) << 2 | (f.style_bold & 1) << 4 |
                           (f.style_italic & 1) << 5 | (f.style_underlined & 1) << 6 |
                           (f.style_strikethrough & 1) << 7),
      static_cast<uint8_t>((f.foreground & 0x0F) | (f.background & 0x0F) << 4)};
  return put_element(out, SMS_UDH_TEXT_FORMATTING, body, f.is_color_present ? 4 : 3);
}

VORNPAL_API uint8_t sms_ts_encode_udh_pre_def_sound(const sms_udh_element *e, uint8_t *out) {
  const uint8_t body[] = {e->body.pre_def_sound.position, e->body.pre_def_sound.sound_number};
  return put_element(out, SMS_UDH_PRE_DEF_SOUND, body, sizeof body);
}

VORNPAL_API uint8_t sms_ts_encode_udh_user_def_sound(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_user_def_sound &s = e->body.user_def_sound;
  uint8_t length = std::min<uint8_t>(s.data_length, sizeof s.sound_data);
  out[0] = SMS_UDH_USER_DEF_SOUND;
  out[1] = static_cast<uint8_t>(length + 1);
  out[2] = s.position;
  std::memcpy(out + 3, s.sound_data, length);
  return static_cast<uint8_t>(length + 3);
}

VORNPAL_API uint8_t sms_ts_encode_udh_pre_def_anim(const sms_udh_element *e, uint8_t *out) {
  const uint8_t body[] = {e->body.pre_def_anim.position, e->body.pre_def_anim.animation_number};
  return put_element(out, SMS_UDH_PRE_DEF_ANIM, body, sizeof body);
}

VORNPAL_API uint8_t sms_ts_encode_udh_large_anim(const sms_udh_element *e, uint8_t *out) {
  return put_positioned(out, SMS_UDH_LARGE_ANIM, e->body.large_anim.position,
                        e->body.large_anim.data);
}

VORNPAL_API uint8_t sms_ts_encode_udh_small_anim(const sms_udh_element *e, uint8_t *out) {
  return put_positioned(out, SMS_UDH_SMALL_ANIM, e->body.small_anim.position,
                        e->body.small_anim.data);
}

VORNPAL_API uint8_t sms_ts_encode_udh_large_picture(const sms_udh_element *e, uint8_t *out) {
  return put_positioned(out, SMS_UDH_LARGE_PICTURE, e->body.large_picture.position,
                        e->body.large_picture.data);
}

VORNPAL_API uint8_t sms_ts_encode_udh_small_picture(const sms_udh_element *e, uint8_t *out) {
  return put_positioned(out, SMS_UDH_SMALL_PICTURE, e->body.small_picture.position,
                        e->body.small_picture.data);
}

VORNPAL_API uint8_t sms_ts_encode_udh_var_picture(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_var_picture &p = e->body.var_picture;
  unsigned data_length = p.width * p.height / 8u;
  if (data_length > sizeof p.data) {
    VORN_LOG(VORN_ERR, "UDH var picture data too long: %d", data_length);
    return 0;
  }
  out[0] = SMS_UDH_VAR_PICTURE;
  out[1] = static_cast<uint8_t>(data_length + 3);
  out[2] = p.position;
  out[3] = p.width / 8;
  out[4] = p.height;
  std::memcpy(out + 5, p.data, data_length);
  return static_cast<uint8_t>(data_length + 5);
}

VORNPAL_API uint8_t sms_ts_encode_udh_user_prompt(const sms_udh_element *e, uint8_t *out) {
  return put_element(out, SMS_UDH_USER_PROMPT, &e->body.user_prompt.number_of_objects, 1);
}

VORNPAL_API uint8_t sms_ts_encode_udh_eo(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_eo &eo = e->body.eo;
  unsigned length = eo.content_length + (eo.first_segment ? kEoDescription : 0u);
  if (length > sizeof eo.content) {
    VORN_LOG(VORN_ERR, "UDH EO data too long: %d", length);
    return 0;
  }
  out[0] = SMS_UDH_EXTENDED_OBJECT;
  out[1] = static_cast<uint8_t>(length);
  uint8_t *pos = out + 2;
  if (eo.first_segment) {
    *pos++ = eo.reference;
    pos = put_big_endian(pos, eo.length);
    *pos++ = eo.control;
    *pos++ = static_cast<uint8_t>(eo.type);
    pos = put_big_endian(pos, eo.position);
  }
  std::memcpy(pos, eo.content, eo.content_length);
  return static_cast<uint8_t>(length + 2);
}

VORNPAL_API uint8_t sms_ts_encode_udh_rfc822(const sms_udh_element *e, uint8_t *out) {
  return put_element(out, SMS_UDH_RFC822, &e->body.rfc822.header_length, 1);
}

VORNPAL_API uint8_t sms_ts_encode_udh_nat_lang_ss(const sms_udh_element *e, uint8_t *out) {
  const uint8_t language = static_cast<uint8_t>(e->body.nat_lang_ss.language);
  return put_element(out, SMS_UDH_NAT_LANG_SS, &language, 1);
}

VORNPAL_API uint8_t sms_ts_encode_udh_nat_lang_ls(const sms_udh_element *e, uint8_t *out) {
  const uint8_t language = static_cast<uint8_t>(e->body.nat_lang_ls.language);
  return put_element(out, SMS_UDH_NAT_LANG_LS, &language, 1);
}

VORNPAL_API uint8_t sms_ts_encode_udh_other(const sms_udh_element *e, uint8_t *out) {
  const sms_udh_other &o = e->body.other;
  if (o.data_length > sizeof o.data) {
    VORN_LOG(VORN_ERR, "UDH other data too long: %d", o.data_length);
    return 0;
  }
  return put_element(out, static_cast<uint8_t>(e->header_id), o.data, o.data_length);
}

}  // extern "C"
