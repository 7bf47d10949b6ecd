// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the tool says of files against what the library does with them.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>

#include "call_log/image.h"
#include "sms/image.h"
#include "support/adapter.h"
#include "support/files.h"
#include "tools/common/adapter.h"
#include "tools/common/calls_check.h"
#include "tools/common/keys.h"
#include "tools/common/setting_file.h"
#include "tools/common/sms_check.h"

namespace capi::test {
namespace {

constexpr unsigned kSeed = 2026;
constexpr int kTrials = 20000;

std::string listed(const tools::Faults& faults) {
  std::string text;
  for (const tools::Fault& fault : faults) text += fault.text + "\n";
  return text;
}

class Mutation : public testing::Test {
 protected:
  unsigned pick(unsigned count) { return std::uniform_int_distribution(0U, count - 1)(random_); }

  // Overwrites a number in "bytes" with one that may well mean something there.
  template <typename Number>
  void edit(std::string& bytes, size_t offset, unsigned most) {
    const auto number = static_cast<Number>(pick(8) == 0 ? UINT32_MAX - pick(3) : pick(most));
    memcpy(bytes.data() + offset, &number, sizeof number);
  }

  std::mt19937 random_{kSeed};
};

TEST_F(Mutation, OfACallLogIsRefusedByBothOrNeither) {
  const ImageOwner image = new_image();
  make_empty(*image);
  const capi_call_log_record record{};
  for (unsigned i = 0; i < 12; ++i) add_record(*image, i % CAPI_CALL_LOG_TYPES, record);
  const std::string sound(reinterpret_cast<const char*>(image.get()), sizeof *image);
  ASSERT_EQ(listed(tools::check_call_log(sound)), "");
  int refused = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    std::string bytes = sound;
    for (unsigned edits = 1 + pick(3); edits > 0; --edits) {
      if (pick(2) == 0) {
        edit<uint16_t>(bytes, 2 * pick(sizeof(capi_call_log_header) / 2), 16);
      } else {
        const size_t node = offsetof(capi_call_log_image, node) + pick(16) * sizeof record;
        const size_t links[] = {4, 6, 154, 156};
        edit<uint16_t>(bytes, node + links[pick(4)], 16);
      }
    }
    memcpy(image.get(), bytes.data(), sizeof *image);
    const bool is_refused = check(*image).fault != ImageFault::None;
    const tools::Faults faults = tools::check_call_log(bytes);
    ASSERT_EQ(tools::is_usable(faults), !is_refused) << listed(faults) << "trial " << trial;
    if (is_refused) ++refused;
  }
  EXPECT_GT(refused, kTrials / 10);
  EXPECT_LT(refused, kTrials * 9 / 10);
}

TEST_F(Mutation, OfAMessageFileIsRefusedByBothOrNeither) {
  const std::string sound = read_file(source_file("tests/fuzz/corpus/sms/messages.sms"));
  ASSERT_EQ(listed(tools::check_messages(sound)), "");
  int refused = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    std::string bytes = sound;
    if (pick(4) == 0) bytes.resize(pick(static_cast<unsigned>(sound.size()) + 20));
    for (unsigned edits = pick(3); edits > 0 && bytes.size() >= 4; --edits) {
      edit<uint32_t>(bytes, pick(static_cast<unsigned>(bytes.size()) - 3), 300);
    }
    const std::span<const uint8_t> image(reinterpret_cast<const uint8_t*>(bytes.data()),
                                         bytes.size());
    const bool is_refused = check_sms_image(image).fault != SmsFault::None;
    const tools::Faults faults = tools::check_messages(bytes);
    ASSERT_EQ(tools::is_usable(faults), !is_refused) << listed(faults) << "trial " << trial;
    if (is_refused) ++refused;
  }
  EXPECT_GT(refused, kTrials / 10);
  EXPECT_LT(refused, kTrials * 9 / 10);
}

// Every file that the search for hostile ones has found worth keeping.
TEST(MessageFile, OfTheCorpusIsRefusedByBothOrNeither) {
  for (const char* name :
       {"cut", "empty", "full", "messages", "same_id", "stray", "type", "version", "wrapped"}) {
    const std::string bytes =
        read_file(source_file(std::string("tests/fuzz/corpus/sms/") + name + ".sms"));
    const std::span<const uint8_t> image(reinterpret_cast<const uint8_t*>(bytes.data()),
                                         bytes.size());
    EXPECT_EQ(tools::is_usable(tools::check_messages(bytes)),
              check_sms_image(image).fault == SmsFault::None)
        << name;
  }
}

// What stands behind the first "=", without the blanks around it.
std::string written_value(const std::string& line) {
  const size_t equals = line.find('=');
  if (equals == std::string::npos) return line;
  const size_t begin = line.find_first_not_of(' ', equals + 1);
  if (begin == std::string::npos) return line;
  return line.substr(begin, line.find_last_not_of(' ') + 1 - begin);
}

class SettingLine : public Adapter {
 protected:
  // What a key has after a file of one line in its section is loaded over another value.
  std::string loaded(const tools::Key& key, const std::string& line) {
    const std::string head = "[" + key.section + "]\n";
    publish(head + key.name + "=77\n" + head + line + "\n");
    return get_config(key.section, key.name);
  }
};

// What may stand behind a key, and what between them.
const std::string kValues[] = {"1",
                               "12",
                               "-3",
                               "0",
                               "2147483647",
                               "2147483648",
                               "on",
                               "3x",
                               "a b",
                               "a#b",
                               "a;b",
                               "#",
                               "=",
                               "a=b",
                               "",
                               " 5 ",
                               "[x]",
                               std::string(15, 'l'),
                               std::string(16, 'l'),
                               std::string(31, 'l'),
                               std::string(32, 'l'),
                               std::string(255, 'l'),
                               std::string(256, 'l'),
                               std::string(1023, 'l'),
                               std::string(1024, 'l'),
                               "\xC3\xA4"};
const std::string kEquals[] = {"=", " = ", "\t=", "", ";=", "_="};

TEST_F(SettingLine, ThatIsNotTakenAsItStandsHasAFinding) {
  start_master();
  std::mt19937 random(kSeed);
  const auto pick = [&](size_t count) {
    return std::uniform_int_distribution<size_t>(0, count - 1)(random);
  };
  int taken = 0;
  constexpr int kLines = 3000;
  for (int trial = 0; trial < kLines; ++trial) {
    const tools::Key& key = tools::all_keys()[pick(tools::all_keys().size())];
    const std::string& value = kValues[pick(std::size(kValues))];
    const std::string line = key.name + kEquals[pick(12) % std::size(kEquals)] + value;
    const auto settings = tools::read_setting_file("[" + key.section + "]\n" + line + "\n");
    const bool is_as_it_stands = loaded(key, line) == written_value(line);
    ASSERT_TRUE(is_as_it_stands || !settings.findings.empty()) << line;
    if (is_as_it_stands) ++taken;
  }
  EXPECT_GT(taken, kLines / 10);
  EXPECT_LT(taken, kLines * 9 / 10);
}

// {"x0": ..., "x1": ...}, so many of them.
std::string object_of(int count, const std::string& value) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += (text.empty() ? "{" : ",") + ("\"x" + std::to_string(i) + "\":" + value);
  }
  return text + "}";
}

TEST(SettingDocument, TellsOfTheFirstUnknownKeysAndHowManyMoreThereAre) {
  const std::string more = R"(,"sms":{"enable":7,"sca":"+1"}})";
  const std::string sections = object_of(6500, "{}");
  for (const auto& [unknown, first] :
       {std::pair(R"({"sip_line_1":)" + object_of(6500, "1"),
                  "there is no key sip_line_1.x0. All keys: capictl config list"),
        std::pair(sections.substr(0, sections.size() - 1), "there is no section \"x0\"")}) {
    const tools::Settings settings = tools::read_document(unknown + more);
    ASSERT_EQ(settings.findings.size(), 22U);
    EXPECT_EQ(settings.findings[0].text, first);
    EXPECT_TRUE(settings.findings[20].text.starts_with("sms.enable: "))
        << settings.findings[20].text;
    EXPECT_EQ(settings.findings[21].text, "there are more unknown keys or sections: 6480");
    EXPECT_TRUE(settings.findings[21].is_error);
    // What a master would take is all there.
    EXPECT_EQ(settings.items.size(), 2U);
  }
}

TEST(SettingDocument, TellsOfEachUnknownKeyWhereTheyAreFew) {
  const auto settings = tools::read_document(R"({"sip_line_1":)" + object_of(20, "1") + "}");
  ASSERT_EQ(settings.findings.size(), 20U);
  EXPECT_EQ(settings.findings[19].text,
            "there is no key sip_line_1.x19. All keys: capictl config list");
}

TEST(SettingDocument, PassesOverWhatStandsForASecretAndNothingElse) {
  for (const char* value : {R"({"set":true})", R"({"set":false})", "\"(set)\"", "\"(not set)\""}) {
    const auto settings =
        tools::read_document(std::string(R"({"sip_line_1":{"auth_password":)") + value + "}}");
    EXPECT_TRUE(settings.findings.empty()) << value;
    EXPECT_TRUE(settings.items.empty()) << value;
  }
  for (const char* value : {R"({"set":1})", R"({"set":"x"})", R"({"Set":true})", "{}", "[true]",
                            "true", R"({"set":true,"set":true})", R"({"set":true,"value":"x"})"}) {
    const auto settings =
        tools::read_document(std::string(R"({"sip_line_1":{"auth_password":)") + value + "}}");
    ASSERT_EQ(settings.findings.size(), 1U) << value;
    EXPECT_EQ(settings.findings[0].text, "sip_line_1.auth_password has to be a text");
  }
  const auto settings = tools::read_document(R"({"sip_line_1":{"auth_name":{"set":true}}})");
  EXPECT_EQ(settings.findings.size(), 1U);
}

TEST(SettingDocument, MayHaveTheSignsOfAnEscapeThatIsNone) {
  const auto settings = tools::read_document(R"({"sip_line_1":{"display_name":"a\\u0000"}})");
  ASSERT_EQ(settings.items.size(), 1U);
  EXPECT_EQ(settings.items[0].value, "a\\u0000");
  EXPECT_ANY_THROW(tools::read_document(R"({"sip_line_1":{"display_name":"a\u0000"}})"));
}

TEST(KeysOfASection, AreThoseOfItsNameOrOfItsNumbers) {
  const auto sections_of = [](const std::string& name) {
    std::set<std::string> sections;
    for (const tools::Key* key : tools::keys_of(name)) sections.insert(key->section);
    return sections;
  };
  using Names = std::set<std::string>;
  EXPECT_EQ(sections_of("sip_line"), (Names{"sip_line_1", "sip_line_2"}));
  EXPECT_EQ(sections_of("sip_line_2"), Names{"sip_line_2"});
  EXPECT_EQ(sections_of("sip_registration"), Names{"sip_registration"});
  EXPECT_EQ(sections_of("speed_dial"), Names{"speed_dial"});
  EXPECT_EQ(sections_of("").size(), tools::all_sections().size());
  for (const char* name : {"sip", "voice", "call", "sip_", "sip_line_", "sip_line_3", "sip_line_%d",
                           "sip_line_01", "hw"}) {
    EXPECT_THROW(tools::keys_of(name), tools::Failure) << name;
  }
}

}  // namespace
}  // namespace capi::test
