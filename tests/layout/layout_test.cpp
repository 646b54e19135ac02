// Sizes of the records that cross the library's boundary, as the 32-bit ARM
// target lays them out. Records without pointers have the same size on a
// 64-bit host; the others are checked on armhf only.
#include <vornpal/log.h>
#include <vornpal/platform/common_v01.h>
#include <vornpal/platform/diag.h>
#include <vornpal/qmi.h>
#include <vornpal/usim.h>

#include "vornpal_test.h"

namespace {

struct Layout {
  const char *name;
  size_t size;
  size_t armhf;
  bool has_pointers;
};

#define VT_LAYOUT(type, armhf, pointers) Layout{#type, sizeof(type), armhf, pointers}

const Layout kLayouts[] = {
    VT_LAYOUT(qmi_response_type_v01, 8, false),
    VT_LAYOUT(qmi_client_os_params, 16, false),
    VT_LAYOUT(qmi_service_info, 16, false),
    VT_LAYOUT(msg_desc_type, 8, false),
    VT_LAYOUT(msg_const_type, 16, true),
    VT_LAYOUT(vorn_qmi_client, 20, true),
    VT_LAYOUT(wds_client_info, 36, true),
    VT_LAYOUT(wds_service_info, 4 + 42 * 16 + 12, true),
    VT_LAYOUT(usim_slot_record, 216, false),
    VT_LAYOUT(usim_state_record, 244, false),
    VT_LAYOUT(usim_status_payload, 12, false),
    VT_LAYOUT(usim_pinlock_info, 20, false),
    VT_LAYOUT(usim_info_record, 432, false),
    VT_LAYOUT(esim_profile_entry, 8, false),
    VT_LAYOUT(esim_profile_info, 80, false),
};

TEST(Layout, RecordSizesOfTheTarget) {
#if defined(__arm__)
  constexpr bool kTarget = true;
  static_assert(sizeof(void *) == 4, "the target has 4-byte pointers");
#else
  constexpr bool kTarget = false;
#endif
  int checked = 0;
  for (const Layout &layout : kLayouts) {
    if (!kTarget && layout.has_pointers) continue;
    EXPECT_EQ(layout.size, layout.armhf) << layout.name;
    ++checked;
  }
  EXPECT_GT(checked, 0);
}

TEST(Layout, DiagRecordFieldOffsets) {
  EXPECT_EQ(offsetof(msg_desc_type, ss_id), 2u);
  EXPECT_EQ(offsetof(msg_desc_type, ss_mask), 4u);
  EXPECT_EQ(offsetof(msg_const_type, fmt), 8u);
  EXPECT_EQ(offsetof(vorn_qmi_client, handle), 3 * sizeof(void *));
}

}  // namespace
