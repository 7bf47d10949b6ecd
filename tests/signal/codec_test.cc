// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "capi.h"
#include "foundation/json.h"

namespace capi::test {
namespace {

Json parse(const std::string& text) { return Json(cJSON_Parse(text.c_str())); }

std::string print(const cJSON* json) {
  char* text = cJSON_PrintUnformatted(json);
  std::string result = text != nullptr ? text : "(nothing)";
  cJSON_free(text);
  return result;
}

std::string signal_text(const std::string& name, const std::string& attrs) {
  return R"({"msg":"signal","name":")" + name + R"(","attrs":)" + attrs + "}";
}

std::string encoded(const std::string& name, const capi_signal_info& info) {
  return print(Json(ctrlv2_siginfo_to_json(name.c_str(), &info)).get());
}

capi_signal_info decoded(const cJSON* json) {
  capi_signal_info info;
  memset(&info, 0xaa, sizeof info);
  EXPECT_EQ(ctrlv2_json_to_siginfo(json, nullptr, &info), 0);
  return info;
}

capi_signal_info decoded(const std::string& name, const std::string& attrs) {
  return decoded(parse(signal_text(name, attrs)).get());
}

// All bytes of a record, padding and what lies behind it included.
std::string bytes(const capi_signal_info& info) {
  return {reinterpret_cast<const char*>(&info), sizeof info};
}

capi_signal_info filled(const std::function<void(capi_signal_info&)>& fill) {
  capi_signal_info info;
  memset(&info, 0, sizeof info);
  fill(info);
  return info;
}

// A signal with every attribute set, as JSON and as a record; the capacities of its texts, and
// what these read as when they are missing.
struct Sample {
  std::string name;
  std::string attrs;
  std::function<void(capi_signal_info&)> fill;
  std::map<std::string, size_t> capacity = {};
  std::map<std::string, std::string> missing = {};
};

void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

#define FILL(member, ...) [](capi_signal_info& record) { record.member = __VA_ARGS__; }

const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = {
      {"VOP_SIG_GENERAL_SIGNAL",
       R"({"param1":"a","param2":"b","param3":"c","iParam1":1,"iParam2":-2,)"
       R"("iParam3":2147483647,"iParam4":-2147483648})",
       FILL(general, {"a", "b", "c", 1, -2, INT32_MAX, INT32_MIN}),
       {{"param1", 256}, {"param2", 256}, {"param3", 256}}},
      {"vop_sig_voip_phone_status_changed",
       R"({"line":1,"hookstatus":2,"incomingcallindication":3})", FILL(phone_status, {1, 2, 3})},
      {"vop_sig_vosip_exit_event",
       R"({"stat":1,"fwupgradeflag":2,"gracefulexitflag":3,"voipiscalling":4})",
       FILL(exit_event, {1, 2, 3, 4})},
      {"vop_sig_voip_csfb_state", R"({"lineid":1,"state":2})", FILL(csfb_state, {1, 2})},
      {"vop_sig_voip_simcard_error", R"({"detach":1})", FILL(simcard_error, {1})},
      {"vop_sig_voip_pcscf_error", R"({"error":7})", FILL(pcscf_error, {7})},
      {"vop_sig_voip_proxy_connect_status", R"({"status":9})", FILL(proxy_status, {9})},
      {"vop_sig_voip_register_status",
       R"({"lineId":1,"hasvoicemail":7,"hasnoE911address":8,"simcarddeactivated":9,)"
       R"("callfailed":10,"lineregstatusstring":"Registered","voipmsg":{"line":2,"status":3,)"
       R"("phonenumber":"+4930","stacktype":"volte"}})",
       FILL(register_status, {1, 2, 3, "+4930", "volte", "Registered", 7, 8, 9, 10}),
       {{"lineregstatusstring", 64}, {"phonenumber", 32}, {"stacktype", 32}},
       {{"lineregstatusstring", "UnRegistered"}, {"phonenumber", "---"}, {"stacktype", "---"}}},
      {"vop_sig_voip_e911_address_onoff", R"({"line":1,"status":2})", FILL(e911_onoff, {1, 2})},
      {"vop_sig_voip_vm_off", R"({"line":2})", FILL(voice_mail, {2})},
      {"vop_sig_voip_vm_on", R"({"line":1})", FILL(voice_mail, {1})},
      {"vop_sig_simcard_provisioned_status", R"({"deactived":1})", FILL(provisioned_status, {1})},
      {"vop_sig_voip_call_state_change",
       R"({"line":1,"callinfo":[)"
       R"({"call":0,"callstate":5,"callpartynumber":"100","callpartyname":"Ann"},)"
       R"({"call":1,"callstate":10,"callpartynumber":"200","callpartyname":"Bob"},)"
       R"({"call":2,"callstate":4,"callpartynumber":"300","callpartyname":"Eve"}]})",
       FILL(call_state, {1, {{5, "100", "Ann"}, {10, "200", "Bob"}, {4, "300", "Eve"}}}),
       {{"callpartynumber", 32}, {"callpartyname", 32}}},
      {"vop_sig_voip_app_critical_error", R"({"watchcount":3})", FILL(critical_error, {3})},
      {"vop_sig_voip_call_log_info",
       R"({"index":1,"calltype":2,"endpt":3,"calltimestart":4,"calltimeconnect":4294967295,)"
       R"("calltimeend":6,"displayname":"Ann","number":"100","PacketsSent":7,)"
       R"("PacketsReceived":8,"PacketsLost":9,"PacketsDiscarded":10,"BytesReceived":11,)"
       R"("BytesSent":4000000000,"RoundTripDelay":13,"PayloadType":14,)"
       R"("ReceiveInterarrivalJitter":15,"MinJitter":16,"MaxJitter":17,"Decodelatency":18})",
       FILL(call_log, {1, 2,  3,  4,          UINT32_MAX, 6,  "Ann", "100", 7,  8,
                       9, 10, 11, 4000000000, 13,         14, 15,    16,    17, 18}),
       {{"displayname", 64}, {"number", 64}}},
      {"vop_sig_vsdk_service_control",
       R"({"message":"restart","param1":"a","param2":"b","param3":"c"})",
       FILL(service_control, {"restart", "a", "b", "c"}),
       {{"message", 64}, {"param1", 256}, {"param2", 256}, {"param3", 256}},
       {{"message", "unknown"},
        {"param1", "unknown"},
        {"param2", "unknown"},
        {"param3", "unknown"}}},
      {"vop_sig_timer_expired", R"({"cookie":-1})", FILL(timer_expired, {-1})},
      {"vop_sig_voip_call_sms_info",
       R"({"MsgId":281474976710655,"status":255,"bRead":1,"BeginTime":4294967295,"LastTime":2,)"
       R"("TextLen":3,"TextSize":4,"TextType":5,"imsi":"310","LocalNumber":"100",)"
       R"("RemoteNumber":"200","Text":"hello"})",
       FILL(sms, {281474976710655, 255, 1, UINT32_MAX, 2, "310", "100", "200", 3, 4, 5, "hello"}),
       {{"imsi", 32}, {"LocalNumber", 24}, {"RemoteNumber", 24}, {"Text", 8192}}},
      {"vop_sig_cfg_changed_info",
       R"({"index":1,"section":"voice_line","name":"enable","value":"1"})",
       FILL(cfg_changed, {1, "voice_line", "enable", "1"}),
       {{"section", 64}, {"name", 64}, {"value", 256}}},
      {"vop_sig_cellular_internet_state_change", R"({"internet_state":1,"ip_state":2})",
       FILL(internet_state, {1, 2})},
      {"vop_sig_voip_call_failed", R"({"line":1,"failed":2})", FILL(call_failed, {1, 2})},
      {"vop_sig_voip_slic_stat",
       R"({"HookStatus0":"on","FaultStatus0":"none","HookStatus1":"off","FaultStatus1":"short"})",
       FILL(slic_stat, {"on", "none", "off", "short"}),
       {{"HookStatus0", 16}, {"FaultStatus0", 64}, {"HookStatus1", 16}, {"FaultStatus1", 64}}},
      {"vop_sig_voice_reg_stat",
       R"({"LineId":1,"VoiceType":2,"Status":3,"LastRegistrationAttemptTime":4,)"
       R"("LastRegisteredTime":5,"LastRegistrationDuration":6,"LastDisconnectedTime":7,)"
       R"("LastFailedReason":8,"LastFailedReplyCode":9,"TimesOfRegAttempt":10,)"
       R"("TimesOfUnsuccessfulRegAttempt":11,"TimesOfRegDisconnection":12,"StatusStr":"up",)"
       R"("LastFailedReasonStr":"none","LastFailedReplyCodeStr":"200","registerFlag":13,)"
       R"("authRes":14,"updateEnable":15})",
       FILL(voice_reg_stat,
            {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, "up", "none", "200", 13, 14, 15}),
       {{"StatusStr", 32}, {"LastFailedReasonStr", 64}, {"LastFailedReplyCodeStr", 32}}},
      {"vop_sig_voip_sms_send",
       R"({"MsgId":"18446744073709551615"})",
       FILL(sms_send, {UINT64_MAX}),
       {},
       {{"MsgId", "0"}}},
  };
  return all;
}

// Calls "visit" with every attribute that is a number or a text, and the object that holds it.
// The position of a call is none: it is only written.
void for_each_leaf(cJSON* parent, const std::function<void(cJSON*, const std::string&)>& visit) {
  std::vector<cJSON*> members;
  for (cJSON* item = parent->child; item != nullptr; item = item->next) members.push_back(item);
  for (cJSON* item : members) {
    if (item->child != nullptr) {
      for_each_leaf(item, visit);
    } else if (std::string(item->string) != "call") {
      visit(parent, item->string);
    }
  }
}

void replace(cJSON* object, const std::string& key, Json value) {
  ASSERT_TRUE(cJSON_ReplaceItemInObjectCaseSensitive(object, key.c_str(), value.release()));
}

using Change = std::function<void(cJSON* object, const std::string& key)>;

class SignalTable : public testing::TestWithParam<Sample> {
 protected:
  // Changes each attribute in turn, and checks that the record then is one that would be sent with
  // the attribute changed by "expect".
  static void expect_for_each(const Change& change, const Change& expect) {
    int leaves = 0;
    const Json sample = parse(GetParam().attrs);
    for_each_leaf(sample.get(), [&](cJSON*, const std::string&) { ++leaves; });
    ASSERT_GT(leaves, 0);
    for (int chosen = 0; chosen < leaves; ++chosen) {
      const std::string read = with_change(chosen, change);
      EXPECT_EQ(encoded(GetParam().name, decoded(GetParam().name, read)),
                signal_text(GetParam().name, with_change(chosen, expect)));
    }
  }

  static void set_missing(cJSON* object, const std::string& key) {
    const auto& missing = GetParam().missing;
    const auto found = missing.find(key);
    if (found != missing.end()) {
      replace(object, key, Json(cJSON_CreateString(found->second.c_str())));
    } else if (is_text(object, key)) {
      replace(object, key, Json(cJSON_CreateString("")));
    } else {
      replace(object, key, Json(cJSON_CreateNumber(0)));
    }
  }

  static bool is_text(cJSON* object, const std::string& key) {
    return json_text(json_member(object, key.c_str())) != nullptr;
  }

 private:
  static std::string with_change(int chosen, const Change& change) {
    const Json attrs = parse(GetParam().attrs);
    int leaf = 0;
    for_each_leaf(attrs.get(), [&](cJSON* object, const std::string& key) {
      if (leaf++ == chosen) change(object, key);
    });
    return print(attrs.get());
  }
};

TEST_P(SignalTable, IsEncodedWithAllItsAttributesInOrder) {
  EXPECT_EQ(encoded(GetParam().name, filled(GetParam().fill)),
            signal_text(GetParam().name, GetParam().attrs));
}

TEST_P(SignalTable, IsDecodedToExactlyItsRecord) {
  char name[CAPI_SIGNAL_NAME_SIZE] = {};
  capi_signal_info info;
  memset(&info, 0xaa, sizeof info);
  const Json json = parse(signal_text(GetParam().name, GetParam().attrs));
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), 0);
  EXPECT_EQ(name, GetParam().name);
  EXPECT_EQ(bytes(info), bytes(filled(GetParam().fill)));
}

TEST_P(SignalTable, AttributesThatAreAbsentHaveTheirDefaults) {
  expect_for_each(
      [](cJSON* object, const std::string& key) {
        cJSON_DeleteItemFromObjectCaseSensitive(object, key.c_str());
      },
      set_missing);
}

TEST_P(SignalTable, AttributesOfAWrongTypeReadAsAbsent) {
  for (const char* wrong : {"true", "null", "[1]", "{\"a\":1}", "the other"}) {
    expect_for_each(
        [&](cJSON* object, const std::string& key) {
          Json value = parse(wrong);
          if (!value && is_text(object, key)) value.reset(cJSON_CreateNumber(5));
          if (!value) value.reset(cJSON_CreateString("5"));
          replace(object, key, std::move(value));
        },
        set_missing);
  }
}

TEST_P(SignalTable, KeysAreComparedExactly) {
  expect_for_each(
      [](cJSON* object, const std::string& key) {
        Json item(cJSON_DetachItemFromObjectCaseSensitive(object, key.c_str()));
        cJSON_AddItemToObject(object, (key + "x").c_str(), cJSON_Duplicate(item.get(), true));
        std::string other_case = key;
        for (char& c : other_case) c = static_cast<char>(isupper(c) ? tolower(c) : toupper(c));
        cJSON_AddItemToObject(object, other_case.c_str(), item.release());
      },
      set_missing);
}

TEST_P(SignalTable, OverLongTextsAreCutToTheirCapacity) {
  const auto set_text = [](cJSON* object, const std::string& key, size_t length) {
    if (!GetParam().capacity.contains(key)) return;
    replace(object, key, Json(cJSON_CreateString(std::string(length, 'x').c_str())));
  };
  const auto capacity = [](const std::string& key) {
    return GetParam().capacity.contains(key) ? GetParam().capacity.at(key) : 0;
  };
  const auto full = [&](cJSON* object, const std::string& key) {
    set_text(object, key, capacity(key) - 1);
  };
  expect_for_each(full, full);
  expect_for_each(
      [&](cJSON* object, const std::string& key) { set_text(object, key, capacity(key)); }, full);
  expect_for_each([&](cJSON* object, const std::string& key) { set_text(object, key, 100000); },
                  full);
}

INSTANTIATE_TEST_SUITE_P(All, SignalTable, testing::ValuesIn(samples()),
                         [](const auto& sample) { return sample.param.name; });

TEST(SignalCodec, TheSamplesAreAllSignalsOfTheTable) {
  EXPECT_EQ(samples().size(), 24u);
  std::map<std::string, int> names;
  for (const Sample& sample : samples()) ++names[sample.name];
  EXPECT_EQ(names.size(), 24u);
}

// What stands between the names of the records' fields: the layout that programs agree on.
TEST(SignalCodec, RecordsHaveTheirLayout) {
  EXPECT_EQ(sizeof(capi_signal_info), 8304u);
  EXPECT_EQ(offsetof(capi_signal_general, iParam1), 768u);
  EXPECT_EQ(offsetof(capi_signal_register_status, phonenumber), 12u);
  EXPECT_EQ(offsetof(capi_signal_register_status, lineregstatusstring), 76u);
  EXPECT_EQ(offsetof(capi_signal_register_status, hasvoicemail), 140u);
  EXPECT_EQ(offsetof(capi_signal_call_state, callinfo[2].callpartyname), 4u + 2 * 68 + 36);
  EXPECT_EQ(offsetof(capi_signal_sms, status), 8u);
  EXPECT_EQ(offsetof(capi_signal_sms, bRead), 9u);
  EXPECT_EQ(offsetof(capi_signal_sms, imsi), 20u);
  EXPECT_EQ(offsetof(capi_signal_sms, TextLen), 100u);
  EXPECT_EQ(offsetof(capi_signal_cfg_changed, value), 132u);
  EXPECT_EQ(offsetof(capi_signal_service_control, param3), 576u);
  EXPECT_EQ(offsetof(capi_signal_slic_stat, FaultStatus1), 96u);
}

TEST(SignalCodec, AnUnknownNameIsSentAsAGeneralSignal) {
  const capi_signal_info info = filled(FILL(general, {"a", "", "", 0, 5, 0, 0}));
  EXPECT_EQ(encoded("my_signal", info),
            signal_text("my_signal", R"({"param1":"a","param2":"","param3":"","iParam1":0,)"
                                     R"("iParam2":5,"iParam3":0,"iParam4":0})"));
}

TEST(SignalCodec, AnUnknownNameIsReadAsAGeneralSignal) {
  char name[CAPI_SIGNAL_NAME_SIZE] = "old";
  capi_signal_info info;
  memset(&info, 0xaa, sizeof info);
  const Json json = parse(signal_text("my_signal", R"({"param1":"a","iParam2":5})"));
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), 0);
  EXPECT_STREQ(name, "my_signal");
  EXPECT_EQ(bytes(info), bytes(filled(FILL(general, {"a", "", "", 0, 5, 0, 0}))));
}

TEST(SignalCodec, NamesAreComparedExactly) {
  for (const char* name : {"VOP_SIG_VOIP_VM_ON", "vop_sig_voip_vm_o", "vop_sig_voip_vm_on ", ""}) {
    EXPECT_EQ(decoded(name, R"({"param1":"general"})").general.param1, std::string("general"));
  }
}

TEST(SignalCodec, WithoutAttrsTheRecordIsCleared) {
  const capi_signal_info cleared = filled([](capi_signal_info&) {});
  for (const std::string rest : {"", R"(,"attrs":null)", R"(,"attrs":[{"line":1}])",
                                 R"(,"attrs":7)", R"(,"ATTRS":{"lineId":1})"}) {
    const Json json = parse(R"({"name":"vop_sig_voip_register_status")" + rest + "}");
    ASSERT_TRUE(json);
    EXPECT_EQ(bytes(decoded(json.get())), bytes(cleared)) << rest;
  }
}

TEST(SignalCodec, EmptyAttrsGiveTheDefaults) {
  EXPECT_EQ(
      bytes(decoded("vop_sig_voip_register_status", "{}")),
      bytes(filled(FILL(register_status, {0, 0, 0, "---", "---", "UnRegistered", 0, 0, 0, 0}))));
  EXPECT_EQ(bytes(decoded("vop_sig_vsdk_service_control", "{}")),
            bytes(filled(FILL(service_control, {"unknown", "unknown", "unknown", "unknown"}))));
}

TEST(SignalCodec, WithoutVoipmsgItsTextsHaveTheirDefaults) {
  for (const std::string voipmsg : {"", R"(,"voipmsg":5)", R"(,"voipmsg":[{"line":1}])"}) {
    EXPECT_EQ(
        bytes(decoded("vop_sig_voip_register_status", R"({"lineId":2)" + voipmsg + "}")),
        bytes(filled(FILL(register_status, {2, 0, 0, "---", "---", "UnRegistered", 0, 0, 0, 0}))));
  }
}

TEST(SignalCodec, OnlyTheFirstThreeCallsAreRead) {
  std::string calls;
  for (int i = 1; i <= 5; ++i) {
    calls += (i > 1 ? "," : "") + std::string(R"({"callstate":)") + std::to_string(i) + "}";
  }
  EXPECT_EQ(
      bytes(decoded("vop_sig_voip_call_state_change", R"({"line":1,"callinfo":[)" + calls + "]}")),
      bytes(filled(FILL(call_state, {1, {{1, "", ""}, {2, "", ""}, {3, "", ""}}}))));
}

TEST(SignalCodec, CallsThatAreMissingAreCleared) {
  const auto line_1 = bytes(filled(FILL(call_state, {1, {}})));
  for (const std::string calls : {"", R"(,"callinfo":[])", R"(,"callinfo":{"a":{"callstate":1}})",
                                  R"(,"callinfo":[1,"2",null,{"callstate":3}])"}) {
    EXPECT_EQ(bytes(decoded("vop_sig_voip_call_state_change", R"({"line":1)" + calls + "}")),
              line_1)
        << calls;
  }
  EXPECT_EQ(bytes(decoded("vop_sig_voip_call_state_change",
                          R"({"callinfo":[7,{"call":0,"callstate":2}]})")),
            bytes(filled(FILL(call_state, {0, {{}, {2, "", ""}, {}}}))));
}

TEST(SignalCodec, NumbersOutOfRangeBecomeTheNearestInIt) {
  const auto cookie = [](const char* number) {
    return decoded("vop_sig_timer_expired", std::string(R"({"cookie":)") + number + "}")
        .timer_expired.cookie;
  };
  EXPECT_EQ(cookie("2147483648"), INT32_MAX);
  EXPECT_EQ(cookie("-2147483649"), INT32_MIN);
  EXPECT_EQ(cookie("1e300"), INT32_MAX);
  EXPECT_EQ(cookie("-1e999"), INT32_MIN);
  EXPECT_EQ(cookie("1.9"), 1);
  EXPECT_EQ(cookie("-1.9"), -1);

  const auto sms = [](const char* key, const char* number) {
    return decoded("vop_sig_voip_call_sms_info", std::string("{\"") + key + "\":" + number + "}")
        .sms;
  };
  EXPECT_EQ(sms("BeginTime", "4294967296").BeginTime, UINT32_MAX);
  EXPECT_EQ(sms("BeginTime", "-1").BeginTime, 0u);
  EXPECT_EQ(sms("status", "256").status, 255);
  EXPECT_EQ(sms("bRead", "-1").bRead, 0);
  EXPECT_EQ(sms("MsgId", "-1").MsgId, 0u);
  EXPECT_EQ(sms("MsgId", "9007199254740992").MsgId, 9007199254740992u);
  EXPECT_EQ(sms("MsgId", "9223372036854775808").MsgId, 9223372036854775808u);
  EXPECT_EQ(sms("MsgId", "18446744073709549568").MsgId, 18446744073709549568u);
  EXPECT_EQ(sms("MsgId", "18446744073709551615").MsgId, UINT64_MAX);
  EXPECT_EQ(sms("MsgId", "18446744073709551616").MsgId, UINT64_MAX);
  EXPECT_EQ(sms("MsgId", "1e999").MsgId, UINT64_MAX);
}

TEST(SignalCodec, ANumberThatIsNoneReadsAsZero) {
  const Json json = parse(signal_text("vop_sig_timer_expired", "{}"));
  cJSON_AddNumberToObject(json_member(json.get(), "attrs"), "cookie",
                          std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(decoded(json.get()).timer_expired.cookie, 0);
}

TEST(SignalCodec, AnIdInAnObjectIsExactUpTo53Bits) {
  const capi_signal_info info =
      filled([](capi_signal_info& record) { record.sms.MsgId = 9007199254740991; });
  const Json json(ctrlv2_siginfo_to_json("vop_sig_voip_call_sms_info", &info));
  EXPECT_EQ(bytes(decoded(json.get())), bytes(info));
}

TEST(SignalCodec, AnIdBeyond53BitsIsRoundedAsAnyNumber) {
  for (const uint64_t id : {UINT64_C(0), UINT64_C(0xFFFFFFFF), UINT64_C(0x100000000),
                            UINT64_C(9007199254740993), UINT64_C(0x8000000000000401), UINT64_MAX}) {
    const capi_signal_info info = filled([&](capi_signal_info& record) { record.sms.MsgId = id; });
    const Json json(ctrlv2_siginfo_to_json("vop_sig_voip_call_sms_info", &info));
    const cJSON* number = json_member(json_member(json.get(), "attrs"), "MsgId");
    EXPECT_EQ(number->valuedouble, static_cast<double>(id)) << id;
  }
}

TEST(SignalCodec, AnIdInDecimalIsReadWithAll64Bits) {
  const auto id = [](const char* text) {
    return decoded("vop_sig_voip_sms_send", std::string(R"({"MsgId":")") + text + "\"}")
        .sms_send.MsgId;
  };
  EXPECT_EQ(id("9007199254740993"), 9007199254740993u);
  EXPECT_EQ(id("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(id("18446744073709551616"), UINT64_MAX);
  EXPECT_EQ(id("12ab"), 12u);
  EXPECT_EQ(id(""), 0u);
  for (const char* text : {"-1", "+1", " 1", "x1"}) EXPECT_EQ(id(text), 0u) << text;
}

TEST(SignalCodec, WithoutANameNothingIsRead) {
  for (const char* text : {"{}", R"({"attrs":{}})", R"({"name":5})", R"({"NAME":"x"})",
                           R"(["name"])", R"([{"name":"x"}])", R"("name")", "5", "null", "true"}) {
    char name[CAPI_SIGNAL_NAME_SIZE] = "old";
    capi_signal_info info;
    memset(&info, 0xaa, sizeof info);
    const capi_signal_info before = info;
    const Json json = parse(text);
    ASSERT_TRUE(json) << text;
    EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), -1) << text;
    EXPECT_STREQ(name, "");
    EXPECT_EQ(bytes(info), bytes(before));
  }
}

TEST(SignalCodec, MembersMayStandInAnyOrder) {
  const capi_signal_info info =
      decoded(parse(R"({"attrs":{"iParam4":4,"param2":"b","x":[],"iParam1":1,"param1":"a",)"
                    R"("iParam2":2,"iParam3":3,"param3":"c"},"more":1,"name":"my_signal"})")
                  .get());
  EXPECT_EQ(bytes(info), bytes(filled([](capi_signal_info& record) {
              record.general = {"a", "b", "c", 1, 2, 3, 4};
            })));
}

TEST(SignalCodec, OfMembersWithTheSameKeyTheFirstCounts) {
  const auto csfb_state = [](const std::string& attrs) {
    return decoded("vop_sig_voip_csfb_state", attrs).csfb_state;
  };
  EXPECT_EQ(csfb_state(R"({"lineid":1,"lineid":2,"state":3,"state":4})").lineid, 1);
  EXPECT_EQ(csfb_state(R"({"lineid":1,"lineid":2,"state":3,"state":4})").state, 3);
  EXPECT_EQ(csfb_state(R"({"state":3,"lineid":1,"state":4})").state, 3);
  EXPECT_EQ(csfb_state(R"({"x":0,"state":3,"lineid":1,"state":4})").state, 3);
  char name[CAPI_SIGNAL_NAME_SIZE];
  capi_signal_info info;
  const Json json = parse(R"({"name":"first","msg":"signal","name":"second"})");
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), 0);
  EXPECT_STREQ(name, "first");
}

TEST(SignalCodec, ItsObjectsCanBeChangedAndCopied) {
  const capi_signal_info info = filled(samples()[1].fill);
  Json json(ctrlv2_siginfo_to_json(samples()[1].name.c_str(), &info));
  const Json copy(cJSON_Duplicate(json.get(), 1));
  EXPECT_EQ(print(copy.get()), print(json.get()));
  cJSON* attrs = cJSON_GetObjectItem(json.get(), "attrs");
  EXPECT_TRUE(cJSON_ReplaceItemInObject(attrs, "line", cJSON_CreateNumber(7)));
  EXPECT_NE(cJSON_SetValuestring(cJSON_GetObjectItem(json.get(), "msg"), "another text"), nullptr);
  const Json detached(cJSON_DetachItemFromObject(attrs, "hookstatus"));
  EXPECT_TRUE(cJSON_AddItemReferenceToObject(json.get(), "again", detached.get()));
  EXPECT_EQ(print(json.get()),
            R"({"msg":"another text","name":"vop_sig_voip_phone_status_changed",)"
            R"("attrs":{"line":7,"incomingcallindication":3},"again":2})");
}

TEST(SignalCodec, NullArgumentsAreRefused) {
  char name[CAPI_SIGNAL_NAME_SIZE] = "old";
  capi_signal_info info = {};
  const Json json = parse(signal_text("vop_sig_timer_expired", "{}"));
  EXPECT_EQ(ctrlv2_json_to_siginfo(nullptr, name, &info), -1);
  EXPECT_STREQ(name, "");
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, nullptr), -1);
  EXPECT_EQ(ctrlv2_json_to_siginfo(nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(ctrlv2_siginfo_to_json(nullptr, &info), nullptr);
  EXPECT_EQ(ctrlv2_siginfo_to_json("x", nullptr), nullptr);
}

TEST(SignalCodec, ANameThatIsTooLongIsCut) {
  char name[CAPI_SIGNAL_NAME_SIZE + 1];
  memset(name, '#', sizeof name);
  capi_signal_info info = {};
  const Json json = parse(signal_text(std::string(5000, 'n'), "{}"));
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), 0);
  EXPECT_EQ(name, std::string(CAPI_SIGNAL_NAME_SIZE - 1, 'n'));
  EXPECT_EQ(name[CAPI_SIGNAL_NAME_SIZE], '#');
}

TEST(SignalCodec, TheAttributesAreThoseOfTheNameThatTheCallerGets) {
  char name[CAPI_SIGNAL_NAME_SIZE] = "";
  capi_signal_info info = {};
  const std::string text = "vop_sig_timer_expired" + std::string(100, 'x');
  const Json json = parse(signal_text(text, R"({"cookie":5,"iParam1":7,"param1":"a"})"));
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), 0);
  EXPECT_EQ(name, text.substr(0, 63));
  const Json again = parse(signal_text(name, R"({"cookie":5,"iParam1":7,"param1":"a"})"));
  EXPECT_EQ(bytes(decoded(again.get())), bytes(info));
  EXPECT_EQ(info.general.iParam1, 7);
}

TEST(SignalCodec, OnlyTheNameAndItsTerminatorAreWritten) {
  char name[] = "##########";
  capi_signal_info info = {};
  const Json json = parse(signal_text("x", "{}"));
  EXPECT_EQ(ctrlv2_json_to_siginfo(json.get(), name, &info), 0);
  EXPECT_EQ(std::string(name, sizeof name - 1), std::string("x\0########", 10));
}

TEST(SignalCodec, ATextWithoutATerminatorIsSentBounded) {
  const capi_signal_info info = filled([](capi_signal_info& record) {
    memset(record.slic_stat.HookStatus0, 'h', 16);
    memset(record.slic_stat.FaultStatus1, 'f', 64);  // the last field: behind it is nothing
  });
  const std::string text = encoded("vop_sig_voip_slic_stat", info);
  EXPECT_EQ(text, signal_text("vop_sig_voip_slic_stat",
                              "{\"HookStatus0\":\"" + std::string(15, 'h') +
                                  "\",\"FaultStatus0\":\"\",\"HookStatus1\":\"\"," +
                                  "\"FaultStatus1\":\"" + std::string(63, 'f') + "\"}"));
}

TEST(SignalCodec, TextsThatAreNotUtf8PassThrough) {
  const std::string odd = "\xff\xfe\x80 \xc3";
  const capi_signal_info info = decoded("my_signal", "{\"param1\":\"" + odd + "\"}");
  EXPECT_EQ(info.general.param1, odd);
  EXPECT_NE(encoded("my_signal", info).find(odd), std::string::npos);
}

TEST(SignalCodec, DeepNestingInPlaceOfAnAttributeIsSkipped) {
  const std::string deep = std::string(900, '[') + std::string(900, ']');
  EXPECT_EQ(decoded("my_signal", R"({"param1":)" + deep + R"(,"iParam1":3})").general.iParam1, 3);
}

// Counts down to the allocation that fails.
int allocations_left = 0;

void* failing_malloc(size_t size) { return allocations_left-- > 0 ? malloc(size) : nullptr; }

TEST(SignalCodec, WithoutMemoryThereIsNoObject) {
  cJSON_Hooks hooks{failing_malloc, free};
  for (const Sample& sample : samples()) {
    const capi_signal_info info = filled(sample.fill);
    Json json;
    int allowed = 0;
    for (; !json && allowed < 1000; ++allowed) {
      cJSON_InitHooks(&hooks);
      allocations_left = allowed;
      json.reset(ctrlv2_siginfo_to_json(sample.name.c_str(), &info));
      cJSON_InitHooks(nullptr);
    }
    EXPECT_GT(allowed, 6);  // objects, items and texts; the keys are not copied
    EXPECT_EQ(print(json.get()), signal_text(sample.name, sample.attrs));
  }
}

}  // namespace
}  // namespace capi::test
