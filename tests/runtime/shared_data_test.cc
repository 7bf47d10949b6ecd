// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/mount.h>

#include <climits>
#include <filesystem>

#include "capi/runtime.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kRegFile[] = "/tmp/data/shared_line_reg_status";
constexpr char kCallFile[] = "/tmp/data/shared_call_state_info";
constexpr char kPhoneFile[] = "/tmp/data/shared_phone_status";

constexpr char kNoReg[] = "line=0,regstatus=,vm=0,noe911=0,simdeactived=0,callfailed=0";
constexpr char kNoCall[] =
    "line=0,state1=0,name1=,number1=,state2=0,name2=,number2=,state3=0,name3=,number3=";
constexpr char kNoPhone[] = "line=0,hook=0,incoming=0";

class SharedDataTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    std::filesystem::remove_all("/tmp/data");
    start_master();
    std::filesystem::create_directory("/tmp/data");
    strcpy(segment().directory[1], "/tmp/data");
  }

  static void expect_files(const std::string& reg, const std::string& call,
                           const std::string& phone) {
    EXPECT_EQ(read_file(kRegFile), reg);
    EXPECT_EQ(read_file(kCallFile), call);
    EXPECT_EQ(read_file(kPhoneFile), phone);
  }
};

std::string both(const std::string& first, const std::string& second) {
  return first + "\n" + second;
}

capi_shared_reg_summary reg_summary() {
  capi_shared_reg_summary summary{};
  summary.line = 1;
  memset(summary.opaque, 'o', sizeof summary.opaque);
  strcpy(summary.regstatus, "registered");
  summary.vm = 2;
  summary.noe911 = 3;
  summary.simdeactived = 4;
  summary.callfailed = -5;
  return summary;
}

capi_shared_call_state call_state() {
  capi_shared_call_state state{};
  state.line = 2;
  for (int i = 0; i < 3; ++i) {
    state.call[i].state = i + 4;
    snprintf(state.call[i].number, sizeof state.call[i].number, "555000%d", i);
    snprintf(state.call[i].name, sizeof state.call[i].name, "caller %d", i);
  }
  return state;
}

constexpr char kReg[] = "line=1,regstatus=registered,vm=2,noe911=3,simdeactived=4,callfailed=-5";
constexpr char kCall[] =
    "line=2,state1=4,name1=caller 0,number1=5550000,state2=5,name2=caller 1,number2=5550001,"
    "state3=6,name3=caller 2,number3=5550002";

TEST_F(SharedDataTest, ALineEndInAValueMakesNoSecondLine) {
  capi_shared_reg_summary reg{};
  strcpy(reg.regstatus, "ok\nline=1");
  capi_shared_call_state call{};
  strcpy(call.call[0].name, "a\nb");
  strcpy(call.call[2].number, "1\r\n2");
  EXPECT_EQ(capi_set_shared_data(0, &reg), 0);
  EXPECT_EQ(capi_set_shared_data(2, &call), 0);
  expect_files(
      both("line=0,regstatus=ok,vm=0,noe911=0,simdeactived=0,callfailed=0", kNoReg),
      both("line=0,state1=0,name1=a,number1=,state2=0,name2=,number2=,state3=0,name3=,number3=1",
           kNoCall),
      both(kNoPhone, kNoPhone));
}

TEST_F(SharedDataTest, EveryTypeHasItsBlockAndItsLine) {
  const capi_shared_reg_summary reg = reg_summary();
  const capi_shared_call_state call = call_state();
  const capi_shared_phone_status phone{2, 1, -1};
  EXPECT_EQ(capi_set_shared_data(0, &reg), 0);
  expect_files(both(kReg, kNoReg), both(kNoCall, kNoCall), both(kNoPhone, kNoPhone));
  EXPECT_EQ(capi_set_shared_data(1, &reg), 0);
  expect_files(both(kReg, kReg), both(kNoCall, kNoCall), both(kNoPhone, kNoPhone));
  EXPECT_EQ(capi_set_shared_data(3, &call), 0);
  expect_files(both(kReg, kReg), both(kNoCall, kCall), both(kNoPhone, kNoPhone));
  EXPECT_EQ(capi_set_shared_data(2, &call), 0);
  expect_files(both(kReg, kReg), both(kCall, kCall), both(kNoPhone, kNoPhone));
  EXPECT_EQ(capi_set_shared_data(5, &phone), 0);
  expect_files(both(kReg, kReg), both(kCall, kCall), both(kNoPhone, "line=2,hook=1,incoming=-1"));
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  expect_files(both(kReg, kReg), both(kCall, kCall),
               both("line=2,hook=1,incoming=-1", "line=2,hook=1,incoming=-1"));
  EXPECT_EQ(memcmp(&segment().shared_reg_summary[0], &reg, sizeof reg), 0);
  EXPECT_EQ(memcmp(&segment().shared_call_state[1], &call, sizeof call), 0);
  EXPECT_EQ(memcmp(&segment().shared_phone_status[1], &phone, sizeof phone), 0);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SharedDataTest, AnUnknownTypeIsLoggedAndTheFilesAreWrittenAllTheSame) {
  char block[512] = {};
  for (const int type : {6, -1, INT_MIN}) {
    std::filesystem::remove(kRegFile);
    std::filesystem::remove(kCallFile);
    std::filesystem::remove(kPhoneFile);
    EXPECT_EQ(capi_set_shared_data(type, block), -1);
    expect_files(both(kNoReg, kNoReg), both(kNoCall, kNoCall), both(kNoPhone, kNoPhone));
    EXPECT_EQ(captured_log(),
              lines({{kLogErr, "capi_cfg_backend_set_shared_data",
                      "not support share data type " + std::to_string(type) + "!"},
                     {kLogNotice, "capi_set_shared_data", "Unable to set shared data!"}}));
    clear_log();
  }
}

TEST_F(SharedDataTest, NullChangesNothing) {
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(capi_set_shared_data(4, nullptr), -1);
  EXPECT_EQ(segment().shared_phone_status[0].hook, 1);
  EXPECT_EQ(captured_log(),
            lines({{kLogNotice, "capi_set_shared_data", "Unable to set shared data!"}}));
}

TEST_F(SharedDataTest, WithoutASegmentNothingIsWritten) {
  capi_uninit();
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), -1);
  EXPECT_EQ(capi_set_shared_data(6, &phone), -1);
  const LogLine failure{kLogNotice, "capi_set_shared_data", "Unable to set shared data!"};
  EXPECT_EQ(captured_log(), lines({failure, failure}));
  EXPECT_FALSE(exists("/tmp/shared_phone_status"));
  EXPECT_FALSE(exists(kPhoneFile));
}

TEST_F(SharedDataTest, TheBackendDoesNotLogTheFailure) {
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_cfg_backend_set_shared_data(4, &phone), 0);
  EXPECT_EQ(capi_cfg_backend_set_shared_data(4, nullptr), -1);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SharedDataTest, TextsMayLackTheirTerminator) {
  capi_shared_reg_summary reg = reg_summary();
  memset(reg.regstatus, 'r', sizeof reg.regstatus);
  capi_shared_call_state call{};
  for (capi_shared_call& one : call.call) {
    one.state = INT32_MIN;
    memset(one.number, '1', sizeof one.number);
    memset(one.name, 'n', sizeof one.name);
  }
  call.line = INT32_MIN;
  for (const int type : {0, 1}) EXPECT_EQ(capi_set_shared_data(type, &reg), 0);
  for (const int type : {2, 3}) EXPECT_EQ(capi_set_shared_data(type, &call), 0);
  const std::string reg_line =
      "line=1,regstatus=" + std::string(64, 'r') + ",vm=2,noe911=3,simdeactived=4,callfailed=-5";
  const std::string name(32, 'n');
  const std::string number(32, '1');
  const std::string low = "-2147483648";
  const std::string call_line = "line=" + low + ",state1=" + low + ",name1=" + name +
                                ",number1=" + number + ",state2=" + low + ",name2=" + name +
                                ",number2=" + number + ",state3=" + low + ",name3=" + name +
                                ",number3=" + number;
  expect_files(both(reg_line, reg_line), both(call_line, call_line), both(kNoPhone, kNoPhone));
}

TEST_F(SharedDataTest, OldFilesAreReplaced) {
  write_file(kPhoneFile, std::string(5000, 'x'));
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(read_file(kPhoneFile), both("line=1,hook=1,incoming=1", kNoPhone));
}

TEST_F(SharedDataTest, AFileThatCannotBeWrittenDoesNotMatter) {
  std::filesystem::create_directory(kCallFile);
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(read_file(kPhoneFile), both("line=1,hook=1,incoming=1", kNoPhone));
  std::filesystem::remove_all("/tmp/data");
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SharedDataTest, OnAFullDiskTheOldFilesStayAndThatIsLogged) {
  ASSERT_EQ(mount("tmpfs", "/tmp/data", "tmpfs", 0, "size=4k"), 0);
  write_file(kPhoneFile, "old");
  clear_log();
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(captured_log(kLogWarning).back(),
            (LogLine{kLogWarning, "utils_write_to_file",
                     std::string("failed to write ") + kPhoneFile +
                         ", reason [No space left on device]"}));
  EXPECT_EQ(captured_log(kLogWarning).size(), 3u);
  EXPECT_EQ(read_file(kPhoneFile), "old");
  umount("/tmp/data");
}

TEST_F(SharedDataTest, WithoutADataDirectoryTheFilesAreInTmp) {
  segment() = {};  // as before the master
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  for (const char* name :
       {"/shared_line_reg_status", "/shared_call_state_info", "/shared_phone_status"}) {
    EXPECT_FALSE(exists(name));
    EXPECT_TRUE(exists(std::string("/tmp") + name)) << name;
  }
}

TEST_F(SharedDataTest, AFileWhosePathDoesNotFitIsNotWritten) {
  // "/shared_phone_status" fits behind 235 characters, the two longer names do not.
  const std::string dir = "/tmp/data/" + std::string(112, 'd') + "/" + std::string(112, 'd');
  ASSERT_EQ(dir.size(), 235u);
  std::filesystem::create_directories(dir);
  strcpy(segment().directory[1], dir.c_str());
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(read_file(dir + "/shared_phone_status"), both("line=1,hook=1,incoming=1", kNoPhone));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(SharedDataTest, ADirectoryOfFullLengthIsNoHarm) {
  memset(segment().directory[1], 'd', sizeof segment().directory[1]);
  memcpy(segment().directory[1], "/tmp/", 5);
  const capi_shared_phone_status phone{1, 1, 1};
  EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  EXPECT_EQ(segment().shared_phone_status[0].hook, 1);
}

TEST_F(SharedDataTest, OtherProcessesPublishIntoTheSameFiles) {
  in_other_process([] {
    const capi_shared_phone_status phone{1, 1, 0};
    EXPECT_EQ(capi_set_shared_data(4, &phone), 0);
  });
  in_other_process([] {
    const capi_shared_phone_status phone{2, 0, 1};
    EXPECT_EQ(capi_set_shared_data(5, &phone), 0);
  });
  EXPECT_EQ(read_file(kPhoneFile), both("line=1,hook=1,incoming=0", "line=2,hook=0,incoming=1"));
}

}  // namespace
}  // namespace capi::test
