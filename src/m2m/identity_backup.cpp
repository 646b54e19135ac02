// The device's identity (two IMEIs and the factory serial number) in the
// modem, and its copies under /data: the worker that writes them when the
// modem asks for a backup, and the restore at every vorn_m2m_pal_init that
// puts a value back when the modem lost it. The modem is the master; a file
// is never compared with it.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>

#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "foundation/unique_fd.h"
#include "m2m/client.h"

namespace {

using vorn::m2m::Guard;
namespace m2m = vorn::m2m;

// Values are handled in fields of 32 bytes; one more keeps a terminator.
constexpr size_t kValueSize = 32;
using Value = char[kValueSize + 1];

// One identity value: its file, the second copy beside it, and the longest
// text a restore takes from the file. Only the file is ever read back; the
// copy is for the people who repair devices.
struct IdentityFile {
  const char *path;
  const char *backup;
  size_t restored_max;
};
// The first IMEI may run on into the second field of the request, and the
// serial's request takes 36 bytes: both take the whole 32 bytes read. The
// second IMEI's field holds 31 bytes and a terminator, and a longer text
// would abort the process at every start, so a longer (damaged) file is cut.
constexpr IdentityFile kImei1File{"/data/imei", "/data/imei_bak", kValueSize};
constexpr IdentityFile kImei2File{"/data/imei01", "/data/imei01_bak", kValueSize - 1};
constexpr IdentityFile kSerialFile{"/data/cfsn", "/data/cfsn_bak", kValueSize};

// The request's two IMEI fields are adjacent: the first copy may run
// through both, as the service's own tools do.
char *imei_fields(vorn_m2m_imei_req_msg_v01 &req) {
  return reinterpret_cast<char *>(&req) + offsetof(vorn_m2m_imei_req_msg_v01, imei1);
}
constexpr size_t kBothImeiFields =
    sizeof(vorn_m2m_imei_req_msg_v01::imei1) + sizeof(vorn_m2m_imei_req_msg_v01::imei2);

// A text field of the response into a caller's buffer of 32 bytes.
void copy_imei(char *out, const char (&field)[kValueSize]) {
  size_t len = strnlen(field, kValueSize - 1);
  std::memcpy(out, field, len);
  out[len] = '\0';
  VORN_LOG(VORN_DBUG, "Receive nv value %d\n", static_cast<int>(len));
}

// Message 32 with the lazy start; a client that cannot start is told apart
// from a failed request.
int send_imei(vorn_m2m_imei_req_msg_v01 &req, vorn_m2m_imei_resp_msg_v01 &resp) {
  std::optional<qmi_client_type> handle = m2m::pass_guard(Guard::LazyStart);
  if (!handle) {
    VORN_LOG(VORN_ERR, "m2m qmi not initialized!\n");
    return -1;
  }
  if (m2m::send_on<m2m::Imei>(*handle, req, resp).verdict != 0) {
    VORN_LOG(VORN_ERR, "send qmi failed.\n");
    return -1;
  }
  return 0;
}

// The file's text, up to the file's restore limit, or false when it does
// not open.
bool read_identity_file(const IdentityFile &file, Value &value) {
  const char *path = file.path;
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char data[kValueSize] = {};
  ssize_t got = read(fd, data, sizeof data);
  close(fd);
  VORN_LOG(VORN_DBUG, "read len=%d\n", static_cast<int>(got));
  std::memset(value, 0, sizeof value);
  if (got <= 0) return true;
  size_t len = strnlen(data, static_cast<size_t>(got));
  if (len > file.restored_max) {
    VORN_LOG(VORN_WARN, "%s holds %d bytes, restoring the first %d\n", path,
             static_cast<int>(len), static_cast<int>(file.restored_max));
    len = file.restored_max;
  }
  vorn_string_memcpy(value, data, len);
  return true;
}

bool file_opens(const char *path) {
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  close(fd);
  return true;
}

bool write_all(int fd, const char *text, size_t len) {
  for (size_t written = 0; written < len;) {
    ssize_t n = write(fd, text + written, len - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    written += static_cast<size_t>(n);
  }
  return true;
}

// Makes a rename in path's directory last across a power cut.
void sync_directory_of(const char *path) {
  std::string directory(path, std::strrchr(path, '/') - path);
  vorn::UniqueFd fd(open(directory.empty() ? "/" : directory.c_str(),
                         O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.open()) fsync(fd.get());
}

// Replaces the content of path with text so that, whenever the power goes,
// the file holds the old value or the new one, whole: the text is written
// beside it, flushed, and then takes the file's name. The file beside it is
// the writing thread's own, so two workers at once never mix their bytes.
bool replace_file(const char *path, const char *text) {
  std::string aside = std::string(path) + "." + std::to_string(gettid()) + ".new";
  vorn::UniqueFd fd(open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0777));
  if (!fd.open()) {
    VORN_LOG(VORN_ERR, "open %s failed.\n", aside.c_str());
    return false;
  }
  bool written = write_all(fd.get(), text, std::strlen(text)) && fsync(fd.get()) == 0;
  fd.reset();
  if (!written || rename(aside.c_str(), path) != 0) {
    VORN_LOG(VORN_ERR, "write %s failed.\n", path);
    unlink(aside.c_str());
    return false;
  }
  sync_directory_of(path);
  return true;
}

// The file, then its copy, each holding exactly the new value afterwards.
void back_up(const IdentityFile &file, const char *text) {
  for (const char *path : {file.path, file.backup}) replace_file(path, text);
}

// Restores what the modem lost and a file still holds: the IMEIs with one
// write at most, then the serial number.
void vorn_restore_imei_sn() {
  Value imei1 = {}, imei2 = {}, serial = {}, data = {};
  int ret = vorn_m2m_pal_read_imei(imei1, imei2);
  VORN_LOG(VORN_INFO, "ret=%d, imei=%s, imei1=%s\n", ret, imei1, imei2);

  bool first_restored = false;
  if (imei1[0] == '\0' && file_opens(kImei1File.path)) {
    VORN_LOG(VORN_INFO, "try to restore IMEI1\n");
    read_identity_file(kImei1File, imei1);
    first_restored = true;
  }
  bool second_wanted = imei2[0] == '\0' && file_opens(kImei2File.path);
  if (second_wanted) {
    VORN_LOG(VORN_INFO, "try to restore IMEI2\n");
    read_identity_file(kImei2File, imei2);
  }
  if (first_restored || second_wanted) vorn_m2m_pal_write_imei(imei1, imei2);

  ret = vorn_m2m_pal_get_fsn(serial, kValueSize);
  VORN_LOG(VORN_INFO, "ret=%d, sn=%s\n", ret, serial);
  if (serial[0] != '\0' || !file_opens(kSerialFile.path)) return;
  VORN_LOG(VORN_INFO, "try to restore CFSN\n");
  read_identity_file(kSerialFile, data);
  vorn_m2m_pal_set_fsn(data, static_cast<uint32_t>(std::strlen(data)));
}

}  // namespace

namespace vorn::m2m {

void restore_identity() { vorn_restore_imei_sn(); }

}  // namespace vorn::m2m

extern "C" {

VORNPAL_API int vorn_m2m_pal_read_imei(char *imei1, char *imei2) {
  if (imei1 == nullptr || imei2 == nullptr) {
    VORN_LOG(VORN_ERR, "Input param error!.\n");
    return -1;
  }
  vorn_m2m_imei_req_msg_v01 req{};
  vorn_m2m_imei_resp_msg_v01 resp;
  if (send_imei(req, resp) != 0) return -1;
  if (resp.imei_valid != 1) return 0;
  if (resp.imei1[0] != '\0') copy_imei(imei1, resp.imei1);
  if (resp.imei2[0] != '\0') copy_imei(imei2, resp.imei2);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_write_imei(const char *imei1, const char *imei2) {
  if (imei1 == nullptr && imei2 == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_imei_req_msg_v01 req{};
  req.operation = 1;
  // A single value fills both fields; an empty text leaves its field empty.
  if (imei1 != nullptr && imei1[0] != '\0') {
    vorn::checked_strcpy(imei_fields(req), kBothImeiFields, imei1);
    if (imei2 == nullptr) vorn::checked_strcpy(req.imei2, imei1);
  }
  if (imei2 != nullptr && imei1 == nullptr && imei2[0] != '\0')
    vorn::checked_strcpy(imei_fields(req), kBothImeiFields, imei2);
  if (imei2 != nullptr && imei2[0] != '\0') vorn::checked_strcpy(req.imei2, imei2);
  VORN_LOG(VORN_DBUG, "str1: %.32s\n", req.imei1);
  VORN_LOG(VORN_DBUG, "str2: %.32s\n", req.imei2);
  vorn_m2m_imei_resp_msg_v01 resp;
  if (send_imei(req, resp) != 0) return -1;
  return 0;
}

VORNPAL_API int vorn_qmi_m2m_pal_get_sn(uint8_t *out, uint32_t *out_len) {
  if (out == nullptr || out_len == nullptr) {
    VORN_LOG(VORN_ERR, "sn buff is NULL.\n");
    return -1;
  }
  vorn_m2m_sn_req_msg_v01 req{};
  vorn_m2m_sn_resp_msg_v01 resp;
  if (m2m::send<m2m::Sn>(Guard::FailAtOnce, req, resp).verdict != 0) return -1;
  if (resp.sn_valid == 1 && resp.sn_len != 0) {
    uint32_t len = std::min<uint32_t>(resp.sn_len, sizeof resp.sn);
    std::memcpy(out, resp.sn, len);
    *out_len = len;
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_backup_device_data(void) {
  vorn_m2m_backup_device_data_req_msg_v01 req{};
  vorn_m2m_backup_device_data_resp_msg_v01 resp;
  m2m::Sent sent = m2m::send<m2m::BackupDeviceData>(Guard::LazyStartNoSecondLook, req, resp);
  if (sent.verdict != 0) {
    VORN_LOG(VORN_ERR, "qmi send message fail rc = %d, error:%d\r\n", sent.rc,
             static_cast<int>(resp.resp.error));
    return -1;
  }
  return 0;
}

VORNPAL_API void *vorn_thread_func_rfnv(void *) {
  Value imei1 = {}, imei2 = {}, serial = {};
  int ret = vorn_m2m_pal_read_imei(imei1, imei2);
  VORN_LOG(VORN_INFO, "ret=%d, imei=%s, imei1=%s\n", ret, imei1, imei2);
  if (imei1[0] != '\0') back_up(kImei1File, imei1);
  if (imei2[0] != '\0') back_up(kImei2File, imei2);
  ret = vorn_m2m_pal_get_fsn(serial, kValueSize);
  VORN_LOG(VORN_INFO, "ret=%d, sn=%s\n", ret, serial);
  if (serial[0] != '\0') back_up(kSerialFile, serial);
  return nullptr;
}

}  // extern "C"
