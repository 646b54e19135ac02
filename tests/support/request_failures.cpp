#include "request_failures.h"

#include <dirent.h>

#include <map>
#include <sstream>

namespace vt {
namespace {

// The modem's clients and its store, and the family's files.
struct Snapshot {
  std::map<std::string, std::string> contents;
  int clients = 0;
  int notifiers = 0;
};

std::map<std::string, std::string> modem_store() {
  const std::string dir = "/run/vt-modem-store";
  remove_tree(dir);
  make_dirs(dir);
  vornsim::save_state(dir);
  std::map<std::string, std::string> store;
  if (DIR *listing = opendir(dir.c_str())) {
    while (dirent *entry = readdir(listing)) {
      std::string name = entry->d_name;
      if (name != "." && name != "..") store["modem " + name] = read_file(dir + "/" + name);
    }
    closedir(listing);
  }
  return store;
}

Snapshot snapshot(const FailureFamily &family) {
  Snapshot shot;
  shot.contents = modem_store();
  for (const std::string &path : family.files)
    shot.contents[path] = file_exists(path) ? "present: " + read_file(path) : "absent";
  vornsim::Counters counters = vornsim::counters();
  shot.clients = counters.clients_live;
  shot.notifiers = counters.notifiers_live;
  return shot;
}

// What differs between two snapshots, for the failure message.
std::string differences(const Snapshot &before, const Snapshot &after) {
  std::ostringstream out;
  for (const auto &[name, content] : after.contents) {
    auto it = before.contents.find(name);
    if (it == before.contents.end() || it->second != content) out << name << " changed; ";
  }
  for (const auto &[name, content] : before.contents)
    if (after.contents.count(name) == 0) out << name << " went; ";
  return out.str();
}

// One request of the call: the n-th of its message.
struct Target {
  vornsim::Svc svc;
  unsigned msg_id;
  int occurrence;
};

std::vector<Target> targets_of(const std::vector<vornsim::Request> &sent) {
  std::vector<Target> targets;
  std::map<std::pair<int, unsigned>, int> seen;
  for (const vornsim::Request &req : sent)
    targets.push_back({req.svc, req.msg_id, seen[{static_cast<int>(req.svc), req.msg_id}]++});
  return targets;
}

int expected_result(const FailureCase &c, const Target &target, bool refusal) {
  for (const MessageResult &row : c.except)
    if (row.svc == target.svc && row.msg_id == target.msg_id &&
        (row.occurrence == -1 || row.occurrence == target.occurrence))
      return refusal ? row.on_refusal : row.on_transport_failure;
  return refusal ? c.on_refusal : c.on_transport_failure;
}

void start(const FailureCase &c, const FailureFamily &family) {
  family.fresh();
  if (c.prepare) c.prepare();
  vornsim::clear_requests();
}

}  // namespace

void expect_request_failures(const FailureCase &c, const FailureFamily &family) {
  SCOPED_TRACE(c.name);
  start(c, family);
  const int clean = c.call();
  vornsim::drain();
  const std::vector<Target> targets = targets_of(vornsim::requests());
  const vornsim::Counters clean_counters = vornsim::counters();
  ASSERT_FALSE(targets.empty()) << "the call sends no request";

  for (const Target &target : targets) {
    for (bool refusal : {false, true}) {
      std::ostringstream what;
      what << vornsim::name(target.svc) << " message " << target.msg_id << " #"
           << target.occurrence << (refusal ? " refused" : " failed in the transport");
      SCOPED_TRACE(what.str());
      start(c, family);
      const Snapshot before = snapshot(family);
      vornsim::Fault fault;
      fault.refuse = refusal;
      fault.error = vornsim::kInternalError;
      fault.transport_rc = refusal ? 0 : vornsim::kTimeoutRc;
      fault.count = 1;
      fault.after = target.occurrence;
      vornsim::set_fault(target.svc, target.msg_id, fault);

      EXPECT_EQ(c.call(), expected_result(c, target, refusal));
      vornsim::drain();
      ASSERT_GT(count(target.svc, target.msg_id), static_cast<size_t>(target.occurrence))
          << "the request did not reach the modem this time";
      const Snapshot after = snapshot(family);
      EXPECT_EQ(after.clients, clean_counters.clients_live) << "clients of the modem";
      EXPECT_EQ(after.notifiers, 0) << "notifiers left";
      if (c.atomic) {
        EXPECT_EQ(differences(before, after), "") << "state after the failure";
      }

      // The modem as it was, the library as the failure left it.
      vornsim::reset();
      if (c.prepare) c.prepare();
      EXPECT_EQ(c.call(), clean) << "the call once the modem answers again";
      vornsim::drain();
    }
  }
}

}  // namespace vt
