// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <filesystem>

#include "capi/device.h"
#include "support/adapter.h"
#include "support/ask.h"
#include "support/hostile_texts.h"
#include "support/interruption.h"

namespace capi::test {
namespace {

constexpr char kIfconfig[] = R"(#!/bin/sh
echo "ifconfig $*" >>/tmp/tools.calls
show() {
  echo "$1      Link encap:Ethernet  HWaddr $2"
  echo "          inet addr:$3  Bcast:10.0.0.255  Mask:255.255.255.0"
  echo "          UP BROADCAST RUNNING MULTICAST  MTU:1500  Metric:1"
  echo
}
case ${1-} in
  ''|eth0) show eth0 00:11:22:33:44:55 10.0.0.2 ;;
esac
case ${1-} in
  ''|wwan0) show wwan0 00:11:22:33:44:66 10.64.0.9 ;;
esac
[ "$1" ] || printf 'lo        Link encap:Local Loopback\n          inet addr:\n'
)";

class NetworkInfoTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    std::filesystem::remove("/tmp/tools.calls");
    install("ifconfig", kIfconfig);
    setenv("PATH", ("/tmp/bin:" + path_).c_str(), 1);
  }

  void TearDown() override {
    setenv("PATH", path_.c_str(), 1);
    Adapter::TearDown();
  }

  static void install(const std::string& name, const std::string& script) {
    write_file("/tmp/bin/" + name, script);
    std::filesystem::permissions("/tmp/bin/" + name, std::filesystem::perms(0755));
  }

  static std::vector<std::string> calls() {
    return exists("/tmp/tools.calls") ? read_lines("/tmp/tools.calls") : std::vector<std::string>{};
  }

  static Answer ip(const char* ifname, int len = 64) {
    return ask([&](char* buf, int size) { return capi_get_interface_ip(ifname, buf, size); }, len);
  }

  static Answer mac(const char* ifname, int len = 64) {
    return ask([&](char* buf, int size) { return capi_get_interface_mac(ifname, buf, size); }, len);
  }

 private:
  const std::string path_ = getenv("PATH");
};

const LogLine kPlaceholder{kLogErr, "capi_get_runtime_wan_interface", "OMG,please fix me"};
const LogLine kNoWanInterface{kLogNotice, "capi_get_runtime_wan_interface",
                              "get wan interface in runtime failure!"};
const LogLine kNoWanIp{kLogNotice, "capi_get_runtime_wan_ip", "Unable to get runtime wan ip!"};

TEST_F(NetworkInfoTest, TheAddressOfAnInterfaceIsThatOfIfconfig) {
  EXPECT_EQ(ip("eth0"), (Answer{0, "10.0.0.2"}));
  EXPECT_EQ(ip("wwan0"), (Answer{0, "10.64.0.9"}));
  EXPECT_EQ(ip("wwan0", 6), (Answer{0, "10.64"}));
  EXPECT_EQ(ip("wwan0", 1), (Answer{0, ""}));
  EXPECT_EQ(ip("wwan0", 0), (Answer{0, ""}));
  EXPECT_EQ(calls().front(), "ifconfig ");
}

TEST_F(NetworkInfoTest, ASignalWhileAToolRunsChangesNoResult) {
  // The tools are children of a shell, which is ours.
  const std::string interrupt =
      "#!/bin/sh\ntest=$(cut -d' ' -f4 /proc/$PPID/stat)\n" + Interruption::of("$test") + "\n";
  install("ps", interrupt + "echo 1 root voipd; echo 2 root grep voipd; echo 3 root sh -c voipd");
  install("ifconfig", interrupt + (kIfconfig + sizeof "#!/bin/sh"));
  const Interruption interruption;
  EXPECT_EQ(capi_get_runtime_process_num("voipd"), 1);
  EXPECT_EQ(ip("eth0"), (Answer{0, "10.0.0.2"}));
  EXPECT_EQ(interruption.count(), 2);
}

TEST_F(NetworkInfoTest, ALabelAloneIsAnEmptyAddress) { EXPECT_EQ(ip("lo"), (Answer{0, ""})); }

TEST_F(NetworkInfoTest, LessThanALabelIsNoAddress) {
  install("ifconfig", "#!/bin/sh\necho eth0\necho 'inet addr 1'\n");
  EXPECT_EQ(ip("eth0"), (Answer{-1, ""}));
}

TEST_F(NetworkInfoTest, AnInterfaceThatIsNotThereHasNoAddress) {
  EXPECT_EQ(ip("usb7"), (Answer{-1, ""}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(NetworkInfoTest, WithoutANameNothingIsAsked) {
  EXPECT_EQ(ip(nullptr), (Answer{-1, ""}));
  EXPECT_EQ(ip(""), (Answer{-1, ""}));
  EXPECT_EQ(capi_get_interface_ip("eth0", nullptr, 64), -1);
  EXPECT_EQ(calls().size(), 0u);
}

TEST_F(NetworkInfoTest, ANameThatDoesNotFitTheCommandIsNotAsked) {
  EXPECT_EQ(ip(std::string(5000, 'e').c_str()), (Answer{-1, ""}));
  EXPECT_EQ(mac(std::string(5000, 'e').c_str()), (Answer{-1, ""}));
  EXPECT_EQ(calls().size(), 0u);
}

TEST_F(NetworkInfoTest, TheMacIsThatOfTheWanWhateverTheName) {
  start_master();
  EXPECT_EQ(mac("eth0"), (Answer{0, "00:00:00:00:00:00"}));
  EXPECT_EQ(mac(nullptr), (Answer{0, "00:00:00:00:00:00"}));
  EXPECT_EQ(mac("eth0", 3), (Answer{0, "00"}));
  EXPECT_EQ(calls().size(), 0u);
}

TEST_F(NetworkInfoTest, WithoutAWanMacIfconfigTells) {
  start_master();
  segment().wan_mac[0] = '\0';
  EXPECT_EQ(mac("wwan0"), (Answer{0, "00:11:22:33:44:66"}));
  EXPECT_EQ(mac("eth0", 9), (Answer{0, "00:11:22"}));
  EXPECT_EQ(mac("usb7"), (Answer{-1, ""}));
  EXPECT_EQ(mac(nullptr), (Answer{-1, ""}));
  EXPECT_EQ(capi_get_interface_mac("eth0", nullptr, 64), -1);
  EXPECT_EQ(calls(),
            (std::vector<std::string>{"ifconfig wwan0", "ifconfig eth0", "ifconfig usb7"}));
}

TEST_F(NetworkInfoTest, TheWanInterfaceIsToldWithAComplaint) {
  start_master();
  EXPECT_EQ(ask(capi_get_runtime_wan_interface), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(), lines({kPlaceholder, kNoWanInterface}));
  clear_log();
  strcpy(segment().wan_if_name, "wwan0");
  EXPECT_EQ(ask(capi_get_runtime_wan_interface), (Answer{0, "wwan0"}));
  EXPECT_EQ(captured_log(), lines({kPlaceholder}));
}

TEST_F(NetworkInfoTest, TheBasebandInterfaceIsTheWanInterface) {
  start_master();
  strcpy(segment().bb_if_name, "rmnet0");
  EXPECT_EQ(ask(capi_get_runtime_bb_interface), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(), lines({{kLogNotice, "capi_get_runtime_bb_interface",
                                    "get wan interface in runtime failure!"}}));
  strcpy(segment().wan_if_name, "wwan0");
  EXPECT_EQ(ask(capi_get_runtime_bb_interface), (Answer{0, "wwan0"}));
}

TEST_F(NetworkInfoTest, TheOtherInterfacesAreThoseOfTheSegment) {
  start_master();
  EXPECT_EQ(ask(capi_get_runtime_xcap_interface), (Answer{-1, ""}));
  EXPECT_EQ(ask(capi_get_runtime_3g_interface), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(), lines({{kLogNotice, "capi_get_runtime_xcap_interface",
                                    "get xcap interface in runtime failure!"},
                                   {kLogNotice, "capi_get_runtime_3g_interface",
                                    "get 3g interface in runtime failure!"}}));
  strcpy(segment().xcap_if_name, "wwan1");
  strcpy(segment().lte_if_name, "wwan2");
  EXPECT_EQ(ask(capi_get_runtime_xcap_interface), (Answer{0, "wwan1"}));
  EXPECT_EQ(ask(capi_get_runtime_3g_interface), (Answer{0, "wwan2"}));
}

TEST_F(NetworkInfoTest, ThePublicAddressIsThatOfTheSegment) {
  start_master();
  EXPECT_EQ(ask(capi_get_runtime_public_ipaddr), (Answer{-1, ""}));
  EXPECT_EQ(
      captured_log(),
      lines({{kLogNotice, "capi_get_runtime_public_ipaddr", "Unable to get public IP address!"}}));
  strcpy(segment().public_ip, "198.51.100.7");
  EXPECT_EQ(ask(capi_get_runtime_public_ipaddr), (Answer{0, "198.51.100.7"}));
  EXPECT_EQ(ask(capi_get_runtime_public_ipaddr, 4), (Answer{0, "198"}));
}

TEST_F(NetworkInfoTest, TheWanAddressIsThatOfTheSegment) {
  start_master();
  strcpy(segment().wan_ip, "192.0.2.1");
  EXPECT_EQ(ask(capi_get_runtime_wan_ip), (Answer{0, "192.0.2.1"}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(NetworkInfoTest, WithoutAWanAddressTheInterfaceIsAsked) {
  start_master();
  strcpy(segment().wan_if_name, "wwan0");
  EXPECT_EQ(ask(capi_get_runtime_wan_ip), (Answer{0, "10.64.0.9"}));
  EXPECT_EQ(captured_log(), lines({kPlaceholder}));
  clear_log();
  strcpy(segment().wan_if_name, "usb7");
  EXPECT_EQ(ask(capi_get_runtime_wan_ip), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(), lines({kPlaceholder, kNoWanIp}));
}

TEST_F(NetworkInfoTest, FifteenCharactersOfTheWanInterfaceAreAsked) {
  install("ifconfig", "#!/bin/sh\necho abcdefghijklmno\necho 'inet addr:10.1.1.1'\n");
  start_master();
  strcpy(segment().wan_if_name, "abcdefghijklmnopq");
  EXPECT_EQ(ask(capi_get_runtime_wan_ip), (Answer{0, "10.1.1.1"}));
}

TEST_F(NetworkInfoTest, AWanAddressThatCannotBeToldIsLogged) {
  start_master();
  EXPECT_EQ(ask(capi_get_runtime_wan_ip), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(), lines({kPlaceholder, kNoWanInterface, kNoWanIp}));
  clear_log();
  strcpy(segment().wan_if_name, "wwan0");
  EXPECT_EQ(capi_get_runtime_wan_ip(nullptr, 64), -1);
  EXPECT_EQ(captured_log(),
            lines({kPlaceholder,
                   {kLogNotice, "capi_get_runtime_wan_ip", "Failed! if_name[wwan0]"},
                   kNoWanIp}));
}

TEST_F(NetworkInfoTest, ASegmentTextMayLackItsTerminator) {
  start_master();
  memset(segment().xcap_if_name, 'x', sizeof segment().xcap_if_name);
  memset(segment().dns_server, 'd', sizeof segment().dns_server);
  EXPECT_EQ(ask(capi_get_runtime_xcap_interface), (Answer{0, std::string(32, 'x')}));
}

TEST_F(NetworkInfoTest, ProcessesAreCountedLessTwo) {
  install("ps", "#!/bin/sh\nprintf '1 init\\n7 voipd\\n8 voipd\\n9 voipd\\n'\n");
  EXPECT_EQ(capi_get_runtime_process_num("voipd"), 1);
  EXPECT_EQ(capi_get_runtime_process_num("init"), -1);
  EXPECT_EQ(capi_get_runtime_process_num("smsd"), -2);
}

TEST_F(NetworkInfoTest, WithoutANameOrACountNothingIsCounted) {
  EXPECT_EQ(capi_get_runtime_process_num(nullptr), -1);
  EXPECT_EQ(capi_get_runtime_process_num(std::string(5000, 'p').c_str()), -1);
  install("wc", "#!/bin/sh\n");
  EXPECT_EQ(capi_get_runtime_process_num("voipd"), -1);
}

TEST_F(NetworkInfoTest, NamesThatAShellWouldInterpretReachNone) {
  for (const char* name : kRefusedUnquoted) {
    clear_log();
    EXPECT_EQ(mac(name), (Answer{-1, ""}));
    EXPECT_EQ(capi_get_runtime_process_num(name), -1);
    EXPECT_EQ(captured_log(), lines({refused("capi_get_interface_mac", name),
                                     refused("capi_get_runtime_process_num", name)}));
  }
  EXPECT_FALSE(exists(kMarker));
  EXPECT_EQ(calls().size(), 0u);
}

TEST_F(NetworkInfoTest, ANameThatEndsItsPlaceInSedsScriptReachesNone) {
  // sed runs programs with "e", and writes files with "w".
  for (const char* name : {"x'; touch /tmp/marker; '", "eth0/e touch \\/tmp\\/marker;/x",
                           "eth0/w marker", "eth0\ne touch marker"}) {
    clear_log();
    EXPECT_EQ(ip(name), (Answer{-1, ""}));
    EXPECT_EQ(captured_log(), lines({refused("capi_get_interface_ip", name)}));
  }
  EXPECT_FALSE(exists(kMarker));
  EXPECT_EQ(calls().size(), 0u);
  EXPECT_EQ(ip("eth[0-9]"), (Answer{0, "10.0.0.2"}));  // it is a pattern
  EXPECT_EQ(ip("$(touch /tmp/marker)"), (Answer{-1, ""}));
  EXPECT_FALSE(exists(kMarker));
}

TEST_F(NetworkInfoTest, AWanInterfaceOfTheSegmentRunsNoCommand) {
  start_master();
  strcpy(segment().wan_if_name, "0/e id>m #");
  EXPECT_EQ(ask(capi_get_runtime_wan_ip), (Answer{-1, ""}));
  EXPECT_EQ(captured_log(),
            lines({kPlaceholder, refused("capi_get_interface_ip", "0/e id>m #"), kNoWanIp}));
  EXPECT_FALSE(exists("m"));
}

TEST_F(NetworkInfoTest, NamesWithBlanksAreSeveralArguments) {
  start_master();
  segment().wan_mac[0] = '\0';
  mac("wwan0 up");
  EXPECT_EQ(calls(), std::vector<std::string>{"ifconfig wwan0 up"});
}

}  // namespace
}  // namespace capi::test
