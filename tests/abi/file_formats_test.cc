// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// docs/file-formats.md tells offsets and widths: they are those of the code.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

#include "capi.h"
#include "sms/image.h"
#include "support/files.h"

namespace capi {
namespace {

struct Row {
  size_t offset;
  size_t width;
  const char* field;
};

#define ROW(type, member) \
  Row { offsetof(type, member), sizeof(std::declval<type&>().member), #member }

// The table under a heading, down to the next heading.
std::string section(const std::string& page, const std::string& heading) {
  const size_t begin = page.find("\n## " + heading + "\n");
  if (begin == std::string::npos) return "";
  return page.substr(begin, page.find("\n## ", begin + 1) - begin);
}

template <size_t size>
void expect_rows(const char* heading, const Row (&rows)[size]) {
  const std::string page = test::read_file(test::source_file("docs/file-formats.md"));
  const std::string table = section(page, heading);
  ASSERT_NE(table, "") << "no section " << heading;
  size_t told = 0;
  for (size_t at = 0; (at = table.find("\n| ", at)) != std::string::npos; ++at) ++told;
  EXPECT_EQ(told, size + 1) << heading << ": fields, and the table's head";
  for (const Row& row : rows) {
    char line[128];
    snprintf(line, sizeof line, "\n| %zu | %zu | `%s` |", row.offset, row.width, row.field);
    EXPECT_NE(table.find(line), std::string::npos) << heading << " lacks" << line;
  }
}

TEST(FileFormats, TellTheOffsetsOfCallLogHead) {
  constexpr Row kRows[] = {
      ROW(capi_call_log_header, used.count),
      ROW(capi_call_log_header, used.head),
      ROW(capi_call_log_header, used.tail),
      ROW(capi_call_log_header, free.count),
      ROW(capi_call_log_header, free.head),
      ROW(capi_call_log_header, free.tail),
      ROW(capi_call_log_header, max_entry_num_per_type),
      ROW(capi_call_log_header, max_num_of_record_type),
      ROW(capi_call_log_header, next_sequence),
      ROW(capi_call_log_header, log_ver),
      ROW(capi_call_log_header, entry),
  };
  expect_rows("voip_call_log: the head", kRows);
}

TEST(FileFormats, TellTheOffsetsOfCallLogNode) {
  constexpr Row kRows[] = {
      ROW(capi_call_log_record, calltype),
      ROW(capi_call_log_record, prev),
      ROW(capi_call_log_record, next),
      ROW(capi_call_log_record, index),
      ROW(capi_call_log_record, endpt),
      ROW(capi_call_log_record, calltimestart),
      ROW(capi_call_log_record, calltimeconnect),
      ROW(capi_call_log_record, calltimeend),
      ROW(capi_call_log_record, displayname),
      ROW(capi_call_log_record, number),
      ROW(capi_call_log_record, sequence),
      ROW(capi_call_log_record, all_prev),
      ROW(capi_call_log_record, all_next),
      ROW(capi_call_log_record, reserved),
      ROW(capi_call_log_record, statistics),
  };
  expect_rows("voip_call_log: a node", kRows);
}

TEST(FileFormats, TellTheOffsetsOfShortMessageHead) {
  constexpr Row kRows[] = {
      ROW(SmsFileHeader, version), ROW(SmsFileHeader, sm_count), ROW(SmsFileHeader, file_identity),
      ROW(SmsFileHeader, last_id), ROW(SmsFileHeader, imsi),
  };
  expect_rows("sm_recv and sm_send: the head", kRows);
}

TEST(FileFormats, TellTheOffsetsOfShortMessage) {
  constexpr Row kRows[] = {
      ROW(SmsItem, type),
      ROW(SmsItem, length),
      ROW(SmsItem, message.id),
      ROW(SmsItem, message.reserved),
      ROW(SmsItem, message.status),
      ROW(SmsItem, message.bRead),
      ROW(SmsItem, message.reserved2),
      ROW(SmsItem, message.BeginTime),
      ROW(SmsItem, message.LastTime),
      ROW(SmsItem, message.imsi),
      ROW(SmsItem, message.LocalNumber),
      ROW(SmsItem, message.RemoteNumber),
      ROW(SmsItem, message.TextLen),
      ROW(SmsItem, message.TextSize),
      ROW(SmsItem, message.TextType),
      ROW(SmsItem, message.Text),
  };
  expect_rows("sm_recv and sm_send: a message", kRows);
}

TEST(FileFormats, TellTheOffsetsOfSharedRecord) {
  constexpr Row kRows[] = {
      ROW(cfg_shared_record, directory),
      ROW(cfg_shared_record, sys_uuid),
      ROW(cfg_shared_record, wan_mac),
      ROW(cfg_shared_record, fw_version),
      ROW(cfg_shared_record, fw_build_number),
      ROW(cfg_shared_record, public_ip),
      ROW(cfg_shared_record, wan_ip),
      ROW(cfg_shared_record, device_imei),
      ROW(cfg_shared_record, device_name),
      ROW(cfg_shared_record, bb_if_name),
      ROW(cfg_shared_record, dns_server),
      ROW(cfg_shared_record, pcscf_addr),
      ROW(cfg_shared_record, stack_if_name),
      ROW(cfg_shared_record, sim_info),
      ROW(cfg_shared_record, hw_info),
      ROW(cfg_shared_record, serving_cell),
      ROW(cfg_shared_record, sim_check_flag),
      ROW(cfg_shared_record, voice_switch),
      ROW(cfg_shared_record, voice_stack),
      ROW(cfg_shared_record, voice_basic),
      ROW(cfg_shared_record, system_access),
      ROW(cfg_shared_record, sip_line),
      ROW(cfg_shared_record, sip_line_feature),
      ROW(cfg_shared_record, voice_parameter),
      ROW(cfg_shared_record, speed_dial),
      ROW(cfg_shared_record, speed_dial30),
      ROW(cfg_shared_record, call_forward),
      ROW(cfg_shared_record, sip_registration),
      ROW(cfg_shared_record, sms_cfg),
      ROW(cfg_shared_record, slic_parameter),
      ROW(cfg_shared_record, sip_server),
      ROW(cfg_shared_record, voice_nat),
      ROW(cfg_shared_record, call_block),
      ROW(cfg_shared_record, call_white_list),
      ROW(cfg_shared_record, call_redirection),
      ROW(cfg_shared_record, cs_reg_stat),
      ROW(cfg_shared_record, reg_stat),
      ROW(cfg_shared_record, phone_phy_status),
      ROW(cfg_shared_record, shared_reg_summary),
      ROW(cfg_shared_record, shared_call_state),
      ROW(cfg_shared_record, shared_phone_status),
      ROW(cfg_shared_record, ims_voice),
      ROW(cfg_shared_record, lte_net_info),
      ROW(cfg_shared_record, vendor),
  };
  expect_rows("The shared record", kRows);
}

}  // namespace
}  // namespace capi
