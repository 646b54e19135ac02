// vornpalctl as a client of the daemon: the modem's own commands run in the
// daemon, and `watch` in one process prints what a command of another
// causes.
#include <future>

#include "simd_test.h"

namespace simdt {
namespace {

TEST_F(DaemonTest, ModemCommandsRunInTheDaemonAndWatchSeesOtherProcesses) {
  vt::CtlRun down = vt::ctl("modem down M2M");
  EXPECT_EQ(down.status, 0);
  EXPECT_EQ(down.output, "M2M: down\n");
  EXPECT_FALSE(vornsim::service_up(vornsim::Svc::M2M)) << "the command did not reach the daemon's modem";
  EXPECT_EQ(vt::ctl("modem up M2M").status, 0);
  EXPECT_TRUE(vornsim::service_up(vornsim::Svc::M2M));
  vt::CtlRun unknown = vt::ctl("modem up RADIO");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(unknown.has("unknown service: RADIO")) << unknown.output;

  const int before = vornsim::counters().clients_live;
  auto watching = std::async(std::launch::async, [] { return vt::ctl("watch 2"); });
  // The watcher has started the families once the modem has its clients.
  ASSERT_TRUE(vt::eventually([&] { return vornsim::counters().clients_live > before + 2; }));
  EXPECT_EQ(vt::ctl("modem coverage off").status, 0);
  vt::CtlRun watched = watching.get();
  EXPECT_EQ(watched.status, 0);
  EXPECT_TRUE(watched.has("event: registration state 0")) << watched.output;
  EXPECT_TRUE(vt::eventually([&] { return vornsim::counters().clients_live == before; }))
      << "the watcher's clients outlived it";
}

}  // namespace
}  // namespace simdt
