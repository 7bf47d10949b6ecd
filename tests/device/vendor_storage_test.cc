// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/sem.h>

#include <filesystem>
#include <thread>

#include "capi/device.h"
#include "support/adapter.h"
#include "support/ask.h"

namespace capi::test {
namespace {

constexpr char kFile[] = "/tmp/nv/info.ims_voice";
constexpr char kGet[] = "capi_get_quorble_info";
constexpr char kSet[] = "capi_set_quorble_info";

const std::string kBlock(484, 'b');
const std::string kOther(484, 'o');

class VendorStorageTest : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    std::filesystem::remove_all("/tmp/nv");
    start_master();
    std::filesystem::create_directory("/tmp/nv");
    strcpy(segment().directory[4], "/tmp/nv");
  }

  // The whole buffer, and what was behind it.
  static Answer get(int type, int len, size_t room = 0) {
    const auto size = static_cast<size_t>(std::max(len, 0));
    std::string buf(std::max(size, room) + 64, '~');
    const int result = capi_get_quorble_info(type, buf.data(), len);
    EXPECT_EQ(buf.substr(std::max(size, room)), std::string(64, '~'));
    return {result, buf.substr(0, std::max(size, room))};
  }

  static int set(int type, const std::string& block) {
    return capi_set_quorble_info(type, block.data(), static_cast<int>(block.size()));
  }

  static std::string stored_voice_block() {
    return {reinterpret_cast<const char*>(segment().ims_voice), 484};
  }

  static std::string stored_vendor_block() {
    return {reinterpret_cast<const char*>(segment().vendor), 160};
  }
};

std::string zeros(size_t count) { return std::string(count, '\0'); }

// The text that starts in a buffer.
std::string text_at(const std::string& buf, size_t position) {
  return buf.substr(position).c_str();
}

TEST_F(VendorStorageTest, TheImsVoiceBlockGoesToSegmentAndFile) {
  EXPECT_EQ(set(0, kBlock), 0);
  EXPECT_EQ(stored_voice_block(), kBlock);
  EXPECT_EQ(read_file(kFile), kBlock);
  EXPECT_EQ(get(0, 484), (Answer{0, kBlock}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(VendorStorageTest, TheFileOutweighsTheSegment) {
  EXPECT_EQ(set(0, kBlock), 0);
  write_file(kFile, kOther + "and more");
  EXPECT_EQ(get(0, 484), (Answer{0, kOther}));
}

TEST_F(VendorStorageTest, WithoutAFileTheSegmentBlockStaysInTheBuffer) {
  EXPECT_EQ(set(0, kBlock), 0);
  std::filesystem::remove(kFile);
  EXPECT_EQ(get(0, 484), (Answer{-1, kBlock}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(VendorStorageTest, AnotherLengthGetsTheSegmentBlockAndFails) {
  EXPECT_EQ(set(0, kBlock), 0);
  write_file(kFile, kOther);
  EXPECT_EQ(get(0, 100, 484), (Answer{-1, kBlock}));
  EXPECT_EQ(get(0, 0, 484), (Answer{-1, kBlock}));
  EXPECT_EQ(get(0, -1, 484), (Answer{-1, kBlock}));
  EXPECT_EQ(get(0, 500), (Answer{-1, kBlock + zeros(16)}));
}

TEST_F(VendorStorageTest, AnotherLengthSetsTheSegmentBlockAndFails) {
  for (const int len : {100, 485, 0, -484}) {
    EXPECT_EQ(set(0, kOther), 0);
    EXPECT_EQ(capi_set_quorble_info(0, kBlock.data(), len), -1) << len;
    EXPECT_EQ(stored_voice_block(), kBlock) << len;
    EXPECT_EQ(read_file(kFile), kOther) << len;
  }
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(VendorStorageTest, AShortFileCannotBeRead) {
  EXPECT_EQ(set(0, kBlock), 0);
  write_file(kFile, "short");
  EXPECT_EQ(get(0, 484), (Answer{-1, "short" + zeros(479)}));
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kGet,
                    "Failed to read data from file /tmp/nv/info.ims_voice, reason=[Success]"}}));
}

TEST_F(VendorStorageTest, ADirectoryIsNoFile) {
  std::filesystem::create_directory(kFile);
  EXPECT_EQ(get(0, 484), (Answer{-1, zeros(484)}));
  EXPECT_EQ(set(0, kBlock), -1);
  EXPECT_EQ(stored_voice_block(), kBlock);  // the segment comes first
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kGet,
              "Failed to read data from file /tmp/nv/info.ims_voice, reason=[Is a directory]"},
             {kLogWarning, kSet,
              "Can not create file /tmp/nv/info.ims_voice, reason=[Is a directory]"}}));
}

TEST_F(VendorStorageTest, AFileThatCannotBeOpenedIsLogged) {
  write_file(kFile, kBlock);
  in_other_process([] {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(get(0, 484), (Answer{-1, zeros(484)}));
    EXPECT_EQ(captured_log(),
              lines({{kLogWarning, kGet,
                      "Can not open file /tmp/nv/info.ims_voice, reason=[Too many open files]"}}));
  });
}

TEST_F(VendorStorageTest, ADirectoryThatIsMissingIsLogged) {
  std::filesystem::remove("/tmp/nv");
  EXPECT_EQ(set(0, kBlock), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kSet,
                    "Can not create file /tmp/nv/info.ims_voice, reason=[No such file or "
                    "directory]"}}));
}

TEST_F(VendorStorageTest, AFullDiskLeavesTheFile) {
  ASSERT_EQ(mount("tmpfs", "/tmp/nv", "tmpfs", 0, "size=8k"), 0);
  const std::string old(484, 'o');
  write_file(kFile, old);
  write_file("/tmp/nv/filler", std::string(4096, 'f'));
  EXPECT_EQ(set(0, kBlock), -1);
  EXPECT_EQ(captured_log(),
            lines({{kLogWarning, kSet,
                    "Failed to write data into file /tmp/nv/info.ims_voice, reason=[No space left "
                    "on device]"}}));
  EXPECT_EQ(read_file(kFile), old);
  umount("/tmp/nv");
}

TEST_F(VendorStorageTest, APathOfMoreThan127CharactersCannotBeOpened) {
  const std::string dir = "/tmp/nv/" + std::string(104, 'd');
  write_file(dir + "d/info.ims_voic", "a stranger's");
  strcpy(segment().directory[4], (dir + "d").c_str());
  EXPECT_EQ(set(0, kBlock), -1);
  EXPECT_EQ(stored_voice_block(), kBlock);  // the segment comes first
  EXPECT_EQ(
      captured_log(),
      lines({{kLogWarning, kSet, "Can not create file , reason=[No such file or directory]"}}));
  EXPECT_EQ(read_file(dir + "d/info.ims_voic"), "a stranger's");
  EXPECT_FALSE(exists(dir + "d/info.ims_voice"));
  EXPECT_EQ(get(0, 484), (Answer{-1, kBlock}));

  std::filesystem::create_directory(dir);
  strcpy(segment().directory[4], dir.c_str());
  EXPECT_EQ(set(0, kBlock), 0);
  EXPECT_EQ(read_file(dir + "/info.ims_voice"), kBlock);
  EXPECT_EQ(get(0, 484), (Answer{0, kBlock}));
}

TEST_F(VendorStorageTest, WithoutAnyDirectoryTheFileIsInTmp) {
  segment() = {};  // as before the master
  EXPECT_EQ(set(0, kBlock), 0);
  EXPECT_FALSE(exists("/info.ims_voice"));
  EXPECT_EQ(read_file("/tmp/info.ims_voice"), kBlock);
  EXPECT_EQ(get(0, 484), (Answer{0, kBlock}));
}

TEST_F(VendorStorageTest, TheFileWaitsForLock10WithoutHoldingLock0) {
  const int set_id = semget(ftok("/tmp/m_data", 'l'), 19, 0666);
  for (const bool setting : {true, false}) {
    ASSERT_EQ(capi_critical_section_lock(10), 0);
    Process other([&] { EXPECT_EQ(setting ? set(0, kBlock) : get(0, 484).result, 0); });
    while (semctl(set_id, 10, GETNCNT) == 0) std::this_thread::yield();
    EXPECT_EQ(lock_value(0), 1);
    EXPECT_EQ(exists(kFile), !setting);
    capi_critical_section_unlock(10);
    EXPECT_TRUE(other.succeeded());
  }
}

TEST_F(VendorStorageTest, TheMsisdnStandsAtByteFour) {
  EXPECT_EQ(get(1, 16), (Answer{0, zeros(16)}));
  strcpy(segment().serving_cell.msisdn, "15550001");
  EXPECT_EQ(get(1, 16), (Answer{0, zeros(4) + "15550001" + zeros(4)}));
  EXPECT_EQ(get(1, 8), (Answer{0, zeros(4) + "155" + zeros(1)}));
  for (const int len : {5, 4, 3, 0}) {
    EXPECT_EQ(get(1, len), (Answer{0, zeros(static_cast<size_t>(len))}));
  }
  EXPECT_EQ(get(1, -1), (Answer{0, ""}));
}

class ServingCellTest : public VendorStorageTest {
 protected:
  void SetUp() override {
    VendorStorageTest::SetUp();
    capi_lte_net_info& info = segment().lte_net_info;
    strcpy(info.act, "7");
    strcpy(info.mcc, "310");
    strcpy(info.mnc, "260");
    strcpy(info.tac, "8465");
    strcpy(info.enbid, "107187");
    strcpy(info.cellid, "196");
    strcpy(info.band, "12");
  }

  static std::pair<int, int> access_and_duplex() {
    capi_serving_cell_info cell{};
    EXPECT_EQ(capi_get_quorble_info(2, &cell, sizeof cell), 0);
    return {cell.access_technology, cell.duplex};
  }
};

TEST_F(ServingCellTest, FieldsStandAtTheirPlaces) {
  const Answer cell = get(2, 300);
  EXPECT_EQ(cell.result, 0);
  int32_t access = 0;
  memcpy(&access, cell.text.data(), sizeof access);
  EXPECT_EQ(access, 8);
  EXPECT_EQ(cell.text[4], 1);
  EXPECT_EQ(cell.text[5], 0);
  EXPECT_EQ(text_at(cell.text, 6), "310");
  EXPECT_EQ(text_at(cell.text, 38), "260");
  EXPECT_EQ(text_at(cell.text, 102), "196");
  EXPECT_EQ(text_at(cell.text, 134), "107187");
  EXPECT_EQ(text_at(cell.text, 230), "8465");
  EXPECT_EQ(cell.text.substr(234), zeros(66));
}

TEST_F(ServingCellTest, AShortBufferGetsWhatFits) {
  const std::string whole = get(2, 256).text;
  for (int len = 0; len <= 256; ++len) {
    std::string expected = whole.substr(0, static_cast<size_t>(len));
    if (len > 6) expected.back() = '\0';
    EXPECT_EQ(get(2, len), (Answer{0, expected}));
  }
  EXPECT_EQ(get(2, -1), (Answer{0, ""}));
}

TEST_F(ServingCellTest, AccessAndDuplexFollowTechnologyAndBand) {
  capi_lte_net_info& info = segment().lte_net_info;
  const auto with = [&](const char* act, const char* band) {
    strcpy(info.act, act);
    strcpy(info.band, band);
    return access_and_duplex();
  };
  EXPECT_EQ(with("9", "1"), std::pair(9, 1));
  EXPECT_EQ(with("7", "32"), std::pair(8, 1));
  EXPECT_EQ(with("2", "33"), std::pair(5, 2));
  EXPECT_EQ(with("8", "53"), std::pair(5, 2));
  EXPECT_EQ(with("0", "54"), std::pair(0, 1));
  EXPECT_EQ(with("-1", "0"), std::pair(0, 0));
  EXPECT_EQ(with("", ""), std::pair(0, 0));
  EXPECT_EQ(with("x", "-40"), std::pair(0, 0));
}

TEST_F(ServingCellTest, TextsMayLackTheirTerminator) {
  memset(&segment().lte_net_info, '1', sizeof segment().lte_net_info);
  const Answer cell = get(2, 256);
  EXPECT_EQ(text_at(cell.text, 6), "11111111");
  EXPECT_EQ(text_at(cell.text, 230), "11111111");
  EXPECT_EQ(access_and_duplex(), std::pair(5, 1));
}

TEST_F(ServingCellTest, WithoutAnMccThereIsNoCell) {
  segment().lte_net_info.mcc[0] = '\0';
  EXPECT_EQ(get(2, 256), (Answer{-1, zeros(256)}));
}

TEST_F(VendorStorageTest, TheUuidIsAText) {
  EXPECT_EQ(get(3, 8), (Answer{-1, zeros(8)}));
  memset(segment().sys_uuid, 'u', sizeof segment().sys_uuid - 1);
  EXPECT_EQ(get(3, 70), (Answer{0, std::string(63, 'u') + zeros(7)}));
  EXPECT_EQ(get(3, 4), (Answer{0, "uuu" + zeros(1)}));
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(VendorStorageTest, TheVendorBlockIsCopiedBothWays) {
  const std::string block(160, 'v');
  EXPECT_EQ(set(4, block), 0);
  EXPECT_EQ(stored_vendor_block(), block);
  EXPECT_EQ(get(4, 160), (Answer{0, block}));
  in_other_process([&] { EXPECT_EQ(get(4, 160), (Answer{0, block})); });
}

TEST_F(VendorStorageTest, NoMoreOfTheVendorBlockIsCopiedThanBothHold) {
  EXPECT_EQ(set(4, std::string(200, 'v')), 0);
  EXPECT_EQ(stored_vendor_block(), std::string(160, 'v'));
  EXPECT_EQ(get(4, 200), (Answer{0, std::string(160, 'v') + zeros(40)}));
  EXPECT_EQ(get(4, 10), (Answer{0, std::string(10, 'v')}));
  EXPECT_EQ(set(4, "new"), 0);
  EXPECT_EQ(stored_vendor_block(), "new" + std::string(157, 'v'));
  EXPECT_EQ(capi_set_quorble_info(4, "x", -1), 0);
  EXPECT_EQ(stored_vendor_block(), "new" + std::string(157, 'v'));
}

TEST_F(VendorStorageTest, AnUnknownTypeZeroesTheBuffer) {
  EXPECT_EQ(get(5, 16), (Answer{-1, zeros(16)}));
  EXPECT_EQ(get(-1, 16), (Answer{-1, zeros(16)}));
  EXPECT_EQ(get(5, 0), (Answer{-1, ""}));
  EXPECT_EQ(capi_get_quorble_info(5, nullptr, 16), -1);
}

TEST_F(VendorStorageTest, UnknownTypesAreLogged) {
  EXPECT_EQ(get(5, 10).result, -1);
  EXPECT_EQ(get(-1, 10).result, -1);
  for (const int type : {1, 2, 3, 5}) EXPECT_EQ(set(type, "text"), -1);
  EXPECT_EQ(captured_log(), lines({{kLogErr, kGet, "OMG,please fix me(info_type=5)"},
                                   {kLogErr, kGet, "OMG,please fix me(info_type=-1)"},
                                   {kLogErr, kSet, "OMG,please fix me (info_type=1)"},
                                   {kLogErr, kSet, "OMG,please fix me (info_type=2)"},
                                   {kLogErr, kSet, "OMG,please fix me (info_type=3)"},
                                   {kLogErr, kSet, "OMG,please fix me (info_type=5)"}}));
}

TEST_F(VendorStorageTest, NullFails) {
  for (const int type : {0, 1, 2, 3, 4}) EXPECT_EQ(capi_get_quorble_info(type, nullptr, 484), -1);
  for (const int type : {0, 4}) EXPECT_EQ(capi_set_quorble_info(type, nullptr, 484), -1);
  EXPECT_EQ(stored_voice_block(), zeros(484));
}

TEST_F(VendorStorageTest, WithoutAContextEverythingFails) {
  capi_uninit();
  for (const int type : {0, 1, 2, 3, 4}) {
    EXPECT_EQ(get(type, 484), (Answer{-1, zeros(484)}));
  }
  EXPECT_EQ(set(0, kBlock), -1);
  EXPECT_EQ(set(4, kBlock), -1);
  EXPECT_FALSE(exists(kFile));
}

}  // namespace
}  // namespace capi::test
