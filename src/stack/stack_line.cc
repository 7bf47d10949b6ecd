// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/stack_line.h"

#include <cstdio>

#include "foundation/text.h"
#include "stack/stack_rows.h"
#include "stack/stack_types.h"

namespace capi {
namespace {

using namespace stack_rows;

constexpr size_t kTypeCount = std::size(kStackTypes);

// Where the value is that a line of a type's file shows, or is worked out from; 0 for none.
size_t shown_offset(const Row& line, const Row& section, const StackType& type) {
  const Field& field = line.named.field;
  if (line.when == When::Voip && !type.is_voip) return 0;
  switch (line.source) {
    case Source::Constant:
    case Source::ChannelType:
    case Source::CallerPreferences:
      return 0;
    case Source::VoipField:
      return type.is_voip ? field.offset : 0;
    case Source::InterfaceName:
      return type.interface >= 0 ? offsetof(cfg_shared_record, stack_if_name) +
                                       static_cast<size_t>(type.interface) *
                                           sizeof cfg_shared_record::stack_if_name[0]
                                 : offsetof(cfg_shared_record, bb_if_name);
    case Source::NetworkType:
    case Source::ForcedAddress:
      return type.address;
    case Source::PcscfAddress:
      return type.pcscf;
    case Source::DialPlan:
      return offsetof(cfg_shared_record, voice_basic.dial_plan);
    case Source::CodecCount:
      return offsetof(cfg_shared_record, voice_parameter.count);
    default:  // a field of the record
      break;
  }
  const bool is_chosen = section.source == Source::SectionOfChosenStack;
  return field.offset + (is_chosen ? static_cast<size_t>(type.stack) * field.stride : 0);
}

int condition_of(const Row& line, const Row& section) {
  switch (line.when) {
    case When::Tls:
      return CAPI_STACK_LINE_TLS;
    case When::AmrCodec:
      return CAPI_STACK_LINE_AMR;
    case When::EvsCodec:
      return CAPI_STACK_LINE_EVS;
    default:
      break;
  }
  return section.source == Source::SectionOfEachCodec ? CAPI_STACK_LINE_SLOT
                                                      : CAPI_STACK_LINE_ALWAYS;
}

// The numbers that the sections of a row, or its lines, carry.
void set_numbers(capi_stack_line& shown, const Row& line, const Row& section) {
  shown.stride = line.named.field.stride;
  shown.count = 1;
  if (line.source == Source::BlockList) {
    shown.count = CAPI_CALL_BLOCKS;
  } else if (section.source == Source::SectionOfEachLine) {
    shown.first = 1;
    shown.count = CAPI_SIP_LINES;
  } else if (section.source == Source::SectionOfEachCodec) {
    shown.count = CAPI_CODEC_SLOTS;
  } else if (section.source == Source::SectionOfEachServer) {
    shown.count = CAPI_SIP_SERVERS;
  } else {
    shown.stride = 0;
  }
}

capi_stack_line describe(const Row& line, const Row& section) {
  capi_stack_line shown{};
  copy_text(shown.section, kRows.text(section.named.key));
  snprintf(shown.name, sizeof shown.name, line.source == Source::BlockList ? "%s%%d" : "%s",
           kRows.text(line.named.key).data());
  set_numbers(shown, line, section);
  shown.condition = condition_of(line, section);
  return shown;
}

// Hands out a line once for each value that it shows.
int hand_out(const Row& line, const Row& section, capi_stack_line_cb callback, void* user) {
  uint32_t types_left = (1U << kTypeCount) - 1;
  for (size_t type = 0; type < kTypeCount; ++type) {
    const size_t offset = shown_offset(line, section, kStackTypes[type]);
    if ((types_left >> type & 1) == 0 || offset == 0) continue;
    capi_stack_line shown = describe(line, section);
    shown.offset = static_cast<int32_t>(offset);
    for (size_t other = type; other < kTypeCount; ++other) {
      if (shown_offset(line, section, kStackTypes[other]) == offset) shown.types |= 1U << other;
    }
    types_left &= ~shown.types;
    if (const int result = callback(&shown, user)) return result;
  }
  return 0;
}

// Of the stacks that have an interface of their own.
int hand_out_other_interface(const Row& line, const Row& section, capi_stack_line_cb callback,
                             void* user) {
  capi_stack_line shown = describe(line, section);
  shown.offset = offsetof(cfg_shared_record, bb_if_name);
  shown.condition = CAPI_STACK_LINE_NO_INTERFACE;
  for (size_t type = 0; type < kTypeCount; ++type) {
    if (kStackTypes[type].interface >= 0) shown.types |= 1U << type;
  }
  return callback(&shown, user);
}

}  // namespace
}  // namespace capi

int capi_stack_line_for_each(capi_stack_line_cb callback, void* user) {
  using namespace capi;
  if (callback == nullptr) return -1;
  const Row* section = nullptr;
  for (const Row& row : kRows) {
    if (row.source <= Source::SectionOfChosenStack) {
      section = &row;
      continue;
    }
    if (const int result = hand_out(row, *section, callback, user)) return result;
    if (row.source != Source::InterfaceName) continue;
    if (const int result = hand_out_other_interface(row, *section, callback, user)) return result;
  }
  return 0;
}
