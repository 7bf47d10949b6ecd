// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/image.h"

#include <cstring>
#include <memory>

#include "sms_files.h"

namespace capi::test {
namespace {

// A copy of exactly this size, so that a sanitizer sees a read behind its end.
class Bytes {
 public:
  explicit Bytes(const std::string& bytes)
      : size_(bytes.size()), bytes_(std::make_unique<uint8_t[]>(bytes.size())) {
    memcpy(bytes_.get(), bytes.data(), bytes.size());
  }
  std::span<const uint8_t> span() const { return {bytes_.get(), size_}; }

 private:
  size_t size_;
  std::unique_ptr<uint8_t[]> bytes_;
};

SmsVerdict check(const std::string& bytes) { return check_sms_image(Bytes(bytes).span()); }

SmsFault fault_of(const std::string& bytes) { return check(bytes).fault; }

void expect_length_fault(const std::string& bytes, uint32_t length) {
  const SmsVerdict verdict = check(bytes);
  EXPECT_EQ(verdict.fault, SmsFault::Length);
  EXPECT_EQ(verdict.wrong_number, length);
}

// An image in memory that one more message fits behind.
class Image {
 public:
  explicit Image(const std::string& bytes = header({}))
      : memory_(bytes.begin(), bytes.end()), image_(grown(), bytes.size()) {}

  SmsImage* operator->() { return &image_; }
  std::string bytes() const {
    return {reinterpret_cast<const char*>(image_.bytes().data()), image_.bytes().size()};
  }

 private:
  uint8_t* grown() {
    memory_.resize(memory_.size() + 300000);
    return memory_.data();
  }

  std::vector<uint8_t> memory_;
  SmsImage image_;
};

std::vector<std::string> imsis_in(const std::string& file) {
  return {file.substr(24, 16).c_str(), file.substr(40, 16).c_str()};
}

TEST(SmsImageTest, AHeaderWithoutMessagesIsSound) {
  EXPECT_EQ(fault_of(header({})), SmsFault::None);
  EXPECT_EQ(header({}).size(), 56u);
}

TEST(SmsImageTest, AFileOfMessagesOfAnyTextSizeIsSound) {
  EXPECT_EQ(fault_of(sms_file({{.text = ""}, {.text = "x"}, {.text = std::string(39102, 'y')}})),
            SmsFault::None);
  EXPECT_EQ(fault_of(sms_file({{.text = std::string(50000, 'z')}})), SmsFault::None);
}

TEST(SmsImageTest, TwoHundredMessagesAreSoundAndOneMoreIsNot) {
  EXPECT_EQ(fault_of(sms_file(std::vector<Message>(200))), SmsFault::None);
  EXPECT_EQ(fault_of(sms_file(std::vector<Message>(201))), SmsFault::Header);
}

TEST(SmsImageTest, TheVersionHasToBeOne) {
  EXPECT_EQ(fault_of(header({.version = 0})), SmsFault::Header);
  EXPECT_EQ(fault_of(header({.version = 2})), SmsFault::Header);
}

TEST(SmsImageTest, AFileThatIsShorterThanItsHeaderIsUnsound) {
  const std::string bytes = header({});
  for (size_t size = 0; size < 56; ++size) {
    EXPECT_EQ(fault_of(bytes.substr(0, size)), size == 0 ? SmsFault::Header : SmsFault::Count);
  }
}

TEST(SmsImageTest, StrayBytesBehindTheHeaderAreUnsound) {
  for (size_t stray = 1; stray <= 8; ++stray) {
    EXPECT_EQ(fault_of(header({}) + std::string(stray, '\0')), SmsFault::Count);
  }
}

TEST(SmsImageTest, StrayBytesBehindTheLastMessageAreUnsound) {
  for (size_t stray = 1; stray <= 8; ++stray) {
    EXPECT_EQ(fault_of(sms_file({{}, {}}) + std::string(stray, 'T')), SmsFault::Count);
  }
}

TEST(SmsImageTest, NineStrayBytesAreTakenForAMessage) {
  const SmsVerdict verdict = check(sms_file({{}}) + u32(0x01020304) + "12345");
  EXPECT_EQ(verdict.fault, SmsFault::Type);
  EXPECT_EQ(verdict.wrong_number, 0x01020304u);
}

TEST(SmsImageTest, AMessageWhoseFixedPartIsCutHasAWrongLength) {
  const std::string whole = header({.count = 1}) + item({.text = ""});
  ASSERT_EQ(whole.size(), 56u + 112);
  for (size_t size = 56 + 9; size < whole.size(); ++size) {
    expect_length_fault(whole.substr(0, size), 104);
  }
  EXPECT_EQ(fault_of(whole), SmsFault::None);
}

TEST(SmsImageTest, ALengthOtherThanTextSizeAnd104StopsTheWalk) {
  const std::string sound = item({});
  for (const uint32_t length : {0u, 104u, 108u, 110u, 0xFFFFFFFFu}) {
    expect_length_fault(header({.count = 2}) + item({}, 0x534D5354, length) + sound, length);
  }
}

TEST(SmsImageTest, AMessageThatReachesBehindTheFileHasAWrongLength) {
  const std::string file = sms_file({{}, {.text = "0123456789"}});
  for (size_t cut = 1; cut <= 10; ++cut) {
    expect_length_fault(file.substr(0, file.size() - cut), 114);
  }
}

TEST(SmsImageTest, LengthsThatOverflowDoNotLeadBackIntoTheFile) {
  for (const uint32_t size : {0xFFFFFFFFu, 0xFFFFFF98u, 0xFFFFFF90u, 0x7FFFFFFFu}) {
    std::string wrapped = item({.text = ""}, 0x534D5354, size + 104);
    wrapped.replace(104, 4, u32(size));
    expect_length_fault(header({.count = 1}) + wrapped, size + 104);
  }
}

TEST(SmsImageTest, TheNumberOfMessagesHasToBeRight) {
  const std::string messages = item({.id = 1}) + item({.id = 2});
  EXPECT_EQ(fault_of(header({.count = 3}) + messages), SmsFault::Count);
  EXPECT_EQ(fault_of(header({.count = 1}) + messages), SmsFault::Count);
  EXPECT_EQ(fault_of(header({.count = 2}) + messages), SmsFault::None);
}

TEST(SmsImageTest, EveryTruncationOfAFileIsUnsound) {
  const std::string file = sms_file({{}, {.text = ""}, {.text = "last"}});
  for (size_t size = 0; size < file.size(); ++size) {
    EXPECT_NE(fault_of(file.substr(0, size)), SmsFault::None) << size;
  }
}

TEST(SmsImageTest, TheWalkSurvivesEveryDamagedByte) {
  const std::string file = sms_file({{}, {.text = ""}, {.text = "last"}});
  for (size_t i = 0; i < file.size(); ++i) {
    for (const int change : {0x01, 0x80, 0xFF}) {
      std::string damaged = file;
      damaged[i] = static_cast<char>(damaged[i] ^ change);
      const Bytes bytes(damaged);
      SmsWalk walk(bytes.span());
      size_t steps = 0;
      while (walk.next()) {
        capi_sms_record record;
        copy_sms(walk.item(), record);
        ++steps;
      }
      EXPECT_LE(steps, 3u);
      EXPECT_LE(walk.end(), damaged.size());
    }
  }
}

TEST(SmsImageTest, TheWalkStaysStoppedAtAFault) {
  const Bytes bytes(header({.count = 2}) + item({}, 1, 109) + item({}));
  SmsWalk walk(bytes.span());
  EXPECT_FALSE(walk.next());
  EXPECT_FALSE(walk.next());
  EXPECT_EQ(walk.end(), 56u);
}

TEST(SmsImageTest, ACopyHasTheBytesOfTheMessageAndNoMore) {
  const Bytes bytes(sms_file({{.text = "hello", .status = 9, .is_read = 1}}));
  SmsWalk walk(bytes.span());
  ASSERT_TRUE(walk.next());
  capi_sms_record record;
  memset(&record, 'x', sizeof record);
  copy_sms(walk.item(), record);
  EXPECT_EQ(from_record(record), (Message{.id = 1, .text = "hello", .status = 9, .is_read = 1}));
  EXPECT_EQ(record.Text[5], 'x');
}

TEST(SmsImageTest, ACopyOfALargerMessageIsCutAtTheRecord) {
  const Bytes bytes(sms_file({{.text = std::string(39103, 'z')}}));
  SmsWalk walk(bytes.span());
  ASSERT_TRUE(walk.next());
  const auto record = std::make_unique<capi_sms_record>();
  copy_sms(walk.item(), *record);
  EXPECT_EQ(record->TextSize, 39103u);
  EXPECT_EQ(record->Text[39101], 'z');
}

TEST(SmsImageTest, AResetImageIsAnEmptyFile) {
  Image image("what was there before and is longer than a header of a file, by a few bytes");
  image->reset(0x1122334455667788);
  EXPECT_EQ(image.bytes(), header({.identity = 0x1122334455667788}));
}

TEST(SmsImageTest, AppendingLaysTheMessageOutBehindTheOthers) {
  const Message first{.id = 1, .text = "first"};
  Message second{.text = "second", .status = 2, .is_read = 1, .imsi = "26201"};
  Image image(sms_file({first}));
  EXPECT_EQ(image->append(to_record(second)), 2u);
  second.id = 2;
  EXPECT_EQ(image.bytes(),
            header({.count = 2, .last_id = 2, .imsi0 = "26201"}) + item(first) + item(second));
}

TEST(SmsImageTest, IdsGoOnFromTheHeaderWhateverTheMessagesHave) {
  Image image(header({.last_id = 41}));
  EXPECT_EQ(image->append(to_record({.id = 7})), 42u);
  EXPECT_EQ(image->append(to_record({.id = 7})), 43u);
  EXPECT_EQ(ids_in(image.bytes()), (std::vector<uint64_t>{42, 43}));
}

TEST(SmsImageTest, ReservedBytesAreCarried) {
  capi_sms_record record = to_record({.text = "t"});
  memcpy(record.reserved, "ab", 2);
  memcpy(record.reserved2, "cdefghij", 8);
  Image image;
  image->append(record);
  EXPECT_EQ(image.bytes().substr(56 + 16, 2), "ab");
  EXPECT_EQ(image.bytes().substr(56 + 20, 8), "cdefghij");
}

TEST(SmsImageTest, TheLastTwoSimsAreRemembered) {
  Image image;
  const auto add = [&](const char* imsi) {
    image->append(to_record({.imsi = imsi}));
    return imsis_in(image.bytes());
  };
  using Imsis = std::vector<std::string>;
  EXPECT_EQ(add("1"), (Imsis{"1", ""}));
  EXPECT_EQ(add("1"), (Imsis{"1", ""}));
  EXPECT_EQ(add("2"), (Imsis{"2", "1"}));
  EXPECT_EQ(add("2"), (Imsis{"2", "1"}));
  EXPECT_EQ(add("3"), (Imsis{"3", "2"}));
  EXPECT_EQ(add("2"), (Imsis{"2", "3"}));
  EXPECT_EQ(add(""), (Imsis{"", "2"}));
  EXPECT_EQ(add("4"), (Imsis{"4", "2"}));  // a slot that is empty does not count
}

TEST(SmsImageTest, AnImsiWithoutATerminatorIsComparedWithinItsField) {
  const std::string imsi = "0123456789012345";
  Image image;
  image->append(to_record({.imsi = imsi}));
  image->append(to_record({.imsi = imsi}));
  EXPECT_EQ(image.bytes().substr(24, 16), imsi);
  EXPECT_EQ(image.bytes().substr(40, 16), std::string(16, '\0'));
  image->append(to_record({.imsi = "0"}));
  EXPECT_EQ(image.bytes().substr(40, 16), imsi);
}

TEST(SmsImageTest, OneMessageMoreThanTwoHundredIsTooLarge) {
  Image image(sms_file(std::vector<Message>(199)));
  image->append(to_record({}));
  EXPECT_FALSE(image->is_too_large());
  image->append(to_record({}));
  EXPECT_TRUE(image->is_too_large());
  image->drop_oldest();
  EXPECT_FALSE(image->is_too_large());
  EXPECT_EQ(messages_in(image.bytes()).front().id, 2u);
}

TEST(SmsImageTest, OneByteMoreThanTheLargestFileIsTooLarge) {
  const std::string text(81920 - 56 - 3 * 112 - 39000, 'a');
  Image image(sms_file({{.text = text}, {.text = ""}}));
  image->append(to_record({.text = std::string(39000, 'b')}));
  EXPECT_EQ(image.bytes().size(), 81920u);
  EXPECT_FALSE(image->is_too_large());

  Image larger(sms_file({{.text = text + "a"}, {.text = ""}}));
  larger->append(to_record({.text = std::string(39000, 'b')}));
  EXPECT_TRUE(larger->is_too_large());
}

TEST(SmsImageTest, RemovingKeepsTheMessagesBeforeAndBehind) {
  const Message a{.id = 3, .text = "a"};
  const Message b{.id = 5, .text = "bb"};
  const Message c{.id = 9, .text = "ccc"};
  for (const auto& [id, left] : std::vector<std::pair<uint64_t, std::vector<Message>>>{
           {3, {b, c}}, {5, {a, c}}, {9, {a, b}}}) {
    Image image(sms_file({a, b, c}));
    EXPECT_TRUE(image->remove(id));
    EXPECT_EQ(image.bytes(), sms_file(left, {.last_id = 9}));
  }
}

TEST(SmsImageTest, NothingIsRemovedForAnUnknownId) {
  const std::string file = sms_file({{.id = 3}, {.id = 5}});
  Image image(file);
  EXPECT_FALSE(image->remove(4));
  EXPECT_EQ(image.bytes(), file);
}

}  // namespace
}  // namespace capi::test
