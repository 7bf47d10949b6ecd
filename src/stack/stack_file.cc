// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration files of the voice stack, written from the record.

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "capi/backend.h"
#include "capi/snapshot.h"
#include "device/sim_file.h"
#include "foundation/file.h"
#include "foundation/file_replacement.h"
#include "foundation/text.h"
#include "record/context.h"
#include "stack/stack_rows.h"
#include "stack/stack_types.h"

namespace capi {
namespace {

using namespace stack_rows;

constexpr int kTransportTls = 2;

class StackFileWriter {
 public:
  StackFileWriter(FILE* file, const cfg_shared_record& record, const StackType& type)
      : file_(file), record_(record), type_(type) {}

  void write() {
    const Row* section = kRows.begin();
    while (section != kRows.end()) {
      const Row* next = std::find_if(section + 1, kRows.end(), is_section);
      const int count = instances(section->source);
      for (int i = 0; i < count; ++i) write_section(section, next, i);
      section = next;
    }
  }

 private:
  static bool is_section(const Row& row) { return row.source <= Source::SectionOfChosenStack; }

  static const char* key(const Row& row) { return kRows.text(row.named.key).data(); }

  int instances(Source section) const {
    switch (section) {
      case Source::SectionOfEachLine:
        return CAPI_SIP_LINES;
      case Source::SectionOfEachServer:
        return CAPI_SIP_SERVERS;
      case Source::SectionOfEachCodec:
        return codec_count();
      default:
        return 1;
    }
  }

  // A client may have stored any count with the whole record.
  int codec_count() const {
    return std::clamp<int>(record_.voice_parameter.count, 0, CAPI_CODEC_SLOTS);
  }

  bool is_codec(std::string_view name) const {
    return contains(bounded(record_.voice_parameter.code_list[instance_]), name);
  }

  bool applies(const Row& row) const {
    switch (row.when) {
      case When::Voip:
        return type_.is_voip;
      case When::Tls:
        return record_.voice_basic.transport_protocol == kTransportTls;
      case When::AmrCodec:
        return is_codec("AMR");
      case When::EvsCodec:
        return is_codec("EVS");
      case When::Always:
        break;
    }
    return row.source != Source::PcscfAddress || type_.pcscf != 0;
  }

  // The row of a section and those of its lines, up to "end".
  void write_section(const Row* section, const Row* end, int i) {
    char name[32];
    snprintf(name, sizeof name, key(*section),
             section->source == Source::SectionOfEachLine ? i + 1 : i);
    fprintf(file_, "[%s]\n", name);
    instance_ = section->source == Source::SectionOfChosenStack ? type_.stack : i;
    for (const Row* line = section + 1; line != end; ++line) {
      if (applies(*line)) write_line(*line);
    }
    putc('\n', file_);
  }

  void write_line(const Row& line) {
    if (line.source == Source::BlockList) return write_block_list(line);
    if (line.source == Source::Constant) {
      fprintf(file_, "%s\n", key(line));
      return;
    }
    NumberText number;
    const std::string_view value = first_line(value_of(line, number));
    const char* format = line.source == Source::DialPlan ? "%s=(%.*s)\n" : "%s=%.*s\n";
    fprintf(file_, format, key(line), CAPI_TEXT_ARG(value));
  }

  void write_block_list(const Row& list) {
    for (int i = 0; i < CAPI_CALL_BLOCKS; ++i) {
      NumberText number;
      const std::string_view entry = first_line(field_text(record_, list.named.field, i, number));
      fprintf(file_, "%s%d=%.*s\n", key(list), i, CAPI_TEXT_ARG(entry));
    }
  }

  std::string_view value_of(const Row& line, NumberText& number) const {
    const Field& field = line.named.field;
    switch (line.source) {
      case Source::VoipField:
        if (!type_.is_voip) return field.kind == FieldKind::Integer ? "0" : "";
        break;
      case Source::EvsField:
        if (field_number(record_, field, instance_) == CAPI_EVS_UNSET) return "";
        break;
      case Source::InterfaceName:
        return interface_name();
      case Source::NetworkType:
        return contains(address(), ":") ? "1" : "0";  // IPv6
      case Source::ForcedAddress:
        return address();
      case Source::ChannelType:
        return number.put(type_.channel_type);
      case Source::CallerPreferences:
        return type_.is_voip ? "0" : "1";
      case Source::PcscfAddress:
        return text_at_offset(type_.pcscf, sizeof record_.pcscf_addr);
      case Source::DialPlan:
        return bounded(record_.voice_basic.dial_plan);
      case Source::CodecCount:
        return number.put(codec_count());
      default:  // a field of the record
        break;
    }
    return field_text(record_, field, instance_, number);
  }

  std::string_view interface_name() const {
    if (type_.interface >= 0 && record_.stack_if_name[type_.interface][0] != '\0') {
      return bounded(record_.stack_if_name[type_.interface]);
    }
    return bounded(record_.bb_if_name);
  }

  std::string_view address() const {
    return type_.address != 0 ? text_at_offset(type_.address, sizeof record_.ims_ip) : "127.0.0.1";
  }

  std::string_view text_at_offset(size_t offset, size_t width) const {
    return bounded(reinterpret_cast<const char*>(&record_) + offset, width);
  }

  FILE* file_;
  const cfg_shared_record& record_;
  const StackType& type_;
  int instance_ = 0;  // of the fields that are shown
};

const StackType& type_of(unsigned type) {
  return kStackTypes[std::min<size_t>(type, std::size(kStackTypes) - 1)];
}

// The text of a file, in memory. False without enough of that.
bool make_text(const cfg_shared_record& record, const StackType& type, Allocated<char>& text,
               size_t& size) {
  char* memory = nullptr;
  File file(open_memstream(&memory, &size));
  if (file) StackFileWriter(file.get(), record, type).write();
  const bool is_whole = file && ferror(file.get()) == 0 && fclose(file.release()) == 0;
  file.reset();  // before its memory
  text.reset(memory);
  return is_whole;
}

int write_file(const char* path, const cfg_shared_record& record, const StackType& type) {
  Allocated<char> text;
  size_t size = 0;
  int result = 0;
  if (!make_text(record, type, text, size)) return -1;
  const std::span bytes(reinterpret_cast<const uint8_t*>(text.get()), size);
  replace_file(path, bytes, {}, [&](ReplacingStep step) {
    if (step == ReplacingStep::Open) result = -1;
    if (step == ReplacingStep::Write) log_not_written("capi_cfg_backend_make_config_file", path);
  });
  return result;
}

}  // namespace
}  // namespace capi

int capi_cfg_backend_make_config_file(unsigned type) {
  using namespace capi;
  return with_shared_record([&](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    const StackType& row = type_of(type);
    char path[32];
    snprintf(path, sizeof path, "/tmp/vosip.conf%s", row.suffix);
    if (write_file(path, record, row) != 0) return -1;
    if (row.refreshes_sim_file) refresh_sim_file(record);
    return 0;
  });
}

int capi_snapshot_write_config_file(const cfg_shared_record* snapshot, unsigned type,
                                    const char* path) {
  using namespace capi;
  if (snapshot == nullptr || path == nullptr) return -1;
  return write_file(path, *snapshot, type_of(type));
}
