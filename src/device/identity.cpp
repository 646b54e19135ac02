// What the device is: serial numbers and revision over DMS, maker, model,
// serial and product name through the vendor service, band capabilities,
// and the copies under /tmp that other programs of the device read.
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <vornpal/device.h>
#include <vornpal/files.h>
#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "device/client.h"
#include "foundation/log_site.h"

namespace {

namespace dev = vorn::device;

constexpr const char kImeiCache[] = "/tmp/imei";
constexpr const char kSvnCache[] = "/tmp/imei_svn";
constexpr const char kRevidCache[] = "/tmp/revid";
constexpr const char kCfsnCache[] = "/tmp/cfsn";
constexpr const char kProjectNameCache[] = "/tmp/vorn_project_name";
constexpr const char kWanInterface[] = "eth1";
constexpr size_t kM2mTextSize = 128;
constexpr size_t kModelSize = 32;
constexpr size_t kRevisionForSvn = 32;
constexpr size_t kNamePartSize = 32;

// Writes `count` bytes of `text` to a /tmp copy, no terminator added. A copy
// that cannot be opened is no failure: the value itself was read.
int vorn_system_pal_set_file_value_string(const char *path, const char *text, int count) {
  if (count < 1) return VORN_INVALID_PARAM;
  FILE *file = std::fopen(path, "w");
  if (file == nullptr) return 0;
  std::fwrite(text, 1, static_cast<size_t>(count), file);
  std::fclose(file);
  return 0;
}

// The revision into `out`, at most size - 1 characters and terminated.
// 0; 3 for a null buffer; -1 when the request fails.
int vorn_qmi_dms_get_revid(char *out, uint32_t size) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "revision NULL pointer\r\n");
    return VORN_INVALID_PARAM;
  }
  dms_get_device_rev_id_resp_msg_v01 resp;
  dev::Sent sent = dev::send<dev::GetRevId>(resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "qmi send message false erorr:%d\r\n", sent.rc);
    return -1;
  }
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "revision info is invaild!\r\n");
    return -1;
  }
  if (size == 0) return 0;
  vorn_string_memcpy(out, resp.device_rev_id, size - 1);
  out[size - 1] = '\0';
  return 0;
}

// The SVN is given in hexadecimal and shown as two decimal digits.
bool svn_from_hex(const char *hex, char (&svn)[VORN_DEVICE_SVN_SIZE]) {
  unsigned value = 0;
  if (std::sscanf(hex, "%x", &value) != 1) return false;
  char decimal[16];
  std::snprintf(decimal, sizeof decimal, value < 10 ? "0%u" : "%u", value);
  vorn_string_memcpy(svn, decimal, sizeof svn - 1);
  return true;
}

// Without an SVN from the modem, the two characters after the revision's
// last "." stand in for it.
void svn_from_revision(char (&svn)[VORN_DEVICE_SVN_SIZE]) {
  char revision[kRevisionForSvn] = {};
  if (vorn_qmi_dms_get_revid(revision, sizeof revision) != 0 || revision[0] == '\0') return;
  const char *dot = std::strrchr(revision, '.');
  if (dot != nullptr) vorn_string_memcpy(svn, dot + 1, sizeof svn - 1);
}

// A text of the vendor service into the caller's buffer of `size` bytes.
template <size_t N>
int m2m_text(int (*query)(char *), char *out, uint32_t size, const char *failure) {
  char text[N + 1] = {};
  if (out == nullptr || query(text) != 0) {
    VORN_LOG(VORN_ERR, "%s", failure);
    return -1;
  }
  vorn_string_memcpy(out, text, size);
  return 0;
}

// The cached band capabilities, rewritten by each query.
std::mutex band_mutex;
vorn_device_band_capabilities band_caps;  // under band_mutex

// Bit of LTE band n in the four words: bands 1..64 in the first word at
// bit n-1, each further 64 bands in the next word at bit (n & 63) - 1.
// That leaves bands 128, 192 and 256 without a bit, as the modem's own
// tools have it.
void set_lte_band(vorn_device_band_capabilities &caps, unsigned band) {
  if (band == 0 || band > 256) return;
  unsigned word = (band - 1) / 64;
  int bit = word == 0 ? static_cast<int>(band) - 1 : static_cast<int>(band & 63) - 1;
  if (bit >= 0) caps.lte_band_mask[word] |= uint64_t{1} << bit;
  VORN_LOG(VORN_DBUG, "default lte bandmask[%d]  is %llu\r\n", static_cast<int>(word),
           static_cast<unsigned long long>(caps.lte_band_mask[word]));
}

void vorn_qmi_dms_get_band_capabilities_init() {
  dms_get_band_capability_req_msg_v01 req{};
  dms_get_band_capability_resp_msg_v01 resp;
  dev::Sent sent = dev::send<dev::GetBandCapability>(req, resp);
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG(VORN_ERR, "qmi send message fail error:%d\r\n", sent.rc);
    return;
  }
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "bandmask info is invaild\r\n");
    return;
  }
  vorn_device_band_capabilities caps{};
  caps.umts_band_mask = resp.band_capability;
  VORN_LOG(VORN_DBUG, "qmi default umts band mask is %llu\r\n",
           static_cast<unsigned long long>(resp.band_capability));
  VORN_LOG(VORN_DBUG, "qmi default lte band mask is %llu\r\n",
           static_cast<unsigned long long>(resp.lte_band_capability));
  if (resp.supported_lte_bands_valid) {
    uint32_t count = std::min<uint32_t>(resp.supported_lte_bands_len, QMI_DMS_LTE_BAND_LIST_MAX_V01);
    for (uint32_t i = 0; i < count; ++i) {
      VORN_LOG(VORN_DBUG, "default lte test2[%d] %d\r\n", static_cast<int>(i),
               resp.supported_lte_bands[i]);
      set_lte_band(caps, resp.supported_lte_bands[i]);
    }
  }
  std::lock_guard<std::mutex> lock(band_mutex);
  band_caps = caps;
}

// The project name, from the /tmp copy when there is one (64 bytes at most,
// no terminator in the file), else from the modem, leaving the copy.
int read_project_name(char (&name)[VORN_DEVICE_PRODUCT_NAME_SIZE + 1]) {
  if (FILE *file = std::fopen(kProjectNameCache, "r")) {
    VORN_LOG(VORN_DBUG, "project_name_record file exit.\n");
    size_t got = std::fread(name, 1, VORN_DEVICE_PRODUCT_NAME_SIZE, file);
    std::fclose(file);
    name[got] = '\0';
    return 0;
  }
  if (vorn_m2m_pal_get_project_name(name) != 0) {
    VORN_LOG(VORN_ERR, "oem_m2m_pal_get_project_name fail.\n");
    return -1;
  }
  VORN_LOG(VORN_DBUG, "project_name_record file is null,need to send qmi to modem.\n");
  vorn_write_file_sync_create(kProjectNameCache, name,
                              static_cast<unsigned>(strnlen(name, VORN_DEVICE_PRODUCT_NAME_SIZE)));
  return 0;
}

// "A-B-C-D" shown without an empty tail and without a last part "00".
void rebuild_product_name(char *out, uint32_t size) {
  char front[kNamePartSize] = {}, second[kNamePartSize] = {}, third[kNamePartSize] = {},
       last[kNamePartSize] = {};
  std::sscanf(out, "%31[^-]-%31[^-]-%31[^-]-%31s", front, second, third, last);
  bool last_shown = last[0] != '\0' && std::strcmp(last, "00") != 0;
  if (third[0] == '\0' && last[0] == '\0') {
    VORN_LOG(VORN_DBUG, " third_name and last_name are null.\n");
    std::snprintf(out, size, "%s-%s", front, second);
  } else if (last_shown) {
    std::snprintf(out, size, "%s-%s-%s-%s", front, second, third, last);
  } else {
    VORN_LOG(VORN_DBUG, "last_name is NULL.\n");
    std::snprintf(out, size, "%s-%s-%s", front, second, third);
  }
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_device_pal_get_dev_ser_num(char *imei_and_svn) {
  if (imei_and_svn == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  dms_get_device_serial_numbers_resp_msg_v01 resp;
  if (dev::send<dev::GetSerialNumbers>(resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "Error, dms get device serial number\r\n");
    return -1;
  }
  char imei[VORN_DEVICE_IMEI_SIZE] = {};
  char svn[VORN_DEVICE_SVN_SIZE] = {};
  if (resp.imei_valid) vorn_string_memcpy(imei, resp.imei, sizeof imei);
  bool svn_given = resp.imeisv_svn_valid && svn_from_hex(resp.imeisv_svn, svn);
  if (!svn_given) {
    VORN_LOG(VORN_DBUG, " svn info not valid\r\n");
    svn_from_revision(svn);
  }
  std::memcpy(imei_and_svn, imei, sizeof imei);
  std::memcpy(imei_and_svn + sizeof imei, svn, sizeof svn);
  if (imei[0] != '\0') vorn_system_pal_set_file_value_string(kImeiCache, imei, sizeof imei);
  if (svn[0] != '\0') vorn_system_pal_set_file_value_string(kSvnCache, svn, sizeof svn);
  return 0;
}

VORNPAL_API int vorn_device_pal_set_dev_ser_num(const char *imei) {
  if (imei == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return -1;
  }
  int rc = vorn_m2m_pal_write_imei(imei, nullptr);
  if (rc < 0) {
    VORN_LOG(VORN_ERR, "con't write imei.\n");
    return VORN_FILE_WRITE_FAILED;
  }
  return rc;
}

VORNPAL_API int vorn_device_pal_get_revid(char *revid, uint32_t size) {
  if (vorn_qmi_dms_get_revid(revid, size) != 0) {
    VORN_LOG(VORN_ERR, "Error, dms get revid\r\n");
    return -1;
  }
  if (size > 0 && revid[0] != '\0')
    vorn_system_pal_set_file_value_string(kRevidCache, revid, static_cast<int>(size));
  return 0;
}

VORNPAL_API int vorn_device_pal_get_fsn(char *fsn, uint32_t size) {
  if (fsn == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  char text[kM2mTextSize] = {};
  if (vorn_m2m_pal_get_fsn(text, sizeof text) != 0) {
    VORN_LOG(VORN_ERR, "Error, dms get fsn\n");
    return -1;
  }
  vorn_string_memcpy(fsn, text, size);
  if (size > 0 && fsn[0] != '\0')
    vorn_system_pal_set_file_value_string(kCfsnCache, fsn, static_cast<int>(size));
  return 0;
}

VORNPAL_API int vorn_device_pal_set_fsn(const char *fsn, uint32_t length) {
  if (fsn == nullptr || length == 0 || fsn[0] == '\0') {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  dms_set_factory_serial_number_req_msg_v01 req{};
  req.fsn_len = static_cast<uint32_t>(strnlen(fsn, std::min<size_t>(length, sizeof req.fsn)));
  std::memcpy(req.fsn, fsn, req.fsn_len);
  dms_set_factory_serial_number_resp_msg_v01 resp;
  return dev::send<dev::SetFactorySerialNumber>(req, resp).verdict;
}

VORNPAL_API int vorn_device_pal_get_mfr(char *mfr, uint32_t size) {
  return m2m_text<kM2mTextSize>(vorn_m2m_pal_get_manufacturer, mfr, size, "Error, dms get mfr\n");
}

VORNPAL_API int vorn_device_pal_get_model(char *model, uint32_t size) {
  return m2m_text<kModelSize>(vorn_m2m_pal_get_model, model, size, "Error, dms get modelid\n");
}

VORNPAL_API int vorn_deivce_pal_get_msisdn(char *msisdn, uint32_t size) {
  if (msisdn == nullptr || size == 0) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return -1;
  }
  dms_get_msisdn_resp_msg_v01 resp;
  if (dev::send<dev::GetMsisdn>(resp).verdict != 0) return -1;
  vorn_string_memcpy(msisdn, resp.voice_number, size - 1);
  msisdn[size - 1] = '\0';
  return 0;
}

VORNPAL_API int vorn_device_pal_get_hw_version(char *hw_version) {
  if (vorn_m2m_pal_get_hw_version(hw_version) != 0) {
    VORN_LOG(VORN_ERR, "Error, m2m get hw_version\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_qmi_dms_get_hw_version(char *hw_version) {
  if (hw_version == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return VORN_INVALID_PARAM;
  }
  dms_get_hw_version_req_msg_v01 req{};
  dms_get_hw_version_resp_msg_v01 resp;
  if (dev::send<dev::GetHwVersion>(req, resp).verdict != 0) return -1;
  size_t len = std::min<size_t>(resp.hw_version_len, sizeof resp.hw_version);
  std::memcpy(hw_version, resp.hw_version, len);
  if (len < sizeof resp.hw_version) hw_version[len] = '\0';
  return 0;
}

VORNPAL_API int vorn_device_pal_get_band_capabilities(vorn_device_band_capabilities *caps) {
  vorn_qmi_dms_get_band_capabilities_init();
  if (caps == nullptr) return 0;
  std::lock_guard<std::mutex> lock(band_mutex);
  *caps = band_caps;
  return 0;
}

VORNPAL_API int vorn_device_pal_get_product_description(char *description, uint32_t size) {
  if (description == nullptr || size == 0) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return -1;
  }
  char name[VORN_DEVICE_PRODUCT_NAME_SIZE + 1] = {};
  if (read_project_name(name) != 0) return -1;
  vorn_string_memcpy(description, name, size);
  description[size - 1] = '\0';
  rebuild_product_name(description, size);
  return 0;
}

VORNPAL_API int vorn_device_pal_get_product_prefix_description(char *prefix) {
  char description[VORN_DEVICE_PRODUCT_NAME_SIZE] = {};
  if (prefix == nullptr || vorn_device_pal_get_product_description(description, sizeof description) != 0) {
    VORN_LOG(VORN_ERR, "oem_device_pal_get_product_description fail.\n");
    return -1;
  }
  if (std::sscanf(description, "%63[^-]", prefix) != 1) prefix[0] = '\0';
  return 0;
}

VORNPAL_API int vorn_device_pal_get_wan_hw_addr(char *address) {
  if (address == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return -1;
  }
  int fd = socket(AF_INET, SOCK_DGRAM, 0);
  if (fd < 0) return -1;
  ifreq request{};
  std::memcpy(request.ifr_name, kWanInterface, sizeof kWanInterface);
  int rc = ioctl(fd, SIOCGIFHWADDR, &request);
  close(fd);
  if (rc < 0) return rc;
  const sa_family_t family = request.ifr_hwaddr.sa_family;
  if (family == 772) {
    VORN_LOG(VORN_INFO, "MAC address is always 00:00:00:00:00:00\n");
    return rc;
  }
  if (family != 1) return -1;
  const auto *mac = reinterpret_cast<const unsigned char *>(request.ifr_hwaddr.sa_data);
  std::snprintf(address, 18, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return 0;
}

VORNPAL_API int vorn_device_pal_set_factory_num(int type, const char *info) {
  if (info == nullptr) return VORN_INVALID_PARAM;
  VORN_LOG(VORN_INFO, "oem_device_al_set_factory_num type:%d,info:%s\r\n", type, info);
  return 0;
}

VORNPAL_API int vorn_device_pal_data_get(device_data *data) {
  if (data == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL\n");
    return 0;
  }
  if (vorn_device_pal_get_mfr(data->mfr, sizeof data->mfr) != 0)
    VORN_LOG(VORN_ERR, "Error, init to get mfr failed\r\n");
  if (vorn_device_pal_get_revid(data->revid, sizeof data->revid) != 0)
    VORN_LOG(VORN_ERR, "Error, init to get revid failed\r\n");
  if (vorn_device_pal_get_fsn(data->fsn, sizeof data->fsn) != 0)
    VORN_LOG(VORN_ERR, "Error, init to get fsn failed\r\n");
  if (vorn_device_pal_get_model(data->model, sizeof data->model) != 0)
    VORN_LOG(VORN_ERR, "Error, init to get model failed\r\n");
  if (vorn_device_pal_get_dev_ser_num(data->imei) != 0)
    VORN_LOG(VORN_ERR, "Error, init to get imei failed\r\n");
  if (vorn_device_pal_get_operating_mode(&data->operating_mode) != 0)
    VORN_LOG(VORN_ERR, "Error, init to get operating mode failed\r\n");
  data->valid = 1;
  return 0;
}

}  // extern "C"

static_assert(sizeof(vorn_device_band_capabilities) == 104, "band capabilities record");
static_assert(offsetof(device_data, imei) == 230 && offsetof(device_data, imei_svn) == 263,
              "the IMEI and its SVN lie together");
static_assert(offsetof(device_data, operating_mode) == 268 && sizeof(device_data) == 276,
              "device_data");
