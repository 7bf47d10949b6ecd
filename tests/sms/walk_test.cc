// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <cstring>
#include <filesystem>

#include "sms_files.h"

namespace capi::test {
namespace {

constexpr char kImsi[] = "001019999999999";
constexpr char kOtherImsi[] = "262011111111111";

// An image is what a file holds, in memory of exactly its size.
class Loaded {
 public:
  explicit Loaded(const std::string& file) : bytes_(file.begin(), file.end()) {}
  operator const void*() const { return bytes_.data(); }

 private:
  std::vector<char> bytes_;
};

using Ids = std::vector<uint64_t>;

class SmsWalkTest : public SmsTest {
 protected:
  void SetUp() override {
    SmsTest::SetUp();
    strcpy(segment().sim_info.IMSI, kImsi);
  }

  // The ids from the first message on, or from the last one back.
  static Ids forwards(const void* image, int all) {
    return walk(image, all, capi_voip_sms_get_first, capi_voip_sms_get_next);
  }
  static Ids backwards(const void* image, int all) {
    return walk(image, all, capi_voip_sms_get_last, capi_voip_sms_get_previous);
  }

  template <typename Start, typename Step>
  static Ids walk(const void* image, int all, Start start, Step step) {
    Ids ids;
    capi_sms_record record{};
    for (int result = start(image, &record, all); result == 0;
         result = step(image, &record, &record, all)) {
      ids.push_back(record.id);
    }
    EXPECT_EQ(from_record(record), from_record({}));  // the failed step cleared it
    return ids;
  }

  // Five messages, of which 2 and 4 are of the SIM in use.
  const Loaded image_{sms_file({{.imsi = kOtherImsi},
                                {.imsi = kImsi},
                                {.imsi = kOtherImsi},
                                {.imsi = kImsi},
                                {.imsi = ""}})};
  capi_sms_record record_ = to_record({.id = 99, .text = "before"});
};

TEST_F(SmsWalkTest, AllMessagesAreVisitedInBothDirections) {
  EXPECT_EQ(forwards(image_, 1), (Ids{1, 2, 3, 4, 5}));
  EXPECT_EQ(backwards(image_, -1), (Ids{5, 4, 3, 2, 1}));
}

TEST_F(SmsWalkTest, TheMessagesOfTheSimInUseAreVisitedInBothDirections) {
  EXPECT_EQ(forwards(image_, 0), (Ids{2, 4}));
  EXPECT_EQ(backwards(image_, 0), (Ids{4, 2}));
}

TEST_F(SmsWalkTest, AMessageIsCopiedWhole) {
  const Message message{.id = 7, .text = "text", .status = 3, .is_read = 1, .imsi = kImsi};
  const Loaded image(sms_file({message}));
  EXPECT_EQ(capi_voip_sms_get_first(image, &record_, 0), 0);
  EXPECT_EQ(from_record(record_), message);
  EXPECT_EQ(record_.Text[4], '\0');  // "before" was longer
}

TEST_F(SmsWalkTest, AMessageLargerThanARecordIsCut) {
  const Loaded image(sms_file({{.text = std::string(50000, 'x')}, {}}));
  EXPECT_EQ(capi_voip_sms_get_first(image, &record_, 1), 0);
  EXPECT_EQ(record_.TextSize, 50000u);
  EXPECT_EQ(capi_voip_sms_get_next(image, &record_, &record_, 1), 0);
  EXPECT_EQ(record_.id, 2u);
}

TEST_F(SmsWalkTest, AnEmptyFileHasNoEnds) {
  const Loaded empty(header({}));
  EXPECT_EQ(capi_voip_sms_get_first(empty, &record_, 1), -1);
  EXPECT_EQ(record_.id, 0u);
  EXPECT_EQ(capi_voip_sms_get_last(empty, &record_, 0), -1);
  EXPECT_EQ(captured_log(kLogNotice),
            lines({{kLogWarning, "capi_voip_sms_get_first", "no short mesage"},
                   {kLogWarning, "capi_voip_sms_get_last", "no short mesage"}}));
}

TEST_F(SmsWalkTest, AFileOfAnotherSimHasNoEndsButIsNotEmpty) {
  const Loaded image(sms_file({{.imsi = kOtherImsi}, {.imsi = kOtherImsi}}));
  EXPECT_EQ(capi_voip_sms_get_first(image, &record_, 0), -1);
  EXPECT_EQ(capi_voip_sms_get_last(image, &record_, 0), -1);
  EXPECT_EQ(captured_log(kLogNotice), lines({}));
  EXPECT_EQ(forwards(image, 1), (Ids{1, 2}));
}

TEST_F(SmsWalkTest, WithoutAnImsiTheMessagesWithoutOneAreSeen) {
  segment().sim_info.IMSI[0] = '\0';
  EXPECT_EQ(forwards(image_, 0), Ids{5});
}

TEST_F(SmsWalkTest, WithoutASimOnlyAllMessagesCanBeVisited) {
  capi_uninit();
  EXPECT_EQ(forwards(image_, 0), Ids{});
  EXPECT_EQ(backwards(image_, 0), Ids{});
  EXPECT_EQ(capi_voip_sms_get_next(image_, &record_, &record_, 0), -1);
  EXPECT_EQ(forwards(image_, 1), (Ids{1, 2, 3, 4, 5}));
}

TEST_F(SmsWalkTest, AnImsiWithoutATerminatorEndsWithItsField) {
  const Loaded image(sms_file({{.imsi = std::string(kImsi) + "7", .local = "7"}, {.imsi = kImsi}}));
  EXPECT_EQ(forwards(image, 0), Ids{2});
}

TEST_F(SmsWalkTest, TheCurrentMessageIsKnownByFourFields) {
  const Message message{.id = 2, .begin_time = 5, .local = "+1", .remote = "+2"};
  const Loaded image(sms_file({{}, message, {}}));
  const auto step = [&](const Message& current) {
    const capi_sms_record record = to_record(current);
    const int next = capi_voip_sms_get_next(image, &record, &record_, 1);
    const int previous = capi_voip_sms_get_previous(image, &record, &record_, 1);
    EXPECT_EQ(next, previous);
    return next;
  };
  EXPECT_EQ(step(message), 0);
  Message other = message;
  other.text = "other";
  other.status = 77;
  other.imsi = "x";
  other.last_time = 0;
  EXPECT_EQ(step(other), 0);
  for (const Message& wrong : {Message{.id = 3, .begin_time = 5, .local = "+1", .remote = "+2"},
                               Message{.id = 2, .begin_time = 6, .local = "+1", .remote = "+2"},
                               Message{.id = 2, .begin_time = 5, .local = "+", .remote = "+2"},
                               Message{.id = 2, .begin_time = 5, .local = "+1", .remote = "+22"}}) {
    EXPECT_EQ(step(wrong), -1);
    EXPECT_EQ(record_.id, 0u);
  }
}

TEST_F(SmsWalkTest, NumbersWithoutATerminatorEndWithTheirFields) {
  const Message message{.local = std::string(24, '1'), .remote = std::string(24, '2')};
  const Loaded image(sms_file({message, message}));
  EXPECT_EQ(forwards(image, 1), (Ids{1, 2}));
}

TEST_F(SmsWalkTest, NothingComesBeforeTheFirstOrBehindTheLast) {
  capi_sms_record current{};
  ASSERT_EQ(capi_voip_sms_get_first(image_, &current, 1), 0);
  EXPECT_EQ(capi_voip_sms_get_previous(image_, &current, &record_, 1), -1);
  ASSERT_EQ(capi_voip_sms_get_last(image_, &current, 1), 0);
  EXPECT_EQ(capi_voip_sms_get_next(image_, &current, &record_, 1), -1);
}

TEST_F(SmsWalkTest, TheCurrentMessageNeedNotQualifyItself) {
  capi_sms_record current{};
  ASSERT_EQ(capi_voip_sms_get_first(image_, &current, 1), 0);
  EXPECT_EQ(capi_voip_sms_get_next(image_, &current, &record_, 0), 0);
  EXPECT_EQ(record_.id, 2u);
  ASSERT_EQ(capi_voip_sms_get_last(image_, &current, 1), 0);
  EXPECT_EQ(capi_voip_sms_get_previous(image_, &current, &record_, 0), 0);
  EXPECT_EQ(record_.id, 4u);
}

TEST_F(SmsWalkTest, AMissingArgumentClearsTheRecord) {
  const auto expect_refused = [&](int result) {
    EXPECT_EQ(result, -1);
    EXPECT_EQ(from_record(record_), from_record({}));
    record_ = to_record({.id = 99});
  };
  const capi_sms_record current = to_record({.id = 1});
  expect_refused(capi_voip_sms_get_first(nullptr, &record_, 1));
  expect_refused(capi_voip_sms_get_last(nullptr, &record_, 1));
  expect_refused(capi_voip_sms_get_next(nullptr, &current, &record_, 1));
  expect_refused(capi_voip_sms_get_previous(nullptr, &current, &record_, 1));
  expect_refused(capi_voip_sms_get_next(image_, nullptr, &record_, 1));
  expect_refused(capi_voip_sms_get_previous(image_, nullptr, &record_, 1));
  EXPECT_EQ(capi_voip_sms_get_first(image_, nullptr, 1), -1);
  EXPECT_EQ(capi_voip_sms_get_last(image_, nullptr, 1), -1);
  EXPECT_EQ(capi_voip_sms_get_next(image_, &current, nullptr, 1), -1);
  EXPECT_EQ(capi_voip_sms_get_previous(image_, &current, nullptr, 1), -1);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsWalkTest, AWalkKeepsToWhatWasLoaded) {
  add(CAPI_SMS_RECEIVED, {{.text = "a"}, {.text = "b"}});
  void* image = nullptr;
  ASSERT_EQ(capi_voip_sms_load(CAPI_SMS_RECEIVED, &image), 0);
  EXPECT_EQ(capi_voip_sms_clean(CAPI_SMS_RECEIVED), 0);
  EXPECT_EQ(forwards(image, 1), (Ids{1, 2}));
  EXPECT_EQ(capi_voip_sms_unload(&image), 0);
}

// ---- dumping

class SmsDumpTest : public SmsTest {
 protected:
  static int collect(const capi_sms_record* record, void* context) {
    EXPECT_EQ(lock_value(CAPI_LOCK_VOICE_SMS), 1);
    static_cast<std::vector<Message>*>(context)->push_back(from_record(*record));
    return -1;  // which nobody looks at
  }

  std::vector<Message> seen_;
};

TEST_F(SmsDumpTest, EveryMessageIsHandedOutInOrder) {
  const std::vector<Message> messages = messages_in(
      add(CAPI_SMS_RECEIVED,
          {{.text = "first"}, {.text = std::string(39102, 'x')}, {.text = "", .imsi = "1"}}));
  EXPECT_EQ(capi_voip_sms_dump(CAPI_SMS_RECEIVED, collect, &seen_), 0);
  EXPECT_EQ(seen_, messages);
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsDumpTest, AShortMessageDoesNotShowTheTextOfALongerOne) {
  add(CAPI_SMS_RECEIVED, {{.text = "a longer text"}, {.text = "b"}});
  EXPECT_EQ(capi_voip_sms_dump(
                0,
                [](const capi_sms_record* record, void*) {
                  EXPECT_EQ(record->Text[record->TextSize], '\0');
                  return 0;
                },
                nullptr),
            0);
}

TEST_F(SmsDumpTest, AFullFileIsHandedOutWhole) {
  write_file(kReceived, sms_file(std::vector<Message>(200)));
  EXPECT_EQ(capi_voip_sms_dump(CAPI_SMS_RECEIVED, collect, &seen_), 0);
  EXPECT_EQ(seen_.size(), 200u);
  EXPECT_EQ(seen_.back().id, 200u);
}

TEST_F(SmsDumpTest, MessagesThatCannotBeToldApartDoNotGoOnForEver) {
  write_file(kReceived, sms_file({{.id = 1}, {.id = 1, .text = "twin"}, {.id = 2}}));
  EXPECT_EQ(capi_voip_sms_dump(CAPI_SMS_RECEIVED, collect, &seen_), 0);
  EXPECT_EQ(seen_.size(), 200u);
}

TEST_F(SmsDumpTest, AnEmptyFileHasNothingToHandOut) {
  EXPECT_EQ(capi_voip_sms_init(), 0);
  clear_log();
  EXPECT_EQ(capi_voip_sms_dump(CAPI_SMS_RECEIVED, collect, &seen_), 0);
  EXPECT_TRUE(seen_.empty());
  EXPECT_EQ(captured_log(), lines({}));
}

TEST_F(SmsDumpTest, AFileThatCannotBeLoadedIsNotDumped) {
  write_file(kReceived, "damaged");
  EXPECT_EQ(capi_voip_sms_dump(CAPI_SMS_RECEIVED, collect, &seen_), -1);
  EXPECT_EQ(capi_voip_sms_dump(2, collect, &seen_), -1);
  EXPECT_TRUE(seen_.empty());
}

TEST_F(SmsDumpTest, BothFilesAreDumpedReceivedFirst) {
  add(CAPI_SMS_SENT, {{.text = "sent"}});
  add(CAPI_SMS_RECEIVED, {{.text = "received"}});
  EXPECT_EQ(capi_voip_sms_dump_all(collect, &seen_), 0);
  EXPECT_EQ(seen_,
            (std::vector<Message>{{.id = 1, .text = "received"}, {.id = 1, .text = "sent"}}));
}

TEST_F(SmsDumpTest, ADamagedFileDoesNotHideTheOther) {
  add(CAPI_SMS_SENT, {{.text = "sent"}});
  write_file(kReceived, "damaged");
  EXPECT_EQ(capi_voip_sms_dump_all(collect, &seen_), 0);
  EXPECT_EQ(seen_.size(), 1u);
}

TEST_F(SmsDumpTest, WithoutACallbackNothingIsLoaded) {
  EXPECT_EQ(capi_voip_sms_dump(CAPI_SMS_RECEIVED, nullptr, nullptr), -1);
  EXPECT_EQ(capi_voip_sms_dump_all(nullptr, nullptr), -1);
  EXPECT_FALSE(exists(kReceived));
}

TEST_F(SmsDumpTest, ACallbackMayUseTheStore) {
  add(CAPI_SMS_RECEIVED, {{}, {}});
  EXPECT_EQ(capi_voip_sms_dump(
                0,
                [](const capi_sms_record* record, void*) {
                  return capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, record->id);
                },
                nullptr),
            0);
  EXPECT_EQ(ids_in(read_file(kReceived)), Ids{});
}

}  // namespace
}  // namespace capi::test
