// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/schema.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "capi/log.h"
#include "foundation/json.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace capi::test {
namespace {

constexpr char kDocument[] = R"({
  "voice": {
    "volume": {
      "value": "", "default_value": "5", "is_changed": 0, "type": "int",
      "min_value": 0, "max_value": 9, "min_strlen": 1, "max_strlen": 2, "allowed_list": "0-9"
    },
    "Volume": {"value": "loud", "default_value": "low", "is_changed": 2, "type": "string"},
    "volume": {"default_value": "the second of its name"}
  },
  "network": {
    "server": {
      "value": "", "default_value": "", "is_changed": 0, "type": "string", "sub_strtype": "ipv4"
    }
  }
})";

std::string printed(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  body();
  fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

std::string text_or_null(const char* text) { return text != nullptr ? text : "(null)"; }

class Schema : public testing::Test {
 protected:
  void SetUp() override {
    capiv2_log_init(capture_log);
    clear_log();
    write_file("/tmp/schema.json", kDocument);
    root_.reset(vkrJson_Init("/tmp/schema.json"));
    ASSERT_TRUE(root_);
  }

  cJSON* param(const char* section, const char* name) {
    return vkrJson_GetParamObject(vkrJson_GetSectionObject(root_.get(), section), name);
  }

  // A parameter of its own, to be anything.
  cJSON* parsed(const std::string& text) {
    parsed_.reset(cJSON_Parse(text.c_str()));
    EXPECT_TRUE(parsed_) << text;
    return parsed_.get();
  }

  static std::string state(const cJSON* param) {
    int is_changed = -1;
    vkrJson_GetParamIsChanged(param, &is_changed);
    return text_or_null(vkrJson_GetParamValue(param)) + "/" + std::to_string(is_changed);
  }

  static void expect_logged(const char* func, const char* text) {
    const std::vector<LogLine> expected = {{kLogWarning, func, text}};
    EXPECT_EQ(captured_log(), expected);
    clear_log();
  }

  Json root_;
  Json parsed_;
};

TEST_F(Schema, SectionsAndParametersAreFoundByTheirExactName) {
  cJSON* section = vkrJson_GetSectionObject(root_.get(), "voice");
  ASSERT_NE(section, nullptr);
  EXPECT_STREQ(vkrJson_GetSectionName(section), "voice");
  EXPECT_EQ(vkrJson_GetSectionObject(root_.get(), "Voice"), nullptr);
  EXPECT_EQ(vkrJson_GetSectionObject(root_.get(), "voic"), nullptr);
  cJSON* volume = vkrJson_GetParamObject(section, "volume");
  EXPECT_STREQ(vkrJson_GetParamName(volume), "volume");
  EXPECT_STREQ(vkrJson_GetParamDefaultValue(volume), "5");  // the first of two
  EXPECT_STREQ(vkrJson_GetParamDefaultValue(vkrJson_GetParamObject(section, "Volume")), "low");
  EXPECT_EQ(vkrJson_GetParamObject(section, "VOLUME"), nullptr);
}

TEST_F(Schema, GettersTellEveryAttribute) {
  const cJSON* volume = param("voice", "volume");
  EXPECT_STREQ(vkrJson_GetParamValue(volume), "");
  EXPECT_STREQ(vkrJson_GetParamDefaultValue(volume), "5");
  EXPECT_STREQ(vkrJson_GetParamType(volume), "int");
  EXPECT_STREQ(vkrJson_GetParamSubStrType(param("network", "server")), "ipv4");
  EXPECT_STREQ(vkrJson_GetParamAllowedList(volume), "0-9");
  int number = -1;
  EXPECT_EQ(vkrJson_GetParamMinValue(volume, &number), 0);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(vkrJson_GetParamMaxValue(volume, &number), 0);
  EXPECT_EQ(number, 9);
  EXPECT_EQ(vkrJson_GetParamMinStrlen(volume, &number), 0);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(vkrJson_GetParamMaxStrlen(volume, &number), 0);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(vkrJson_GetParamIsChanged(param("voice", "Volume"), &number), 0);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(captured_log().size(), 0u);
}

using TextGetter = const char* (*)(const cJSON*);
using NumberGetter = int (*)(const cJSON*, int*);

constexpr TextGetter kTextGetters[] = {vkrJson_GetParamValue, vkrJson_GetParamDefaultValue,
                                       vkrJson_GetParamType, vkrJson_GetParamSubStrType,
                                       vkrJson_GetParamAllowedList};
constexpr NumberGetter kNumberGetters[] = {vkrJson_GetParamMinValue, vkrJson_GetParamMaxValue,
                                           vkrJson_GetParamMinStrlen, vkrJson_GetParamMaxStrlen,
                                           vkrJson_GetParamIsChanged};

TEST_F(Schema, AttributesThatAreAbsentOrOfAnotherTypeAreNotTold) {
  for (
      const char* text :
      {"{}", "[1]", "7", "null", "\"value\"",
       R"({"VALUE":"a","Default_Value":"a","TYPE":"a","Min_Value":1,"IS_CHANGED":1})",
       R"({"value":1,"default_value":true,"type":null,"sub_strtype":[],"allowed_list":{},)"
       R"("min_value":"1","max_value":true,"min_strlen":null,"max_strlen":[],"is_changed":true})"}) {
    const cJSON* item = parsed(text);
    for (const TextGetter get : kTextGetters) EXPECT_EQ(get(item), nullptr) << text;
    for (const NumberGetter get : kNumberGetters) {
      int number = 77;
      EXPECT_EQ(get(item, &number), -1) << text;
      EXPECT_EQ(number, 77);
    }
  }
}

TEST_F(Schema, NumbersBeyondIntegersAreBounded) {
  int number = 0;
  EXPECT_EQ(vkrJson_GetParamMaxValue(parsed(R"({"max_value":1e300})"), &number), 0);
  EXPECT_EQ(number, INT32_MAX);
  EXPECT_EQ(vkrJson_GetParamMinValue(parsed(R"({"min_value":-1e300})"), &number), 0);
  EXPECT_EQ(number, INT32_MIN);
}

TEST_F(Schema, TheCurrentValueDependsOnIsChanged) {
  EXPECT_STREQ(vkrJson_GetParamCurrentValue(param("voice", "volume")), "5");
  EXPECT_STREQ(vkrJson_GetParamCurrentValue(param("voice", "Volume")), "loud");
  EXPECT_EQ(vkrJson_GetParamCurrentValue(parsed(R"({"default_value":"5"})")), nullptr);
  EXPECT_EQ(vkrJson_GetParamCurrentValue(parsed(R"({"is_changed":1,"default_value":"5"})")),
            nullptr);
  EXPECT_EQ(vkrJson_GetParamCurrentValue(parsed(R"({"is_changed":0,"value":"5"})")), nullptr);
}

TEST_F(Schema, TypesHaveTheirNumbers) {
  const auto number_of = [&](const std::string& attributes) {
    int number = -1;
    const std::string text =
        text_or_null(vkrJson_GetParamTypeNumber(parsed("{" + attributes + "}"), &number));
    return text + " " + std::to_string(number);
  };
  EXPECT_EQ(number_of(R"("type":"bool")"), "bool 0");
  EXPECT_EQ(number_of(R"("type":"int")"), "int 1");
  EXPECT_EQ(number_of(R"("type":"uint")"), "uint 2");
  EXPECT_EQ(number_of(R"("type":"base64")"), "base64 3");
  EXPECT_EQ(number_of(R"("type":"datetime")"), "datetime 4");
  EXPECT_EQ(number_of(R"("type":"string")"), "string 5");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":"odd")"), "string 5");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":7)"), "string 5");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":"ipv4")"), "ipv4 6");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":"ipv6")"), "ipv6 7");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":"mac")"), "mac 8");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":"url")"), "url 9");
  EXPECT_EQ(number_of(R"("type":"string","sub_strtype":"netmask")"), "netmask 10");
  EXPECT_EQ(number_of(R"("type":"int","sub_strtype":"mac")"), "int 1");
  EXPECT_EQ(number_of(R"("type":"float")"), "float 11");
  EXPECT_EQ(number_of(R"("type":"Bool")"), "Bool 11");
  EXPECT_EQ(number_of(R"("type":5)"), "(null) 11");
  EXPECT_EQ(number_of(""), "(null) 11");
}

TEST_F(Schema, AValueIsHeldOnlyWhileItDiffersFromTheDefault) {
  cJSON* volume = param("voice", "volume");
  EXPECT_EQ(vkrJson_SetParamValue(volume, "5"), 1);
  EXPECT_EQ(state(volume), "/0");
  EXPECT_EQ(vkrJson_SetParamValue(volume, "7"), 0);
  EXPECT_EQ(state(volume), "7/1");
  EXPECT_EQ(vkrJson_SetParamValue(volume, "7"), 1);
  EXPECT_EQ(vkrJson_SetParamValue(volume, "a much longer text than before"), 0);
  EXPECT_EQ(state(volume), "a much longer text than before/1");
  EXPECT_EQ(vkrJson_SetParamValue(volume, "5"), 0);
  EXPECT_EQ(state(volume), "/0");
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(Schema, AnotherChangeKeepsTheFlagAsItIs) {
  cJSON* volume = param("voice", "Volume");
  EXPECT_EQ(vkrJson_SetParamValue(volume, "medium"), 0);
  EXPECT_EQ(state(volume), "medium/2");
}

TEST_F(Schema, AStaleValueCountsForNothing) {
  cJSON* item = parsed(R"({"value":"old","default_value":"5","is_changed":0})");
  EXPECT_EQ(vkrJson_SetParamValue(item, "5"), 1);
  EXPECT_EQ(state(item), "old/0");
  EXPECT_EQ(vkrJson_SetParamValue(item, vkrJson_GetParamValue(item)), 0);  // a text of its own
  EXPECT_EQ(state(item), "old/1");
  EXPECT_EQ(vkrJson_SetParamValue(item, vkrJson_GetParamDefaultValue(item)), 0);
  EXPECT_EQ(state(item), "/0");
}

TEST_F(Schema, AValueNeedsItsThreeAttributes) {
  EXPECT_EQ(vkrJson_SetParamValue(parsed(R"({"value":"","default_value":"5"})"), "6"), -1);
  expect_logged("vkrJson_SetParamValue", "+++ Get object is_changed failed.");
  EXPECT_EQ(
      vkrJson_SetParamValue(parsed(R"({"value":"","default_value":"5","is_changed":"0"})"), "6"),
      -1);
  expect_logged("vkrJson_SetParamValue", "+++ Get object is_changed failed.");
  for (const char* text :
       {R"({"default_value":"5","is_changed":0})",
        R"({"value":7,"default_value":"5","is_changed":0})", R"({"value":"","is_changed":0})",
        R"({"value":"","default_value":5,"is_changed":0})"}) {
    EXPECT_EQ(vkrJson_SetParamValue(parsed(text), "6"), -1) << text;
    expect_logged("vkrJson_SetParamValue", "+++ Get object value failed.");
  }
}

TEST_F(Schema, AValueThatCannotBeUpdatedIsLogged) {
  cJSON* item = parsed(R"({"default_value":"5","is_changed":0})");
  cJSON_AddItemToObject(item, "value", cJSON_CreateStringReference("constant"));
  EXPECT_EQ(vkrJson_SetParamValue(item, "6"), -1);
  expect_logged("vkrJson_SetParamValue", "+++ Set string value failed.");
  EXPECT_EQ(state(item), "constant/0");
}

TEST_F(Schema, AFlagThatCannotBeUpdatedLeavesTheValueEmpty) {
  const Json one(cJSON_CreateNumber(1));
  cJSON* item = parsed(R"({"value":"6","default_value":"5"})");
  cJSON_AddItemReferenceToObject(item, "is_changed", one.get());
  EXPECT_EQ(vkrJson_SetParamValue(item, "5"), -1);
  expect_logged("vkrJson_SetParamValue", "+++ Set int value failed.");
  EXPECT_EQ(state(item), "/1");
  EXPECT_EQ(vkrJson_SetParamIsChanged(item, 0), -1);
  expect_logged("vkrJson_SetParamIsChanged", "+++ Set int value failed.");
}

TEST_F(Schema, IsChangedIsSetAlone) {
  cJSON* volume = param("voice", "volume");
  EXPECT_EQ(vkrJson_SetParamIsChanged(volume, 0), 1);
  EXPECT_EQ(vkrJson_SetParamIsChanged(volume, 3), 0);
  EXPECT_EQ(state(volume), "/3");
  EXPECT_EQ(captured_log().size(), 0u);
  EXPECT_EQ(vkrJson_SetParamIsChanged(parsed("{}"), 0), -1);
  expect_logged("vkrJson_SetParamIsChanged", "+++ Get attribute is_changed failed.");
}

TEST_F(Schema, LengthLimitsAreChangedWhereTheyExist) {
  cJSON* volume = param("voice", "volume");
  EXPECT_EQ(vkrJson_SetParamMinStrlen(volume, 3), 0);
  EXPECT_EQ(vkrJson_SetParamMaxStrlen(volume, -4), 0);
  int number = 0;
  EXPECT_EQ(vkrJson_GetParamMinStrlen(volume, &number), 0);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(vkrJson_GetParamMaxStrlen(volume, &number), 0);
  EXPECT_EQ(number, -4);
  EXPECT_EQ(captured_log().size(), 0u);

  cJSON* server = param("network", "server");
  EXPECT_EQ(vkrJson_SetParamMinStrlen(server, 3), -1);
  expect_logged("vkrJson_SetParamMinStrlen", "+++ Set attribute is_changed failed.");
  EXPECT_EQ(vkrJson_SetParamMaxStrlen(server, 3), -1);
  expect_logged("vkrJson_SetParamMaxStrlen", "+++ Set attribute is_changed failed.");
  EXPECT_EQ(vkrJson_GetParamMinStrlen(server, &number), -1);

  const Json one(cJSON_CreateNumber(1));
  cJSON_AddItemReferenceToObject(server, "max_strlen", one.get());
  EXPECT_EQ(vkrJson_SetParamMaxStrlen(server, 3), -1);
  expect_logged("vkrJson_SetParamMaxStrlen", "+++ Set int value failed.");
}

TEST_F(Schema, AnAttributeThatIsNoNumberIsThereButCannotBeUpdated) {
  for (const std::string value : {"\"1\"", "true", "null", "[]", "{}"}) {
    const std::string text = R"({"min_strlen":)" + value + R"(,"max_strlen":)" + value +
                             R"(,"is_changed":)" + value + "}";
    cJSON* item = parsed(text.c_str());
    EXPECT_EQ(vkrJson_SetParamMinStrlen(item, 3), -1);
    expect_logged("vkrJson_SetParamMinStrlen", "+++ Set int value failed.");
    EXPECT_EQ(vkrJson_SetParamMaxStrlen(item, 3), -1);
    expect_logged("vkrJson_SetParamMaxStrlen", "+++ Set int value failed.");
    for (const int flag : {0, 1}) {
      EXPECT_EQ(vkrJson_SetParamIsChanged(item, flag), -1);
      expect_logged("vkrJson_SetParamIsChanged", "+++ Set int value failed.");
    }
    char* after = cJSON_PrintUnformatted(item);
    EXPECT_EQ(after, text);
    cJSON_free(after);
  }
}

TEST_F(Schema, NumbersAreAddedBehindTheOtherMembers) {
  cJSON* object = parsed(R"({"a":1})");
  vkrJson_AddNumberToObject(object, "b", -2147483647);
  vkrJson_AddNumberToObject(object, nullptr, 1);
  vkrJson_AddNumberToObject(nullptr, "c", 1);
  char* text = cJSON_PrintUnformatted(object);
  EXPECT_STREQ(text, R"({"a":1,"b":-2147483647})");
  cJSON_free(text);
  vkrJson_AddNumberToObject(parsed("[]"), "c", 1);
  EXPECT_EQ(cJSON_GetArraySize(parsed_.get()), 0);
}

TEST_F(Schema, NullArgumentsAreRefused) {
  cJSON* volume = param("voice", "volume");
  EXPECT_EQ(vkrJson_Init(nullptr), nullptr);
  EXPECT_EQ(vkrJson_Uninit(nullptr), -1);
  EXPECT_EQ(vkrJson_SaveToFile(nullptr, "/tmp/saved.json"), -1);
  EXPECT_EQ(vkrJson_SaveToFile(volume, nullptr), -1);
  EXPECT_EQ(vkrJson_GetSectionObject(nullptr, "a"), nullptr);
  EXPECT_EQ(vkrJson_GetSectionObject(root_.get(), nullptr), nullptr);
  EXPECT_EQ(vkrJson_GetParamObject(nullptr, "a"), nullptr);
  EXPECT_EQ(vkrJson_GetParamObject(root_.get(), nullptr), nullptr);
  EXPECT_EQ(vkrJson_GetSectionName(nullptr), nullptr);
  EXPECT_EQ(vkrJson_GetParamName(nullptr), nullptr);
  EXPECT_EQ(vkrJson_GetParamName(root_.get()), nullptr);  // the document has no name
  int number = 77;
  for (const TextGetter get : kTextGetters) EXPECT_EQ(get(nullptr), nullptr);
  for (const NumberGetter get : kNumberGetters) {
    EXPECT_EQ(get(nullptr, &number), -1);
    EXPECT_EQ(get(volume, nullptr), -1);
  }
  EXPECT_EQ(vkrJson_GetParamCurrentValue(nullptr), nullptr);
  EXPECT_EQ(vkrJson_GetParamTypeNumber(nullptr, &number), nullptr);
  EXPECT_EQ(vkrJson_GetParamTypeNumber(volume, nullptr), nullptr);
  EXPECT_EQ(vkrJson_SetParamValue(nullptr, "a"), -1);
  EXPECT_EQ(vkrJson_SetParamValue(volume, nullptr), -1);
  EXPECT_EQ(vkrJson_SetParamIsChanged(nullptr, 0), -1);
  EXPECT_EQ(vkrJson_SetParamMinStrlen(nullptr, 0), -1);
  EXPECT_EQ(vkrJson_SetParamMaxStrlen(nullptr, 0), -1);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(Schema, ADocumentIsSavedAsFormattedTextAndReadBack) {
  EXPECT_EQ(vkrJson_SetParamValue(param("voice", "volume"), "7"), 0);
  write_file("/tmp/saved.json", std::string(100000, 'x'));
  EXPECT_EQ(printed([&] { EXPECT_EQ(vkrJson_SaveToFile(root_.get(), "/tmp/saved.json"), 0); }), "");
  char* text = cJSON_Print(root_.get());
  EXPECT_EQ(read_file("/tmp/saved.json"), text);

  cJSON* again = vkrJson_Init("/tmp/saved.json");
  char* text_again = cJSON_Print(again);
  EXPECT_STREQ(text_again, text);
  EXPECT_EQ(vkrJson_Uninit(again), 0);
  cJSON_free(text_again);
  cJSON_free(text);
}

TEST_F(Schema, AFileThatCannotBeOpenedIsToldTwice) {
  EXPECT_EQ(printed([] { EXPECT_EQ(vkrJson_Init("/tmp/none.json"), nullptr); }),
            "Open file /tmp/none.json failed.\n");
  expect_logged("vkrJson_Init", "Open file /tmp/none.json failed.");
}

TEST_F(Schema, ADirectoryIsNoDocument) {
  ASSERT_EQ(mkdir("/tmp/directory.json", 0755), 0);
  EXPECT_EQ(printed([] { EXPECT_EQ(vkrJson_Init("/tmp/directory.json"), nullptr); }),
            "Read file incomplete.\n");
  expect_logged("vkrJson_Init", "Read file incomplete.");
}

TEST_F(Schema, AFileThatIsTooLargeForMemoryIsToldTwice) {
  write_file("/tmp/large.json", "{}");
  ASSERT_EQ(truncate("/tmp/large.json", INT32_MAX), 0);  // a hole
  EXPECT_EQ(printed([] { EXPECT_EQ(vkrJson_Init("/tmp/large.json"), nullptr); }),
            "Malloc buffer 2147483648 failed, errno=12.\n");
  expect_logged("vkrJson_Init", "Malloc buffer 2147483648 failed, errno=12.");
}

TEST_F(Schema, WhatIsNotJsonIsNoDocument) {
  for (const std::string text :
       {"", " ", "{", R"({"a":})", "no", R"({"a":"\ud800"})", "\xff\xfe", R"({"a":1)"}) {
    write_file("/tmp/odd.json", text);
    EXPECT_EQ(printed([] { EXPECT_EQ(vkrJson_Init("/tmp/odd.json"), nullptr); }), "") << text;
  }
  write_file("/tmp/odd.json", std::string(100000, '['));
  EXPECT_EQ(vkrJson_Init("/tmp/odd.json"), nullptr);
  EXPECT_EQ(captured_log().size(), 0u);
}

TEST_F(Schema, ADocumentMayBeAnyJsonValue) {
  for (const char* text : {"7", "\"text\"", "null", "true", "[{\"voice\":{}}]", "{}"}) {
    write_file("/tmp/odd.json", text);
    const Json root(vkrJson_Init("/tmp/odd.json"));
    ASSERT_TRUE(root) << text;
    EXPECT_EQ(vkrJson_GetSectionObject(root.get(), "voice"), nullptr);
    EXPECT_EQ(vkrJson_GetParamObject(root.get(), "voice"), nullptr);
    EXPECT_EQ(vkrJson_SetParamValue(root.get(), "a"), -1);
    EXPECT_EQ(vkrJson_GetSectionName(root->child), nullptr) << text;
  }
}

TEST_F(Schema, SavingTellsItsFailuresOnStandardOutputOnly) {
  EXPECT_EQ(printed([&] { EXPECT_EQ(vkrJson_SaveToFile(root_.get(), "/tmp/none/x.json"), -1); }),
            "Open file /tmp/none/x.json failed.\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(vkrJson_SaveToFile(root_.get(), "/dev/full"), -1); }),
            "Write file incomplete.\n");
  cJSON* no_value = parsed("{\"a\":1}");
  no_value->child->type = cJSON_Invalid;
  EXPECT_EQ(printed([&] { EXPECT_EQ(vkrJson_SaveToFile(no_value, "/tmp/none.json"), -1); }),
            "Convert object to TEXT failed.\n");
  EXPECT_FALSE(exists("/tmp/none.json"));
  EXPECT_EQ(captured_log().size(), 0u);
}

}  // namespace
}  // namespace capi::test
