// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Publishing: the staging copy becomes the configuration that every process sees.

#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "capi/backend.h"
#include "foundation/member.h"
#include "foundation/text.h"
#include "record/context.h"
#include "record/directory.h"
#include "record/info_files.h"
#include "record/whole_write.h"

namespace capi {
namespace {

constexpr int kDefaultSipPort = 5060;

template <size_t N>
void put_number(char (&field)[N], uint32_t number) {
  char text[16];
  snprintf(text, sizeof text, "%lu", static_cast<unsigned long>(number));
  copy_text(field, text);
}

// A cell's global id is the 20-bit eNB id in front of the 8-bit cell id, behind the network's code
// in some. Saturates at 64 bits, whatever long has.
void split_global_cell_id(capi_lte_net_info& info, const char* global_id) {
  const auto id = static_cast<uint32_t>(strtoull(global_id, nullptr, 16) & 0xFFFFFFF);
  put_number(info.cellid, id & 255);
  put_number(info.enbid, id >> 8);
}

void build_lte_net_info(cfg_shared_record& record) {
  const capi_serving_cell& cell = record.serving_cell;
  capi_lte_net_info& info = record.lte_net_info;
  if (cell.globalcellid[0] != '\0') {
    split_global_cell_id(info, cell.globalcellid);
  } else {
    copy_text(info.cellid, bounded(cell.cellid));
    copy_text(info.enbid, bounded(cell.enbid));
  }
  copy_text(info.act, "7");
  copy_text(info.mcc, bounded(cell.mcc));
  copy_text(info.mnc, bounded(cell.mnc));
  copy_text(info.tac, bounded(cell.tac));
  copy_text(info.band, bounded(cell.band));
}

void fill_lte_net_info(cfg_shared_record& record) {
  if (read_lte_net_info(record, data_dir(record))) return;
  if (read_lte_net_info(record, kFallbackDir)) return;
  build_lte_net_info(record);
}

void fill_sip_ports(capi_voice_sip_server& server) {
  for (int32_t* ports : {server.registrar_port, server.proxy_port, server.outbound_proxy_port}) {
    for (int i = 0; i < CAPI_SIP_SERVERS; ++i) {
      if (ports[i] == 0) ports[i] = kDefaultSipPort;
    }
  }
}

// Where the configuration may be cut: between records, and nowhere else.
constexpr size_t kCuts[] = {0,
                            offsetof(cfg_shared_record, voice_stack),
                            offsetof(cfg_shared_record, sip_line_feature),
                            offsetof(cfg_shared_record, speed_dial30),
                            offsetof(cfg_shared_record, sip_server),
                            offsetof(cfg_shared_record, call_block),
                            offsetof(cfg_shared_record, cs_reg_stat)};

consteval bool are_pieces_small_enough() {
  for (size_t i = 1; i < std::size(kCuts); ++i) {
    if (kCuts[i] - kCuts[i - 1] > kMaxWholeWrite) return false;
  }
  return true;
}
static_assert(are_pieces_small_enough());

void publish_configuration(cfg_shared_record& to, const cfg_shared_record& from) {
  for (size_t i = 1; i < std::size(kCuts); ++i) {
    write_whole(bytes_at(to, kCuts[i - 1]), bytes_at(from, kCuts[i - 1]), kCuts[i] - kCuts[i - 1]);
  }
}

void publish(const cfg_shared_record& record, cfg_shared_record& staging)
    CAPI_REQUIRES(kConfShmLock) {
  fill_lte_net_info(staging);
  const RecordChange change(record, CAPI_TOPIC_CONFIG | CAPI_TOPIC_DEVICE);
  publish_configuration(*change, staging);
  write_whole(change->lte_net_info, staging.lte_net_info);
  capi_voice_sip_server server = staging.sip_server;
  fill_sip_ports(server);
  write_whole(change->sip_server, server);
  change.note_publishing();
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_cfg_backend_config_finish() {
  const CriticalSection section(kConfShmLock);
  cfg_backend_context* ctx = context();
  if (ctx == nullptr) return -1;
  if (const cfg_shared_record* record = shared_record()) publish(*record, ctx->staging);
  return 0;
}
