// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration files of the voice stack, written from the record.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "capi/backend.h"
#include "capi/snapshot.h"
#include "device/sim_file.h"
#include "foundation/file.h"
#include "foundation/text.h"
#include "foundation/text_file.h"
#include "record/context.h"
#include "stack/stack_plan.h"

namespace capi {
namespace {

using namespace stack_plan;

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

// The bound of a text is kept from the compiler: knowing one, it copies by an instruction that
// takes longer to start than the C library takes for all of a short text.
char* append(char* to, const char* text, size_t size) {
  asm("" : "+r"(size));
  memcpy(to, text, size);
  return to + size;
}

class StackFileWriter {
 public:
  StackFileWriter(TextFile& file, const cfg_shared_record& record, const StackType& type)
      : file_(file), record_(record), type_(type) {}

  void write() {
    for (const Group& group : kGroups) {
      const int count = instances(group.repeat);
      for (int i = 0; i < count; ++i) {
        instance_ = group.repeat == Repeat::ChosenStack ? type_.stack : i;
        number_ = group.repeat == Repeat::Lines ? i + 1 : i;
        if (group.repeat == Repeat::Codecs) look_at_codec();
        for (size_t step = group.first; step < group.end; ++step) write(kSteps[step]);
      }
    }
  }

 private:
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

  // Once for all the lines of a codec that depend on it.
  void look_at_codec() {
    const std::string_view code_list = bounded(record_.voice_parameter.code_list[instance_]);
    is_amr_ = contains(code_list, "AMR");
    is_evs_ = contains(code_list, "EVS");
  }

  bool applies(When when) const {
    switch (when) {
      case When::Voip:
        return type_.is_voip;
      case When::Tls:
        return record_.voice_basic.transport_protocol == kTransportTls;
      case When::AmrCodec:
        return is_amr_;
      case When::EvsCodec:
        return is_evs_;
      case When::Always:
        break;
    }
    return true;
  }

  // A step is one piece of the file. The longest value is that of a text field.
  static constexpr size_t kMaxValue = sizeof(capi_slic_parameter::settings) - 1;
  static_assert(kLongestText + kMaxValue + 1 <= TextFile::kMaxPiece);

  void write(const Step& step) {
    if (step.when != When::Always && !applies(step.when)) return;
    if (step.source == Source::PcscfAddress && type_.pcscf == nullptr) return;
    NumberText number;
    const std::string_view value = value_of(step, number);
    char* to = file_.begin_piece(step.length + value.size() + 1);
    to = append(to, &kText[step.text], step.length);
    to = append(to, value.data(), value.size());
    if (step.ends_line) *to++ = '\n';
    file_.end_piece(to);
  }

  std::string_view value_of(const Step& step, NumberText& number) const {
    switch (step.source) {
      case Source::Field:
        return field(step, number);
      case Source::VoipField:
        if (type_.is_voip) return field(step, number);
        return step.kind == FieldKind::Integer ? "0" : "";
      case Source::EvsField:
        return integer(step) == CAPI_EVS_UNSET ? "" : field(step, number);
      case Source::Section:
        return number.put(number_);
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
        return bounded(record_.*type_.pcscf);
      case Source::CodecCount:
        return number.put(codec_count());
      case Source::Constant:
      case Source::BlockList:
      case Source::DialPlan:
        break;
    }
    return "";
  }

  const char* place(const Step& step) const {
    return reinterpret_cast<const char*>(&record_) + step.offset +
           static_cast<size_t>(step.stride) * static_cast<size_t>(instance_);
  }

  int32_t integer(const Step& step) const {
    int32_t value = 0;
    memcpy(&value, place(step), sizeof value);
    return value;
  }

  std::string_view field(const Step& step, NumberText& number) const {
    if (step.kind == FieldKind::Integer) return number.put(integer(step));
    return bounded(place(step), std::min<size_t>(step.capacity, kMaxValue));
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
  int instance_ = 0;  // of the fields that are shown
  int number_ = 0;    // of the section, as it is named
  bool is_amr_ = false;
  bool is_evs_ = false;
};

const StackType& type_of(unsigned type) {
  return kTypes[std::min<size_t>(type, std::size(kTypes) - 1)];
}

int write_file(const char* path, const cfg_shared_record& record, const StackType& type) {
  const File file = open_file(path, "wb+");
  if (!file) return -1;
  TextFile text(file.get());
  StackFileWriter(text, record, type).write();
  return 0;
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
