// The IPA driver's requests as the simulated driver received them (code and
// argument bytes, read at fixed offsets so that the layout is checked on
// every target), VLAN links and bridges made in the sandbox's kernel, the
// IPA manager's file, the NV-backed settings and the route repair on
// /tmp/ipa_fail.
#include <arpa/inet.h>
#include <unistd.h>

#include <cerrno>

#include <vornpal/m2m.h>
#include <vornpal/platform/ipa.h>
#include <vornpal/platform/vorn_m2m_service_v01.h>
#include <vornsim/ipa.h>
#include <vornsim/m2m.h>

#include "data_test.h"

namespace datat {
namespace {

uint32_t ipa_word(const std::vector<uint8_t> &bytes, size_t at) {
  uint32_t value = 0;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

uint16_t ipa_half(const std::vector<uint8_t> &bytes, size_t at) {
  uint16_t value = 0;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

std::string ipa_text(const std::vector<uint8_t> &bytes, size_t at, size_t size) {
  const char *start = reinterpret_cast<const char *>(bytes.data() + at);
  return std::string(start, strnlen(start, size));
}

vornsim::ipa::RequestView last_ipa_request() {
  auto all = vornsim::ipa::requests();
  return all.empty() ? vornsim::ipa::RequestView{0, {}} : all.back();
}

ipa_lan_config lan(uint32_t mode, uint32_t enable, bool mac) {
  ipa_lan_config c{};
  c.enable = enable;
  c.value = 0x1234;
  c.vlan_id = 100;
  c.mode = mode;
  std::strcpy(c.dev_name, "bridge0");
  if (mac) {
    const uint8_t address[6] = {0x02, 0x11, 0x22, 0x33, 0x44, 0x55};
    std::memcpy(c.mac_addr, address, sizeof address);
  }
  c.flag_a = 0;
  c.flag_b = 7;
  return c;
}

class Ipa : public DataTest {
 protected:
  void SetUp() override {
    DataTest::SetUp();
    vt::sh("ip link del eth0 2>/dev/null; ip link del br-lan 2>/dev/null");
    vt::sh("ip link add eth0 type veth peer name eth0-peer");
    vornsim::ipa::clear_requests();
  }
  void TearDown() override {
    vt::sh("ip link del eth0.10 2>/dev/null; ip link del eth0 2>/dev/null; ip link del br-lan 2>/dev/null");
    DataTest::TearDown();
  }
};

TEST_F(Ipa, LanConfigurationRequest) {
  ipa_lan_config c = lan(VORN_DATA_IPA_MODE_TYPE2, 1, true);
  ASSERT_EQ(vorn_data_pal_set_ipa_cfg(&c), 0);
  auto r = last_ipa_request();
  EXPECT_EQ(r.code, 0xC040CF50u);
  ASSERT_EQ(r.argument.size(), 92u);
  EXPECT_EQ(ipa_text(r.argument, 0, 64), "bridge0");
  EXPECT_EQ(ipa_word(r.argument, 64), 44u);
  EXPECT_EQ(ipa_word(r.argument, 68), 1u);
  EXPECT_EQ(ipa_word(r.argument, 72), 0x1234u);
  EXPECT_EQ(r.argument[76], 1);  // flag_a inverted
  EXPECT_EQ(r.argument[77], 7);
  EXPECT_EQ(ipa_half(r.argument, 78), 100);
  EXPECT_EQ(ipa_word(r.argument, 80), 2u);
  EXPECT_EQ(r.argument[84], 0x02);
  EXPECT_EQ(r.argument[89], 0x55);
  EXPECT_TRUE(vt::logged("set IPA cfg for dev_name bridge0 and enable 1\n"));

  // Type 1 has no VLAN; modes 3 and 9 map no LAN and carry no MAC.
  c = lan(VORN_DATA_IPA_MODE_TYPE1, 1, true);
  c.flag_a = 1;
  ASSERT_EQ(vorn_data_pal_set_ipa_cfg(&c), 0);
  r = last_ipa_request();
  EXPECT_EQ(ipa_word(r.argument, 80), 1u);
  EXPECT_EQ(ipa_half(r.argument, 78), 0);
  EXPECT_EQ(r.argument[76], 0);
  c = lan(VORN_DATA_IPA_MODE_NONE_ALT, 1, true);
  ASSERT_EQ(vorn_data_pal_set_ipa_cfg(&c), 0);
  r = last_ipa_request();
  EXPECT_EQ(ipa_word(r.argument, 80), 0u);
  EXPECT_EQ(ipa_half(r.argument, 78), 100);
  EXPECT_EQ(r.argument[84], 0);
  c = lan(VORN_DATA_IPA_MODE_TYPE2, 1, false);
  ASSERT_EQ(vorn_data_pal_set_ipa_cfg(&c), 0);
  EXPECT_TRUE(vt::logged("mac addr is NULL\n"));
  EXPECT_EQ(vornsim::ipa::requests().size(), 4u);

  // A full-length name is taken as it stands, without its own terminator.
  std::memset(c.dev_name, 'n', sizeof c.dev_name);
  ASSERT_EQ(vorn_data_pal_set_ipa_cfg(&c), 0);
  EXPECT_EQ(ipa_text(last_ipa_request().argument, 0, 64), std::string(32, 'n'));

  // Refusals.
  EXPECT_EQ(vorn_data_pal_set_ipa_cfg(nullptr), -1);
  EXPECT_TRUE(vt::logged("lan_obj is NULL\n"));
  vornsim::ipa::fail_next(IPA_IOC_SET_LAN_CONFIG, EINVAL);
  EXPECT_EQ(vorn_data_pal_set_ipa_cfg(&c), -1);
  EXPECT_TRUE(vt::logged("IOCTL to IPA failed with err -1, errno Invalid argument\n"));
  vornsim::ipa::set_device_present(false);
  vornsim::ipa::clear_requests();
  EXPECT_EQ(vorn_data_pal_set_ipa_cfg(&c), -1);
  EXPECT_TRUE(vt::logged("Cannot open file for ioctl\n"));
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 10, 1), 0);
  EXPECT_TRUE(vt::logged("UpdateIPAWithIOCTL() Cannot open file for ioctl\n"));
  EXPECT_TRUE(vornsim::ipa::requests().empty());
  vornsim::ipa::set_device_present(true);
}

TEST_F(Ipa, VlanInterfaceOfAKernelLink) {
  // A kernel built without 802.1Q gets a plain link of the VLAN's name, so
  // that the driver still finds a link to map.
  const bool vlan_kernel = vt::sh("ip link add link eth0 name eth0.10 type vlan id 10 2>/dev/null") == 0;
  if (!vlan_kernel) {
    ASSERT_EQ(vt::sh("ip link add eth0.10 type veth peer name eth0.10-peer"), 0);
  }
  ASSERT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 10, 1), 1);
  auto r = last_ipa_request();
  EXPECT_EQ(r.code, 0xC004CF2Fu);
  ASSERT_EQ(r.argument.size(), 34u);
  EXPECT_EQ(ipa_text(r.argument, 0, 32), "eth0.10");
  EXPECT_EQ(ipa_half(r.argument, 32), 10);
  EXPECT_TRUE(vt::logged("IOCTL to IPA (IPA_IOC_ADD_VLAN_IFACE) for iface=eth0.10, vlan_id=10\n"));
  EXPECT_EQ(vornsim::ipa::vlan_ifaces(), std::vector<std::string>{"eth0.10"});
  // The kernel has the link the driver was told of.
  const std::string link = ip_json("-d link show eth0.10");
  EXPECT_NE(link.find("\"ifname\":\"eth0.10\""), std::string::npos) << link;
  if (vlan_kernel) {
    EXPECT_NE(link.find("\"protocol\":\"802.1Q\",\"id\":10"), std::string::npos) << link;
  }

  // Added twice, or a VLAN with no kernel link: the driver refuses.
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 10, 1), 0);
  EXPECT_TRUE(vt::logged("IOCTL to IPA failed with err -1, errno File exists\n"));
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 20, 1), 0);
  EXPECT_TRUE(vt::logged("IOCTL to IPA failed with err -1, errno No such device\n"));

  ASSERT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 10, 0), 1);
  EXPECT_EQ(last_ipa_request().code, 0xC004CF30u);
  EXPECT_TRUE(vt::logged("IOCTL to IPA (IPA_IOC_DEL_VLAN_IFACE) for iface=eth0.10, vlan_id=10\n"));
  EXPECT_TRUE(vornsim::ipa::vlan_ifaces().empty());

  // Bad arguments never reach the device; an over-long name is cut.
  vornsim::ipa::clear_requests();
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 0, 1), 0);
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL("eth0", 4095, 1), 0);
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL(nullptr, 10, 1), 0);
  EXPECT_EQ(vt::count_logged("UpdateIPAWithIOCTL() Invalid parameters received\n"), 3);
  EXPECT_TRUE(vornsim::ipa::requests().empty());
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithVlanIOCTL(std::string(40, 'x').c_str(), 10, 1), 0);
  EXPECT_EQ(ipa_text(last_ipa_request().argument, 0, 32), std::string(31, 'x'));
}

TEST_F(Ipa, BridgeVlanMapping) {
  ASSERT_EQ(vt::sh("brctl addbr br-lan"), 0);
  const uint32_t address = inet_addr("192.0.2.1");
  const uint32_t mask = inet_addr("255.255.255.0");
  ASSERT_EQ(vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL("br-lan", 20, address, mask, 1), 1);
  auto r = last_ipa_request();
  EXPECT_EQ(r.code, 0xC02CCF3Bu);
  ASSERT_EQ(r.argument.size(), 44u);
  EXPECT_EQ(ipa_text(r.argument, 0, 32), "br-lan");
  EXPECT_EQ(ipa_half(r.argument, 32), 20);
  EXPECT_EQ(ipa_word(r.argument, 36), address);
  EXPECT_EQ(ipa_word(r.argument, 40), mask);
  EXPECT_TRUE(vt::logged("Add config in IPACM_cfg vlan_id=20\n"));
  EXPECT_TRUE(vt::logged("Calling IPA_IOC_ADD_BRIDGE_VLAN_MAPPING for bridge_name=br-lan, vlan_id=20, "
                         "bridge_ip4=0x" + [&] {
                           char hex[16];
                           std::snprintf(hex, sizeof hex, "%x", address);
                           return std::string(hex);
                         }() + "\n"));
  EXPECT_EQ(vornsim::ipa::bridge_mappings(), std::vector<std::string>{"br-lan:20"});
  EXPECT_NE(ip_json("link show type bridge").find("\"ifname\":\"br-lan\""), std::string::npos);

  // A bridge the kernel does not have, and one removed twice.
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL("br-none", 20, address, mask, 1), 0);
  EXPECT_TRUE(vt::logged("IOCTL to IPA failed\n"));
  ASSERT_EQ(vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL("br-lan", 20, address, mask, 0), 1);
  EXPECT_EQ(last_ipa_request().code, 0xC02CCF3Cu);
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL("br-lan", 20, address, mask, 0), 0);
  EXPECT_EQ(vorn_data_pal_UpdateIPAWithBridgeVLANIOCTL(nullptr, 20, address, mask, 1), 0);
}

TEST_F(Ipa, EthernetControllerPriority) {
  ASSERT_EQ(vorn_data_pal_UpdateNeutrinoWithVlanIoctl(10, 5), 1);
  auto r = last_ipa_request();
  EXPECT_EQ(r.code, 0x89F1u);
  ASSERT_EQ(r.argument.size(), 12u);
  EXPECT_EQ(ipa_word(r.argument, 0), 2u);
  EXPECT_EQ(ipa_word(r.argument, 4), 5u);
  EXPECT_EQ(ipa_word(r.argument, 8), 10u);
  EXPECT_TRUE(vt::logged("UpdateNeutrinoWithIoctl() IOCTL ret val 0, errno 0\n"));

  // Busy twice: the third try succeeds.
  vornsim::ipa::clear_requests();
  vornsim::ipa::fail_next(NEUTRINO_IOCTL, EAGAIN, 2);
  EXPECT_EQ(vorn_data_pal_UpdateNeutrinoWithVlanIoctl(10, 5), 1);
  EXPECT_EQ(vornsim::ipa::requests().size(), 3u);
  // Busy three times: three waits and no fourth try.
  vornsim::ipa::clear_requests();
  vornsim::clear_diag();
  vornsim::ipa::fail_next(NEUTRINO_IOCTL, EAGAIN, 3);
  EXPECT_EQ(vorn_data_pal_UpdateNeutrinoWithVlanIoctl(10, 5), 0);
  EXPECT_EQ(vornsim::ipa::requests().size(), 3u);
  EXPECT_EQ(vt::count_logged("UpdateNeutrinoWithIoctl() failed with errno 3, sleep\n"), 3);
  EXPECT_TRUE(vt::logged("UpdateNeutrinoWithIoctl() IOCTL ret val -1, errno 11\n"));
  EXPECT_TRUE(vt::logged("UpdateNeutrinoWithIoctl() IOCTL to Neutrino failed\n"));
  // Another error is not waited for.
  vornsim::ipa::clear_requests();
  vornsim::ipa::fail_next(NEUTRINO_IOCTL, EIO, 1);
  EXPECT_EQ(vorn_data_pal_UpdateNeutrinoWithVlanIoctl(10, 5), 0);
  EXPECT_EQ(vornsim::ipa::requests().size(), 1u);
  EXPECT_EQ(vorn_data_pal_UpdateNeutrinoWithVlanIoctl(0, 5), 0);
  EXPECT_TRUE(vt::logged("UpdateNeutrinoWithIoctl() Invalid parameters received\n"));
}

TEST_F(Ipa, ManagerFile) {
  vt::remove_tree("/etc/data/ipa_config.txt");
  vt::make_dirs("/etc/data/ipa_config.txt");
  vorn_data_pal_SetIPACfgFile();
  EXPECT_TRUE(vt::logged("Error opening /etc/data/ipa_config.txt for writing: Is a directory\n"));
  vt::remove_tree("/etc/data/ipa_config.txt");
  vorn_data_pal_SetIPACfgFile();
  EXPECT_EQ(vt::read_file("/etc/data/ipa_config.txt"), "vlan: ecm rndis eth");
  EXPECT_TRUE(vt::logged("Finished setting IPA Cfg file:  ecm rndis eth\n"));
  vorn_data_pal_ClearIPACfgFile();
  EXPECT_TRUE(vt::file_exists("/etc/data/ipa_config.txt"));
  EXPECT_EQ(vt::read_file("/etc/data/ipa_config.txt"), "");
  EXPECT_TRUE(vt::logged("Finished clearing IPA Cfg file: \n"));
}

TEST_F(Ipa, NvSettings) {
  constexpr unsigned kWriteNv = QMI_VORN_M2M_WRITE_NV_ITEM_REQ_V01;
  constexpr char kMtu[] = "/nv/item_files/odm/vorn_customized_mtu";
  auto writes = [] { return vt::count(vornsim::Svc::M2M, kWriteNv); };
  // No item yet: nothing to compare with.
  EXPECT_EQ(vorn_data_pal_set_mtu_cfg(1500), 3);
  EXPECT_TRUE(vt::logged("read nv fail."));
  const uint8_t old_mtu[2] = {0x40, 0x06};
  ASSERT_EQ(vorn_m2m_pal_write_nv_by_path(kMtu, old_mtu, 2), 0);
  ASSERT_EQ(vorn_data_pal_set_mtu_cfg(1500), 0);
  EXPECT_EQ(vornsim::m2m::efs_item(kMtu), (std::vector<uint8_t>{0xDC, 0x05}));
  const size_t before = writes();
  EXPECT_EQ(vorn_data_pal_set_mtu_cfg(1500), 0);
  EXPECT_TRUE(vt::logged("set same mtu value\n"));
  EXPECT_EQ(writes(), before);
  vornsim::clear_requests();
  EXPECT_EQ(vorn_data_pal_set_mtu_cfg(65536), 3);
  EXPECT_TRUE(vt::logged("mtu value outof range."));
  EXPECT_TRUE(vornsim::requests(vornsim::Svc::M2M).empty());

  // A first write makes the item with zeros whatever was asked.
  constexpr char kRoam[] = "/nv/item_files/odm/oem_data_roam_cfg";
  EXPECT_EQ(vorn_data_pal_set_roamcfg(1), 0);
  EXPECT_EQ(vornsim::m2m::efs_item(kRoam), (std::vector<uint8_t>{0, 0, 0, 0}));
  EXPECT_EQ(vorn_data_pal_set_roamcfg(1), 0);
  EXPECT_EQ(vornsim::m2m::efs_item(kRoam), (std::vector<uint8_t>{1, 0, 0, 0}));
  const size_t roam_writes = writes();
  EXPECT_EQ(vorn_data_pal_set_roamcfg(1), 0);
  EXPECT_EQ(writes(), roam_writes);

  int enabled = -1;
  EXPECT_NE(vorn_data_pal_get_dataconnen(&enabled), 0);
  EXPECT_EQ(vorn_data_pal_set_dataconnen(1), 0);
  EXPECT_EQ(vorn_data_pal_get_dataconnen(&enabled), 0);
  EXPECT_EQ(enabled, 0);
  EXPECT_EQ(vorn_data_pal_set_dataconnen(1), 0);
  EXPECT_EQ(vorn_data_pal_get_dataconnen(&enabled), 0);
  EXPECT_EQ(enabled, 1);
  EXPECT_EQ(vornsim::m2m::efs_item("/nv/item_files/odm/gtset_report_data_connect_enable"),
            (std::vector<uint8_t>{1, 0, 0, 0}));
}

TEST_F(Ipa, DefaultRouteRepairedOnIpaFailure) {
  std::remove("/tmp/ipa_fail");
  ASSERT_EQ(vorn_data_pal_connect(1), 0);
  ASSERT_TRUE(wait_call(1, 0, VORN_DATA_STATE_UP));
  auto sessions = vornsim::wds::sessions();
  ASSERT_FALSE(sessions.empty());
  const std::string gateway = sessions[0].gateway;
  // The network manager puts the route on behind the address.
  ASSERT_TRUE(vt::eventually([&] { return ip_json("route show default").find(gateway) != std::string::npos; }));
  ASSERT_EQ(vt::sh("ip route del default dev rmnet_data0"), 0);
  ASSERT_EQ(ip_json("route show default").find(gateway), std::string::npos);

  vt::write_file("/tmp/ipa_fail", "");
  ASSERT_TRUE(vt::eventually([] { return !vt::file_exists("/tmp/ipa_fail"); }));
  EXPECT_TRUE(vt::logged("exit file /tmp/ipa_fail\n"));
  EXPECT_TRUE(vt::logged("command is ip route add default via " + gateway + " dev rmnet_data0,ret 0\n"));
  const std::string routes = ip_json("route show default");
  EXPECT_NE(routes.find("\"gateway\":\"" + gateway + "\",\"dev\":\"rmnet_data0\""), std::string::npos)
      << routes;

  // With the call down there is no route to set: the file stays and the
  // repair is tried again.
  ASSERT_EQ(vorn_data_pal_disconnect(1), 0);
  ASSERT_TRUE(vt::eventually([] { return vornsim::wds::sessions().empty(); }));
  forget();
  vt::write_file("/tmp/ipa_fail", "");
  ASSERT_TRUE(vt::eventually([] { return vt::count_logged("exit file /tmp/ipa_fail\n") >= 2; }));
  EXPECT_TRUE(vt::file_exists("/tmp/ipa_fail"));
  std::remove("/tmp/ipa_fail");
}

}  // namespace
}  // namespace datat
