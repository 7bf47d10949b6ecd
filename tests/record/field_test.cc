// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/field.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

namespace capi::test {
namespace {

using testing::Each;
using namespace field_rows;

constexpr Field kInterval = CAPI_FIELD_OF(sip_registration.reg_interval);
constexpr Field kSca = CAPI_FIELD_OF(sms_cfg.sca);
constexpr NamedField kNamed = CAPI_FIELD(sms_cfg, sca);
constexpr Field kDial = CAPI_FIELD_OF(speed_dial.entry);
constexpr Field kPort = CAPI_FIELD_OF(sip_server.proxy_port);
constexpr Field kName =
    with_stride(CAPI_FIELD(sip_line[0], user_name), sizeof(capi_voice_sip_line)).field;

class FieldTest : public testing::Test {
 protected:
  std::string get(const Field& field, int index = 0) const {
    char buf[1024] = {};
    get_field(record_, field, index, buf, sizeof buf);
    return buf;
  }

  cfg_shared_record record_{};
};

TEST_F(FieldTest, ARowKnowsItsMember) {
  EXPECT_EQ(kInterval.kind, FieldKind::Integer);
  EXPECT_EQ(kInterval.offset, 13264);
  EXPECT_EQ(kInterval.capacity, 4);
  EXPECT_EQ(kSca.kind, FieldKind::Text);
  EXPECT_EQ(kSca.offset, 13272);
  EXPECT_EQ(kSca.capacity, 32);
  EXPECT_EQ(kNamed.key, "sca");
  EXPECT_EQ(kNamed.field.offset, kSca.offset);
  EXPECT_EQ(kDial.capacity, 32);
  EXPECT_EQ(kDial.stride, 32);
  EXPECT_EQ(kPort.capacity, 4);
  EXPECT_EQ(kPort.stride, 4);
}

TEST_F(FieldTest, StoresNumbers) {
  set_field(record_, kInterval, 0, "3600");
  EXPECT_EQ(record_.sip_registration.reg_interval, 3600);
  EXPECT_EQ(get(kInterval), "3600");
  set_field(record_, kInterval, 0, "-2");
  EXPECT_EQ(get(kInterval), "-2");
  set_field(record_, kInterval, 0, "no number");
  EXPECT_EQ(get(kInterval), "0");
  set_field(record_, kInterval, 0, "99999999999");
  EXPECT_EQ(get(kInterval), "2147483647");
}

TEST_F(FieldTest, StoresTextsCutToTheirField) {
  set_field(record_, kSca, 0, std::string(31, 's').c_str());
  EXPECT_EQ(get(kSca), std::string(31, 's'));
  set_field(record_, kSca, 0, std::string(300, 't').c_str());
  EXPECT_EQ(get(kSca), std::string(31, 't'));
  EXPECT_EQ(record_.sms_cfg.psi[0], '\0');
  set_field(record_, kSca, 0, "");
  EXPECT_THAT(record_.sms_cfg.sca, Each('\0'));
}

TEST_F(FieldTest, TheIndexChoosesTheInstance) {
  set_field(record_, kDial, 9, "123");
  EXPECT_STREQ(record_.speed_dial.entry[9], "123");
  set_field(record_, kPort, 1, "5061");
  EXPECT_EQ(record_.sip_server.proxy_port[1], 5061);
  EXPECT_EQ(record_.sip_server.proxy_port[0], 0);
  set_field(record_, kName, 1, "bob");
  EXPECT_STREQ(record_.sip_line[1].user_name, "bob");
  EXPECT_EQ(get(kName, 1), "bob");
  EXPECT_EQ(get(kName, 0), "");
}

TEST_F(FieldTest, ACountIsKeptInItsRange) {
  constexpr Field kCount =
      with_rule(FieldRule::CodecCount, CAPI_FIELD(voice_parameter, count)).field;
  for (const auto& [text, stored] :
       {std::pair{"13", 12}, {"12", 12}, {"0", 0}, {"-1", 0}, {"99999999999", 12}}) {
    set_field(record_, kCount, 0, text);
    EXPECT_EQ(record_.voice_parameter.count, stored) << text;
  }
}

TEST_F(FieldTest, SettingMayFillLessThanTheField) {
  constexpr Field kDomain =
      with_rule(FieldRule::SetsHalf, CAPI_FIELD(sip_server, sip_domain)).field;
  record_.sip_server.sip_domain[256] = 'x';
  set_field(record_, kDomain, 0, std::string(400, 'd').c_str());
  EXPECT_EQ(get(kDomain), std::string(255, 'd'));
  EXPECT_EQ(record_.sip_server.sip_domain[256], 'x');
}

TEST_F(FieldTest, GettingCutsToTheBuffer) {
  set_field(record_, kSca, 0, "abcdef");
  char buf[8];
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(get_field(record_, kSca, 0, buf, 4), 4u);
  EXPECT_STREQ(buf, "abc");
  EXPECT_EQ(buf[4], 'x');
  set_field(record_, kInterval, 0, "123456");
  EXPECT_EQ(get_field(record_, kInterval, 0, buf, 4), 4u);
  EXPECT_STREQ(buf, "123");
  EXPECT_EQ(buf[4], 'x');
}

TEST_F(FieldTest, GettingLeavesABufferThatHoldsNoText) {
  set_field(record_, kSca, 0, "abc");
  char buf[2] = {'x', 'x'};
  get_field(record_, kSca, 0, buf, 0);
  get_field(record_, kSca, 0, buf, 1);
  get_field(record_, kInterval, 0, buf, 0);
  EXPECT_THAT(buf, Each('x'));
}

TEST_F(FieldTest, GettingMayFillMoreThanTheBufferIsSaidToHold) {
  constexpr Field kIccid = with_rule(FieldRule::GetsCapacity, CAPI_FIELD(sim_info, ICCID)).field;
  set_field(record_, kIccid, 0, "8900101234567890123");
  char buf[40];
  memset(buf, 'x', sizeof buf);
  EXPECT_EQ(get_field(record_, kIccid, 0, buf, 4), 32u);
  EXPECT_STREQ(buf, "8900101234567890123");
  EXPECT_EQ(buf[31], '\0');
  EXPECT_EQ(buf[32], 'x');
}

TEST_F(FieldTest, ATextWithoutTerminatorEndsAtItsWidth) {
  memset(record_.sms_cfg.sca, 's', sizeof record_.sms_cfg.sca);
  memset(record_.sms_cfg.psi, 'p', sizeof record_.sms_cfg.psi);
  EXPECT_EQ(get(kSca), std::string(32, 's'));
}

}  // namespace
}  // namespace capi::test
