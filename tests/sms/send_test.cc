// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <cstring>
#include <ctime>
#include <filesystem>

#include "sms_files.h"
#include "support/faults.h"

namespace capi::test {
namespace {

constexpr char kSend[] = "capi_voip_sms_send";
constexpr char kImsi[] = "001019999999999";
constexpr char kVoiceFile[] = "/tmp/info.ims_voice";

class SmsSendTest : public SmsTest {
 protected:
  void SetUp() override {
    SmsTest::SetUp();
    strcpy(segment().sim_info.IMSI, kImsi);
  }

  static void set_ims_number(const std::string& number) {
    std::string block(484, '\0');
    block.replace(448, number.size(), number);
    write_file(kVoiceFile, block);
  }

  static void set_lte_number(const char* number) {
    EXPECT_EQ(capi_config_set("runtime_info", "option_runtime_info_lte_netinfo_msisdn", 0, number),
              0);
    clear_log();
  }

  static int send(const std::string& text = "hi") {
    return capi_voip_sms_send("+15559876543", 4, text.data(), static_cast<uint32_t>(text.size()));
  }

  // The local number that a message gets.
  static std::string local_number() {
    EXPECT_EQ(send(), 0);
    return messages_in(read_file(kSent)).back().local;
  }
};

TEST_F(SmsSendTest, AMessageIsStoredAndTheVoiceApplicationTold) {
  set_lte_number("15551234567");
  const time_t before = time(nullptr);
  EXPECT_EQ(send("hello"), 0);
  const time_t after = time(nullptr);

  const std::vector<Message> messages = messages_in(read_file(kSent));
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_GE(messages[0].begin_time, static_cast<uint32_t>(before));
  EXPECT_LE(messages[0].begin_time, static_cast<uint32_t>(after));
  EXPECT_EQ(messages[0], (Message{.id = 1,
                                  .text = std::string("hello\0\0", 7),
                                  .status = 2,
                                  .is_read = 0,
                                  .begin_time = messages[0].begin_time,
                                  .last_time = 0,
                                  .imsi = kImsi,
                                  .local = "+15551234567",
                                  .remote = "+15559876543",
                                  .text_len = 5,
                                  .type = 4}));
  EXPECT_EQ(new_signals(), std::vector<std::string>{
                               R"(signal json {"msg":"signal","name":"vop_sig_voip_sms_send_out",)"
                               R"("attrs":{"param1":"1","param2":"","param3":""}})"});
  EXPECT_FALSE(exists(kReceived));
}

TEST_F(SmsSendTest, TheLongestTextIsStoredWithItsEnd) {
  const std::string text(39100, 'x');
  EXPECT_EQ(send(text), 0);
  const Message message = messages_in(read_file(kSent)).at(0);
  EXPECT_EQ(message.text_len, 39100u);
  EXPECT_EQ(message.text, text + std::string(2, '\0'));
}

TEST_F(SmsSendTest, AnEmptyTextIsSent) {
  EXPECT_EQ(send(""), 0);
  EXPECT_EQ(messages_in(read_file(kSent)).at(0).text, std::string(2, '\0'));
}

TEST_F(SmsSendTest, ATextMayHoldAnyBytes) {
  const std::string text("\0'\"\xFF\n", 5);
  EXPECT_EQ(send(text), 0);
  EXPECT_EQ(messages_in(read_file(kSent)).at(0).text, text + std::string(2, '\0'));
}

TEST_F(SmsSendTest, AnyOtherArgumentIsRefused) {
  const std::string text(39101, 'x');
  const char* remote = "+1";
  const auto words = [](const void* number, const void* bytes, unsigned length) {
    char line[128];
    snprintf(line, sizeof line, "invalid paramters: pRemoteNum %p, pText %p, TextLen %u", number,
             bytes, length);
    return LogLine{kLogWarning, kSend, line};
  };
  EXPECT_EQ(capi_voip_sms_send(nullptr, 1, text.data(), 1), -1);
  EXPECT_EQ(capi_voip_sms_send(remote, 1, nullptr, 1), -1);
  EXPECT_EQ(capi_voip_sms_send(remote, 1, text.data(), 39101), -1);
  EXPECT_EQ(capi_voip_sms_send(remote, 1, text.data(), 0xFFFFFFFF), -1);
  EXPECT_EQ(captured_log(),
            lines({words(nullptr, text.data(), 1), words(remote, nullptr, 1),
                   words(remote, text.data(), 39101), words(remote, text.data(), 0xFFFFFFFF)}));
  EXPECT_FALSE(exists(kSent));
  EXPECT_EQ(new_signals(), std::vector<std::string>{});
}

TEST_F(SmsSendTest, WithoutASimNothingIsStored) {
  capi_uninit();
  EXPECT_EQ(send(), -1);
  EXPECT_EQ(captured_log(kLogWarning).back(), (LogLine{kLogWarning, kSend, "SIM is not ready"}));
  EXPECT_FALSE(exists("/quorbleconf/ims_data/sm_send"));
  EXPECT_EQ(posted(), std::vector<std::string>{});
}

TEST_F(SmsSendTest, AnImsiThatIsEmptyIsReadAllTheSame) {
  segment().sim_info.IMSI[0] = '\0';
  EXPECT_EQ(send(), 0);
  EXPECT_EQ(messages_in(read_file(kSent)).at(0).imsi, "");
}

TEST_F(SmsSendTest, TheNumberOfTheImsBlockGetsAPlus) {
  set_lte_number("15550000000");
  set_ims_number("15551234567");
  EXPECT_EQ(local_number(), "+15551234567");
}

TEST_F(SmsSendTest, TheNumberOfTheImsBlockGetsAPlusEvenWhereItHasOne) {
  set_ims_number("+15551234567");
  EXPECT_EQ(local_number(), "++15551234567");
}

TEST_F(SmsSendTest, ANumberOfTheImsBlockWithoutATerminatorIsCut) {
  set_ims_number(std::string(36, '7'));
  EXPECT_EQ(local_number(), "+" + std::string(22, '7'));
}

TEST_F(SmsSendTest, WithoutANumberInTheImsBlockTheLteNumberIsTaken) {
  set_ims_number("");
  set_lte_number("15551234567");
  EXPECT_EQ(local_number(), "+15551234567");
  set_lte_number("+15551234567");
  EXPECT_EQ(local_number(), "+15551234567");
}

TEST_F(SmsSendTest, TheImsBlockOfTheRecordDoesNotCountWithoutItsFile) {
  memset(segment().ims_voice, '9', sizeof segment().ims_voice);
  set_lte_number("15551234567");
  EXPECT_EQ(local_number(), "+15551234567");
}

TEST_F(SmsSendTest, ALongLteNumberIsCut) {
  set_lte_number("123456789012345678901234567890");
  EXPECT_EQ(local_number(), "+1234567890123456789012");
  set_lte_number("+123456789012345678901234567890");
  EXPECT_EQ(local_number(), "+1234567890123456789012");
}

TEST_F(SmsSendTest, WithoutAnyNumberTheLocalOneIsEmpty) { EXPECT_EQ(local_number(), ""); }

TEST_F(SmsSendTest, ALongRemoteNumberIsCut) {
  EXPECT_EQ(capi_voip_sms_send("123456789012345678901234567890", 0, "x", 1), 0);
  EXPECT_EQ(messages_in(read_file(kSent)).at(0).remote, "12345678901234567890123");
}

TEST_F(SmsSendTest, AMessageThatCannotBeStoredIsNotAnnounced) {
  std::filesystem::create_directory(kSent);
  EXPECT_EQ(send(), -1);
  EXPECT_EQ(
      captured_log(kLogWarning),
      lines({{kLogWarning, "_vkr_voip_sms_read_file", "fread failed, reason 21: Is a directory"},
             {kLogWarning, kSend, "_vkr_voip_sms_add failed"}}));
  EXPECT_EQ(new_signals(), std::vector<std::string>{});
}

TEST_F(SmsSendTest, WithoutMemoryNothingIsStored) {
  fail_call(Call::Malloc, 1, ENOMEM);
  EXPECT_EQ(send(), -1);
  EXPECT_EQ(captured_log(), lines({{kLogWarning, kSend, "calloc 39206 failed!"}}));
  EXPECT_FALSE(exists(kSent));
}

}  // namespace
}  // namespace capi::test
