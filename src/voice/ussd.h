// The USSD side of the voice family: the one session record of the process
// (g_ussd_data) and the handlers of the VOICE indications that carry
// network texts.
//
// The record has no lock, on purpose: requests write it on the caller's
// thread and indications on the QMI library's thread. Its fields are
// written and read with relaxed atomic operations, so that a copy may mix
// old and new fields but never reads a half-written word.
#pragma once

#include <cstdint>

#include <vornpal/voice.h>

#include "voice/messages.h"

namespace vorn::voice::session {

struct Fields {
  int32_t action_type;
  int32_t ussd_state;
  int32_t ussd_status;
};

Fields fields();
void set(const Fields &fields);
void set_status(int32_t status);
void set_state(int32_t state);
// The text (cut to the record's 181 characters) and the work buffer's size.
void set_text(const char *utf8);
// The whole record, field by field.
void copy_out(ussd_info &out);

}  // namespace vorn::voice::session

namespace vorn::voice {

void on_ussd(const voice_ussd_ind_msg_v02 &ind);
void on_orig_no_wait(const voice_orig_ussd_no_wait_ind_msg_v02 &ind);
void on_ussd_release(const voice_ussd_release_ind_msg_v02 &ind);
void on_sups(const voice_sups_ind_msg_v02 &ind);

}  // namespace vorn::voice
