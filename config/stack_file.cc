// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration files of the voice stack, written from the record.

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "backend/context.h"
#include "capi/backend.h"
#include "config/sim_file.h"
#include "config/stack_rows.h"
#include "foundation/file.h"
#include "foundation/text.h"
#include "foundation/text_file.h"

namespace capi {
namespace {

using namespace stack_rows;

constexpr int kTransportTls = 2;

// What differs between the stacks. Members that are null: no interface or P-CSCF of its own, the
// loopback address.
struct StackType {
  char suffix[8];
  int stack;  // entry of the voice stacks, from 0
  bool is_voip;
  bool refreshes_sim_file;
  int interface;  // entry of the per-stack interfaces, or -1
  int channel_type;
  char (cfg_shared_record::*address)[64];
  char (cfg_shared_record::*pcscf)[256];
};

using R = cfg_shared_record;
constexpr StackType kTypes[] = {
    {".volte", 0, false, true, 0, 1, &R::ims_ip, &R::pcscf_addr},
    {".voip", 1, true, false, 1, 0, &R::voip_ip, &R::pcscf_addr},
    {".vowifi", 2, false, true, 2, 0, &R::wan_ip, &R::pcscf_addr},
    {".cs", 3, false, false, -1, 0, nullptr, nullptr},
    {".qvc", 4, false, false, -1, 0, nullptr, nullptr},
    {".sos", 0, false, true, 5, 2, &R::sos_ip, &R::sos_pcscf},  // an emergency call is a VoLTE call
    {"", 0, false, false, -1, 0, nullptr, nullptr},
};

class StackFileWriter {
 public:
  StackFileWriter(TextFile& file, const cfg_shared_record& record, const StackType& type)
      : file_(file), record_(record), type_(type) {}

  void write() {
    for (const Line* line = std::begin(kLines); line != std::end(kLines);) {
      const Line* end = std::find_if(line + 1, std::end(kLines), [](const Line& next) {
        return next.source == Source::Section;
      });
      write_section(*line, line + 1, end);
      line = end;
    }
  }

 private:
  void write_section(const Line& header, const Line* lines, const Line* end) {
    const int first_number = header.repeat == Repeat::Lines ? 1 : 0;
    for (int i = 0; i < instances(header.repeat); ++i) {
      instance_ = header.repeat == Repeat::ChosenStack ? type_.stack : i;
      write_header(kLines.text(header.key), i + first_number);
      for (const Line* line = lines; line != end; ++line) {
        if (applies(line->when)) write_line(*line);
      }
      file_.add("\n");
    }
  }

  // A name may have a place for the number in it.
  void write_header(std::string_view name, int number) {
    constexpr std::string_view kPlace = "%d";
    const size_t place = name.find(kPlace);
    file_.add("[");
    file_.add(head(name, place));
    if (place != std::string_view::npos) {
      file_.add(number);
      file_.add(tail(name, place + kPlace.size()));
    }
    file_.add("]\n");
  }

  int instances(Repeat repeat) const {
    switch (repeat) {
      case Repeat::Lines:
        return CAPI_SIP_LINES;
      case Repeat::Servers:
        return CAPI_SIP_SERVERS;
      case Repeat::Codecs:
        return codec_count();
      case Repeat::Once:
      case Repeat::ChosenStack:
        break;
    }
    return 1;
  }

  // A client may have stored any count with the whole record.
  int codec_count() const {
    return std::clamp<int>(record_.voice_parameter.count, 0, CAPI_CODEC_SLOTS);
  }

  bool applies(When when) const {
    const auto code_list = [&] { return bounded(record_.voice_parameter.code_list[instance_]); };
    switch (when) {
      case When::Voip:
        return type_.is_voip;
      case When::Tls:
        return record_.voice_basic.transport_protocol == kTransportTls;
      case When::AmrCodec:
        return contains(code_list(), "AMR");
      case When::EvsCodec:
        return contains(code_list(), "EVS");
      case When::Always:
        break;
    }
    return true;
  }

  void write_line(const Line& line) {
    const std::string_view key = kLines.text(line.key);
    switch (line.source) {
      case Source::Section:
        break;
      case Source::Constant:
        return put(key, kLines.text(line.constant));
      case Source::Field:
        return put_field(key, line.field, instance_);
      case Source::VoipField:
        if (type_.is_voip) return put_field(key, line.field, instance_);
        return put(key, line.field.kind == FieldKind::Integer ? "0" : "");
      case Source::EvsField:
        return put_evs(key, line.field);
      case Source::BlockList:
        return put_block_list(key, line.field);
      case Source::InterfaceName:
        return put(key, interface_name());
      case Source::NetworkType:
        return put(key, contains(address(), ":") ? "1" : "0");  // IPv6
      case Source::ForcedAddress:
        return put(key, address());
      case Source::ChannelType:
        return put_number(key, type_.channel_type);
      case Source::CallerPreferences:
        return put(key, type_.is_voip ? "0" : "1");
      case Source::PcscfAddress:
        if (type_.pcscf != nullptr) put(key, bounded(record_.*type_.pcscf));
        break;
      case Source::DialPlan:
        return put_dial_plan(key);
      case Source::CodecCount:
        return put_number(key, codec_count());
    }
  }

  void put(std::string_view key, std::string_view value) {
    file_.add(key);
    file_.add("=");
    file_.add(value);
    file_.add("\n");
  }

  void put_number(std::string_view key, int value) {
    NumberText number;
    put(key, number.put(value));
  }

  std::string_view text_of(const Field& field, int index, NumberText& number) const {
    constexpr size_t kMaxValue = sizeof record_.slic_parameter.settings - 1;
    return head(field_text(record_, field, index, number), kMaxValue);
  }

  void put_field(std::string_view key, const Field& field, int index) {
    NumberText number;
    put(key, text_of(field, index, number));
  }

  void put_evs(std::string_view key, const Field& field) {
    if (field_number(record_, field, 0) == CAPI_EVS_UNSET) return put(key, "");
    put_field(key, field, 0);
  }

  void put_dial_plan(std::string_view key) {
    file_.add(key);
    file_.add("=(");
    file_.add(bounded(record_.voice_basic.dial_plan));
    file_.add(")\n");
  }

  void put_block_list(std::string_view key, const Field& field) {
    for (int i = 0; i < CAPI_CALL_BLOCKS; ++i) {
      NumberText number;
      file_.add(key);
      file_.add(i);
      put("", text_of(field, i, number));
    }
  }

  std::string_view interface_name() const {
    if (type_.interface >= 0 && record_.stack_if_name[type_.interface][0] != '\0') {
      return bounded(record_.stack_if_name[type_.interface]);
    }
    return bounded(record_.bb_if_name);
  }

  std::string_view address() const {
    return type_.address != nullptr ? bounded(record_.*type_.address) : "127.0.0.1";
  }

  TextFile& file_;
  const cfg_shared_record& record_;
  const StackType& type_;
  int instance_ = 0;
};

}  // namespace
}  // namespace capi

int capi_cfg_backend_make_config_file(unsigned type) {
  using namespace capi;
  return with_shared_record([&](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    const StackType& row = kTypes[std::min<size_t>(type, std::size(kTypes) - 1)];
    char path[32];
    snprintf(path, sizeof path, "/tmp/vosip.conf%s", row.suffix);
    const File file = open_file(path, "wb+");
    if (!file) return -1;
    TextFile text(file.get());
    StackFileWriter(text, record, row).write();
    if (row.refreshes_sim_file) refresh_sim_file(record);
    return 0;
  });
}
