// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <thread>

#include "capi/snapshot.h"
#include "support/adapter.h"
#include "support/all_keys.h"
#include "support/golden.h"

namespace capi::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct FileType {
  unsigned type;
  const char* path;
  const char* golden;
};

constexpr FileType kTypes[] = {
    {0, "/tmp/vosip.conf.volte", "volte"},   {1, "/tmp/vosip.conf.voip", "voip"},
    {2, "/tmp/vosip.conf.vowifi", "vowifi"}, {3, "/tmp/vosip.conf.cs", "cs"},
    {4, "/tmp/vosip.conf.qvc", "qvc"},       {5, "/tmp/vosip.conf.sos", "sos"},
    {6, "/tmp/vosip.conf", "generic"},       {UINT32_MAX, "/tmp/vosip.conf", "generic"},
};

class StackFileTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    for (const FileType& type : kTypes) std::filesystem::remove_all(type.path);
    start_master();
  }

  static void load_all_keys() {
    EXPECT_EQ(capi_init_settings_from_file(copy_all_keys()), 0);
    EXPECT_EQ(capi_config_finish(), 0);
    EXPECT_EQ(capiv2_cfg_backend_post_init(), 0);
    clear_log();
  }

  // The file of a type, written anew.
  static std::string make(unsigned type) {
    EXPECT_EQ(capi_make_config_file(type), 0);
    return read_file(kTypes[type].path);
  }

  // The lines of a section of a type's file; the whole file has to be sections of lines.
  static std::vector<std::string> section(unsigned type, const std::string& name) {
    const std::string text = make(type);
    const size_t start = text.find("[" + name + "]\n");
    if (start == std::string::npos) return {"<no section>"};
    std::vector<std::string> lines;
    for (size_t at = text.find('\n', start) + 1; text.at(at) != '\n';) {
      const size_t end = text.find('\n', at);
      lines.push_back(text.substr(at, end - at));
      at = end + 1;
    }
    return lines;
  }
};

TEST_F(StackFileTest, EveryTypeIsAsItsGoldenFile) {
  load_all_keys();
  for (const FileType& type : kTypes) {
    std::filesystem::remove(type.path);
    EXPECT_EQ(capi_make_config_file(type.type), 0);
    expect_golden(read_file(type.path), std::string("tests/stack/golden/") + type.golden + ".conf");
  }
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(StackFileTest, AnyProcessMayWriteThem) {
  load_all_keys();
  in_client([] { EXPECT_EQ(capi_cfg_backend_make_config_file(1), 0); });
  EXPECT_EQ(read_file("/tmp/vosip.conf.voip"),
            read_file(source_file("tests/stack/golden/voip.conf")));
}

TEST_F(StackFileTest, AnImsStackGetsNoSubscriberAndServerButTheirPorts) {
  load_all_keys();
  for (const unsigned type : {0u, 2u, 3u, 4u, 5u, 6u}) {
    for (const char* line : {"LINE1_SUBSCRIBER", "LINE2_SUBSCRIBER"}) {
      EXPECT_THAT(section(type, line), ElementsAre("displayname=", "username=", "password=",
                                                   "number=", "enable=0", "clir_enable=0"));
    }
    const std::string port = setting("sip_server_1", "registrar_port");
    EXPECT_THAT(section(type, "REGISTRAR_0"), ElementsAre("enable=0", "addr=", "port=" + port));
    EXPECT_THAT(section(type, "SIGNALING"), IsEmpty());
  }
}

TEST_F(StackFileTest, AnAddressWithAColonIsIPv6) {
  publish(
      "[runtime_info]\noption_runtime_info_bb_if_name=usb0\n"
      "option_runtime_info_voip_ip=192.0.2.1\noption_runtime_info_ims_ip=::1\n");
  EXPECT_THAT(section(0, "NETWORK"), ElementsAre("if_name=usb0", "network_type=1",
                                                 "forced_ipaddr=::1", "network_channel_type=1"));
  EXPECT_THAT(section(1, "NETWORK"),
              ElementsAre("if_name=usb0", "network_type=0", "forced_ipaddr=192.0.2.1",
                          "network_channel_type=0"));
  EXPECT_THAT(section(2, "NETWORK"), ElementsAre("if_name=usb0", "network_type=0",
                                                 "forced_ipaddr=", "network_channel_type=0"));
  EXPECT_THAT(section(3, "NETWORK"),
              ElementsAre("if_name=usb0", "network_type=0", "forced_ipaddr=127.0.0.1",
                          "network_channel_type=0"));
  EXPECT_THAT(section(5, "NETWORK"), ElementsAre("if_name=usb0", "network_type=0",
                                                 "forced_ipaddr=", "network_channel_type=2"));
}

TEST_F(StackFileTest, TheEmergencyStackIsTheFirst) {
  publish(
      "[voice_stack_1]\noption_voice_stack_type=volte\n"
      "[voice_stack_2]\noption_voice_stack_type=voip\n");
  for (const unsigned type : {0u, 5u, 6u}) {
    EXPECT_THAT(section(type, "STACK"), Contains("type=volte"));
  }
  EXPECT_THAT(section(1, "STACK"), Contains("type=voip"));
}

TEST_F(StackFileTest, NoCodecsMeanNoCodecSections) {
  load_all_keys();
  capi_config_set("voice_parameter", "option_voice_parameter_count", 0, "0");
  const std::string text = make(1);
  EXPECT_THAT(text, HasSubstr("enable_codec_num=0\n"));
  EXPECT_THAT(text, HasSubstr("silenceSup=1\n\n[DIALPLAN]\n"));
  EXPECT_THAT(text, Not(HasSubstr("[CODEC")));
}

TEST_F(StackFileTest, AStoredCodecCountIsClamped) {
  segment().voice_parameter.count = 1000;
  EXPECT_THAT(section(1, "VOICE"), Contains("enable_codec_num=12"));
  EXPECT_THAT(make(1), HasSubstr("[CODEC11]\n"));
  EXPECT_THAT(make(1), Not(HasSubstr("[CODEC12]\n")));
  segment().voice_parameter.count = -1;
  EXPECT_THAT(section(1, "VOICE"), Contains("enable_codec_num=0"));
  EXPECT_THAT(make(1), Not(HasSubstr("[CODEC")));
}

TEST_F(StackFileTest, TheCodeListTextChoosesTheBlocksOfACodec) {
  publish(
      "[voice_parameter]\noption_voice_parameter_count=4\n"
      "option_voice_parameter_code_list_1=x-AMR-WB\noption_voice_parameter_mode_set_1=0,2\n"
      "option_voice_parameter_code_list_2=EVS\noption_voice_parameter_mode_set_2=7\n"
      "option_voice_parameter_code_list_3=AMR/EVS\noption_voice_parameter_mode_set_3=8\n"
      "option_voice_parameter_code_list_4=amr\noption_voice_parameter_name_4=AMR-EVS\n"
      "option_voice_parameter_evs_mode_switch=1\noption_voice_parameter_evs_hf_only=0\n"
      "option_voice_parameter_evs_dtx=-2\noption_voice_parameter_evs_cmr=-1\n"
      "option_voice_parameter_evs_br=5.9-24.4\noption_voice_parameter_evs_bw=nb\n"
      "option_voice_parameter_evs_ch_aw_recv=-2\n");
  const std::vector<std::string> evs = {
      "codec_evs_mode_switch=1", "codec_evs_hf_only=0", "codec_evs_dtx=",       "codec_evs_cmr=-1",
      "codec_evs_br=5.9-24.4",   "codec_evs_bw=nb",     "codec_evs_ch_aw_recv="};
  const auto codec = [](const std::string& list, const std::string& name,
                        std::vector<std::string> rest) {
    std::vector<std::string> lines = {"codec_const_string=" + list, "codec_payload=0",
                                      "codec_name=" + name, "codec_ptime=", "codec_bitrate=0"};
    lines.insert(lines.end(), rest.begin(), rest.end());
    return lines;
  };
  const auto with_evs = [&](std::vector<std::string> before, const char* mode_set) {
    before.insert(before.end(), evs.begin(), evs.end());
    before.emplace_back(mode_set);
    return before;
  };
  EXPECT_EQ(section(1, "CODEC0"), codec("x-AMR-WB", "", {"codec_mode_set=0,2"}));
  EXPECT_EQ(section(1, "CODEC1"), codec("EVS", "", with_evs({}, "codec_mode_set=7")));
  EXPECT_EQ(section(1, "CODEC2"),
            codec("AMR/EVS", "", with_evs({"codec_mode_set=8"}, "codec_mode_set=8")));
  EXPECT_EQ(section(1, "CODEC3"), codec("amr", "AMR-EVS", {}));
}

TEST_F(StackFileTest, CertificatesAreForTlsOnly) {
  load_all_keys();
  for (const char* transport : {"0", "1", "3"}) {
    capi_config_set("basic_sip", "option_basic_sip_transport_protocol", 0, transport);
    EXPECT_THAT(section(1, "SIP").back(), testing::StartsWith("pcscf_addr=")) << transport;
  }
}

TEST_F(StackFileTest, AnUnsetDialPlanStaysInItsParentheses) {
  EXPECT_THAT(section(1, "DIALPLAN"), Contains("dialplan=()"));
}

TEST_F(StackFileTest, TextsAreWrittenAsTheyAre) {
  strcpy(segment().voice_basic.user_agent, "%s%n \xc3\xa4=;#");
  EXPECT_THAT(section(1, "RADV"), Contains("user_agent=%s%n \xc3\xa4=;#"));
}

TEST_F(StackFileTest, ALineEndInAValueMakesNoSecondLine) {
  const std::string plain = make(1);
  cfg_shared_record& record = segment();
  const auto add_line_end = [](auto& field) { strcat(field, "\n[RADV]\nuser_agent=stranger"); };
  add_line_end(record.sim_info.IMPU);
  add_line_end(record.sim_info.IMPI);
  add_line_end(record.voice_basic.user_agent);
  add_line_end(record.voice_basic.dial_plan);
  add_line_end(record.call_block.entry[0]);
  strcat(record.bb_if_name, "\r\nx=1");
  for (const FileType& type : kTypes) {
    EXPECT_EQ(capi_make_config_file(type.type), 0);
    EXPECT_THAT(read_file(type.path), Not(HasSubstr("stranger"))) << type.path;
  }
  EXPECT_EQ(make(1), plain);
}

TEST_F(StackFileTest, TextsWithoutTerminatorEndAtTheirWidth) {
  cfg_shared_record& record = segment();
  memset(record.directory, 'x', offsetof(cfg_shared_record, cs_reg_stat));
  strcpy(record.directory[1], "/tmp");
  for (const FileType& type : kTypes) EXPECT_EQ(capi_make_config_file(type.type), 0);
  const std::string text = read_file("/tmp/vosip.conf.voip");
  EXPECT_THAT(text, HasSubstr("\nuser_agent=" + std::string(64, 'x') + "\n"));
  EXPECT_THAT(text, HasSubstr("\ndialplan=(" + std::string(256, 'x') + ")\n"));
  EXPECT_THAT(text, HasSubstr("\nif_name=" + std::string(32, 'x') + "\n"));
  EXPECT_THAT(text, HasSubstr("\npcscf_addr=" + std::string(256, 'x') + "\n"));
  EXPECT_THAT(text, HasSubstr("\ncodec_const_string=" + std::string(64, 'x') + "\n"));
}

TEST_F(StackFileTest, IsRewrittenInPlace) {
  write_file("/tmp/vosip.conf.voip", std::string(100000, 'x'));
  ASSERT_EQ(link("/tmp/vosip.conf.voip", "/tmp/linked.voip"), 0);
  const std::string text = make(1);
  EXPECT_THAT(text, Not(HasSubstr("xxx")));
  EXPECT_EQ(read_file("/tmp/linked.voip"), text);
  std::filesystem::remove("/tmp/linked.voip");
}

TEST_F(StackFileTest, AFileThatCannotBeCreatedFails) {
  for (const FileType& type : kTypes) {
    std::filesystem::create_directories(type.path);
    EXPECT_EQ(capi_make_config_file(type.type), -1) << type.path;
  }
  EXPECT_THAT(captured_log(), IsEmpty());
  for (const FileType& type : kTypes) std::filesystem::remove_all(type.path);
}

TEST_F(StackFileTest, AFailureLeavesTheSimFile) {
  write_file("/tmp/info.simcard", "old");
  std::filesystem::create_directories("/tmp/vosip.conf.volte");
  EXPECT_EQ(capi_make_config_file(0), -1);
  EXPECT_EQ(read_file("/tmp/info.simcard"), "old");
  std::filesystem::remove_all("/tmp/vosip.conf.volte");
}

TEST_F(StackFileTest, WriteErrorsAreOnlyLogged) {
  ASSERT_EQ(symlink("/dev/full", "/tmp/vosip.conf.voip"), 0);
  clear_log();
  EXPECT_EQ(capi_make_config_file(1), 0);
  EXPECT_EQ(captured_log(kLogWarning),
            (std::vector<LogLine>{
                {kLogWarning, "capi_cfg_backend_make_config_file",
                 "failed to write /tmp/vosip.conf.voip, reason [No space left on device]"}}));
}

TEST_F(StackFileTest, OnAFullDiskTheOldFileStays) {
  constexpr size_t kRoom = 4096;
  load_all_keys();
  write_file("/tmp/vosip.conf.voip", "old");
  in_client([] {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = kRoom;
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(capi_cfg_backend_make_config_file(1), 0);
    limit.rlim_cur = before;
    setrlimit(RLIMIT_FSIZE, &limit);
  });
  EXPECT_EQ(read_file("/tmp/vosip.conf.voip"), "old");
  EXPECT_FALSE(exists("/tmp/.vosip.conf.voip.new"));
}

TEST_F(StackFileTest, ThreeTypesRefreshTheSimFile) {
  load_all_keys();
  const std::string path = "/tmp/adapter/data/info.simcard";
  for (const FileType& type : kTypes) {
    std::filesystem::remove(path);
    EXPECT_EQ(capi_make_config_file(type.type), 0);
    const bool refreshes = type.type == 0 || type.type == 2 || type.type == 5;
    EXPECT_EQ(exists(path), refreshes) << type.path;
    if (refreshes) {
      EXPECT_EQ(read_lines(path).at(1), "ICCID=" + setting("sim_info", "ICCID"));
    }
  }
}

TEST_F(StackFileTest, ThreeTypesDeleteTheSimFileOfAMissingSim) {
  for (const FileType& type : kTypes) {
    write_file("/tmp/info.simcard", "old");
    EXPECT_EQ(capi_make_config_file(type.type), 0);
    const bool refreshes = type.type == 0 || type.type == 2 || type.type == 5;
    EXPECT_EQ(exists("/tmp/info.simcard"), !refreshes) << type.path;
  }
}

TEST_F(StackFileTest, TheOtherTypesDoNotTakeLock10) {
  Baton held;
  const Process holder([&] {
    capi_critical_section_lock(10);
    held.pass();
    pause();
  });
  held.await();
  for (const unsigned type : {1u, 3u, 4u, 6u}) make(type);
  EXPECT_EQ(lock_value(10), 0);
}

TEST_F(StackFileTest, TheRefreshTakesLock10InsideLock0) {
  ASSERT_EQ(capi_critical_section_lock(10), 0);
  Process other([] { EXPECT_EQ(capi_make_config_file(0), 0); });
  const auto waits_for_lock_10 = [] {
    const int set = semget(ftok("/tmp/m_data", 108), 19, 0666);
    return semctl(set, 10, GETNCNT) == 1;
  };
  while (!waits_for_lock_10()) std::this_thread::yield();
  EXPECT_EQ(lock_value(0), 0);
  EXPECT_EQ(capi_critical_section_unlock(10), 0);
  EXPECT_TRUE(other.succeeded());
}

TEST_F(StackFileTest, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  for (const FileType& type : kTypes) EXPECT_EQ(capi_make_config_file(type.type), 0);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(StackFileTest, OfASnapshotIsTheOneOfTheRecordWrittenElsewhere) {
  load_all_keys();
  cfg_shared_record snapshot;
  ASSERT_EQ(capi_snapshot_take(&snapshot), 0);
  for (const FileType& type : kTypes) {
    const std::string expected = make(std::min(type.type, 6U));
    std::filesystem::remove(type.path);
    EXPECT_EQ(capi_snapshot_write_config_file(&snapshot, type.type, "/tmp/elsewhere"), 0);
    EXPECT_EQ(read_file("/tmp/elsewhere"), expected);
    EXPECT_FALSE(std::filesystem::exists(type.path));
  }
}

TEST_F(StackFileTest, OfASnapshotHasTheValuesOfTheSnapshot) {
  cfg_shared_record snapshot{};
  strcpy(snapshot.voice_basic.country, "elsewhere");
  EXPECT_EQ(capi_snapshot_write_config_file(&snapshot, 1, "/tmp/elsewhere"), 0);
  EXPECT_THAT(read_file("/tmp/elsewhere"), HasSubstr("countrycode=elsewhere\n"));
}

TEST_F(StackFileTest, OfASnapshotThatCannotBeCreatedFails) {
  const cfg_shared_record snapshot{};
  EXPECT_EQ(capi_snapshot_write_config_file(&snapshot, 1, "/nowhere/file"), -1);
  EXPECT_EQ(capi_snapshot_write_config_file(&snapshot, 1, nullptr), -1);
  EXPECT_EQ(capi_snapshot_write_config_file(nullptr, 1, "/tmp/never"), -1);
  EXPECT_FALSE(std::filesystem::exists("/tmp/never"));
}

}  // namespace
}  // namespace capi::test
