// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The signals and their attributes, as rows. The order of the rows is that of the JSON members.
//
// Both directions walk the same rows: what can be written can be read. A signal is a row, and the
// rows behind it are its attributes; an object or an array is a row that says how many of the next
// ones are in it. The end is a row as well.
//
// A key is the name of the record's member; what is no member has a key of its own. The first
// signal is the general one, which also stands for names that are in no row.
//
// Leaves to signal/codec.cc what values of the wrong type or range become.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "capi/signal.h"
#include "foundation/member.h"
#include "foundation/text_table.h"

namespace capi::signal_rows {

enum class Kind : uint8_t {
  Signal,  // not an attribute: a signal begins, "key" is its name
  Int32,
  Uint32,
  Uint8,
  Uint64,
  Text,
  DecimalText,  // a 64-bit number that travels as a text
  Position,     // of an object in its array, counted from 0; the record has no field for it
  Object,       // of the "members" rows that follow
  Array,        // of "count" such objects, "size" bytes of the record each
};

// What a missing text reads as.
enum class Default : uint8_t { Empty, UnRegistered, Dashes, Unknown };

inline constexpr char kDefaults[][16] = {"", "UnRegistered", "---", "unknown"};

template <typename Text>
struct RowOf {
  Text key;
  Kind kind;
  Default missing;
  uint8_t members;
  uint8_t count;
  uint16_t offset;  // in the information record; in an array, in the object's part of it
  uint16_t size;    // capacity of a text

  constexpr RowOf<TextOffset> pack(TextPool& pool) const {
    return {pool.add(key), kind, missing, members, count, offset, size};
  }
};
using AttributeDraft = RowOf<std::string_view>;
using Row = RowOf<TextOffset>;

constexpr AttributeDraft named(Kind kind, std::string_view key) {
  return {key, kind, {}, 0, 0, 0, 0};
}

template <typename Field>
constexpr Kind kind_of() {
  if (std::is_same_v<Field, int32_t>) return Kind::Int32;
  if (std::is_same_v<Field, uint32_t>) return Kind::Uint32;
  if (std::is_same_v<Field, uint8_t>) return Kind::Uint8;
  if (std::is_same_v<Field, uint64_t>) return Kind::Uint64;
  return Kind::Text;
}

constexpr AttributeDraft under(std::string_view key, AttributeDraft draft) {
  draft.key = key;
  return draft;
}

template <typename Field>
constexpr AttributeDraft attribute(size_t offset) {
  static_assert(std::is_integral_v<Field> || std::is_same_v<std::remove_extent_t<Field>, char>);
  AttributeDraft draft = named(kind_of<Field>(), {});
  draft.offset = static_cast<uint16_t>(offset);
  draft.size = static_cast<uint16_t>(sizeof(Field));
  return draft;
}

constexpr AttributeDraft signal(std::string_view name) { return named(Kind::Signal, name); }

constexpr AttributeDraft or_else(Default missing, AttributeDraft draft) {
  draft.missing = missing;
  return draft;
}

constexpr AttributeDraft as_decimal_text(AttributeDraft draft) {
  draft.kind = Kind::DecimalText;
  return draft;
}

constexpr AttributeDraft object(std::string_view key, uint8_t members) {
  AttributeDraft draft = named(Kind::Object, key);
  draft.members = members;
  return draft;
}

constexpr AttributeDraft array(std::string_view key, uint8_t members, uint8_t count, size_t offset,
                               size_t size) {
  AttributeDraft draft = named(Kind::Array, key);
  draft.members = members;
  draft.count = count;
  draft.offset = static_cast<uint16_t>(offset);
  draft.size = static_cast<uint16_t>(size);
  return draft;
}

// A field of a record, under its own name.
#define ATTRIBUTE(record, field) under(#field, CAPI_MEMBER(attribute, capi_signal_##record, field))

inline constexpr AttributeDraft kDrafts[] = {
    signal("VOP_SIG_GENERAL_SIGNAL"),
    ATTRIBUTE(general, param1),
    ATTRIBUTE(general, param2),
    ATTRIBUTE(general, param3),
    ATTRIBUTE(general, iParam1),
    ATTRIBUTE(general, iParam2),
    ATTRIBUTE(general, iParam3),
    ATTRIBUTE(general, iParam4),

    signal("vop_sig_voip_phone_status_changed"),
    ATTRIBUTE(phone_status, line),
    ATTRIBUTE(phone_status, hookstatus),
    ATTRIBUTE(phone_status, incomingcallindication),

    signal("vop_sig_vosip_exit_event"),
    ATTRIBUTE(exit_event, stat),
    ATTRIBUTE(exit_event, fwupgradeflag),
    ATTRIBUTE(exit_event, gracefulexitflag),
    ATTRIBUTE(exit_event, voipiscalling),

    signal("vop_sig_voip_csfb_state"),
    ATTRIBUTE(csfb_state, lineid),
    ATTRIBUTE(csfb_state, state),

    signal("vop_sig_voip_simcard_error"),
    ATTRIBUTE(simcard_error, detach),

    signal("vop_sig_voip_pcscf_error"),
    ATTRIBUTE(pcscf_error, error),

    signal("vop_sig_voip_proxy_connect_status"),
    ATTRIBUTE(proxy_status, status),

    signal("vop_sig_voip_register_status"),
    ATTRIBUTE(register_status, lineId),
    ATTRIBUTE(register_status, hasvoicemail),
    ATTRIBUTE(register_status, hasnoE911address),
    ATTRIBUTE(register_status, simcarddeactivated),
    ATTRIBUTE(register_status, callfailed),
    or_else(Default::UnRegistered, ATTRIBUTE(register_status, lineregstatusstring)),
    object("voipmsg", 4),
    ATTRIBUTE(register_status, line),
    ATTRIBUTE(register_status, status),
    or_else(Default::Dashes, ATTRIBUTE(register_status, phonenumber)),
    or_else(Default::Dashes, ATTRIBUTE(register_status, stacktype)),

    signal("vop_sig_voip_e911_address_onoff"),
    ATTRIBUTE(e911_onoff, line),
    ATTRIBUTE(e911_onoff, status),

    signal("vop_sig_voip_vm_off"),
    ATTRIBUTE(voice_mail, line),

    signal("vop_sig_voip_vm_on"),
    ATTRIBUTE(voice_mail, line),

    signal("vop_sig_simcard_provisioned_status"),
    ATTRIBUTE(provisioned_status, deactived),

    signal("vop_sig_voip_call_state_change"),
    ATTRIBUTE(call_state, line),
    array("callinfo", 4, CAPI_SIGNAL_CALLS, offsetof(capi_signal_call_state, callinfo),
          sizeof(capi_signal_call)),
    named(Kind::Position, "call"),
    ATTRIBUTE(call, callstate),
    ATTRIBUTE(call, callpartynumber),
    ATTRIBUTE(call, callpartyname),

    signal("vop_sig_voip_app_critical_error"),
    ATTRIBUTE(critical_error, watchcount),

    signal("vop_sig_voip_call_log_info"),
    ATTRIBUTE(call_log, index),
    ATTRIBUTE(call_log, calltype),
    ATTRIBUTE(call_log, endpt),
    ATTRIBUTE(call_log, calltimestart),
    ATTRIBUTE(call_log, calltimeconnect),
    ATTRIBUTE(call_log, calltimeend),
    ATTRIBUTE(call_log, displayname),
    ATTRIBUTE(call_log, number),
    ATTRIBUTE(call_log, PacketsSent),
    ATTRIBUTE(call_log, PacketsReceived),
    ATTRIBUTE(call_log, PacketsLost),
    ATTRIBUTE(call_log, PacketsDiscarded),
    ATTRIBUTE(call_log, BytesReceived),
    ATTRIBUTE(call_log, BytesSent),
    ATTRIBUTE(call_log, RoundTripDelay),
    ATTRIBUTE(call_log, PayloadType),
    ATTRIBUTE(call_log, ReceiveInterarrivalJitter),
    ATTRIBUTE(call_log, MinJitter),
    ATTRIBUTE(call_log, MaxJitter),
    ATTRIBUTE(call_log, Decodelatency),

    signal("vop_sig_vsdk_service_control"),
    or_else(Default::Unknown, ATTRIBUTE(service_control, message)),
    or_else(Default::Unknown, ATTRIBUTE(service_control, param1)),
    or_else(Default::Unknown, ATTRIBUTE(service_control, param2)),
    or_else(Default::Unknown, ATTRIBUTE(service_control, param3)),

    signal("vop_sig_timer_expired"),
    ATTRIBUTE(timer_expired, cookie),

    signal("vop_sig_voip_call_sms_info"),
    ATTRIBUTE(sms, MsgId),
    ATTRIBUTE(sms, status),
    ATTRIBUTE(sms, bRead),
    ATTRIBUTE(sms, BeginTime),
    ATTRIBUTE(sms, LastTime),
    ATTRIBUTE(sms, TextLen),
    ATTRIBUTE(sms, TextSize),
    ATTRIBUTE(sms, TextType),
    ATTRIBUTE(sms, imsi),
    ATTRIBUTE(sms, LocalNumber),
    ATTRIBUTE(sms, RemoteNumber),
    ATTRIBUTE(sms, Text),

    signal("vop_sig_cfg_changed_info"),
    ATTRIBUTE(cfg_changed, index),
    ATTRIBUTE(cfg_changed, section),
    ATTRIBUTE(cfg_changed, name),
    ATTRIBUTE(cfg_changed, value),

    signal("vop_sig_cellular_internet_state_change"),
    ATTRIBUTE(internet_state, internet_state),
    ATTRIBUTE(internet_state, ip_state),

    signal("vop_sig_voip_call_failed"),
    ATTRIBUTE(call_failed, line),
    ATTRIBUTE(call_failed, failed),

    signal("vop_sig_voip_slic_stat"),
    ATTRIBUTE(slic_stat, HookStatus0),
    ATTRIBUTE(slic_stat, FaultStatus0),
    ATTRIBUTE(slic_stat, HookStatus1),
    ATTRIBUTE(slic_stat, FaultStatus1),

    signal("vop_sig_voice_reg_stat"),
    ATTRIBUTE(voice_reg_stat, LineId),
    ATTRIBUTE(voice_reg_stat, VoiceType),
    ATTRIBUTE(voice_reg_stat, Status),
    ATTRIBUTE(voice_reg_stat, LastRegistrationAttemptTime),
    ATTRIBUTE(voice_reg_stat, LastRegisteredTime),
    ATTRIBUTE(voice_reg_stat, LastRegistrationDuration),
    ATTRIBUTE(voice_reg_stat, LastDisconnectedTime),
    ATTRIBUTE(voice_reg_stat, LastFailedReason),
    ATTRIBUTE(voice_reg_stat, LastFailedReplyCode),
    ATTRIBUTE(voice_reg_stat, TimesOfRegAttempt),
    ATTRIBUTE(voice_reg_stat, TimesOfUnsuccessfulRegAttempt),
    ATTRIBUTE(voice_reg_stat, TimesOfRegDisconnection),
    ATTRIBUTE(voice_reg_stat, StatusStr),
    ATTRIBUTE(voice_reg_stat, LastFailedReasonStr),
    ATTRIBUTE(voice_reg_stat, LastFailedReplyCodeStr),
    ATTRIBUTE(voice_reg_stat, registerFlag),
    ATTRIBUTE(voice_reg_stat, authRes),
    ATTRIBUTE(voice_reg_stat, updateEnable),

    signal("vop_sig_voip_sms_send"),
    as_decimal_text(ATTRIBUTE(sms_send, MsgId)),

    signal(""),  // the end; it belongs to nobody
};

#undef ATTRIBUTE

inline constexpr auto kRows = make_text_table<kDrafts>();

inline constexpr size_t kSignals = 24;

consteval std::array<uint8_t, kSignals + 1> find_signals() {
  std::array<uint8_t, kSignals + 1> first{};
  size_t found = 0;
  for (size_t i = 0; i < kRows.size(); ++i) {
    if (kRows[i].kind == Kind::Signal) first[found++] = static_cast<uint8_t>(i);
  }
  return first;
}

// Where the rows of each signal begin; the last entry is the end.
inline constexpr std::array<uint8_t, kSignals + 1> kFirstRow = find_signals();

static_assert(kFirstRow[kSignals] == kRows.size() - 1, "kSignals is the number of signals");

}  // namespace capi::signal_rows
