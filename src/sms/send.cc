// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Sending: a message is stored, and the voice application told to fetch it.

#include <cstdio>
#include <cstring>
#include <ctime>

#include "capi/device.h"
#include "capi/event.h"
#include "capi/sms.h"
#include "device/sim_info.h"
#include "device/vendor_storage.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/segment_text.h"
#include "sms/id_text.h"
#include "sms/message.h"
#include "sms/path.h"
#include "sms/store.h"

namespace capi {
namespace {

constexpr char kFunc[] = "capi_voip_sms_send";

// Two zero bytes end the text, whatever its encoding.
constexpr uint32_t kTextEnd = CAPI_SMS_TEXT_CAPACITY - CAPI_SMS_MAX_TEXT;

using Number = char[24];

void put_international(Number& local, std::string_view number) {
  snprintf(local, sizeof local, "+%.*s", CAPI_TEXT_ARG(number));
}

// The number that the IMS network knows the device by. False when there is none.
bool put_ims_number(Number& local) {
  constexpr size_t kOffset = 448;
  char block[CAPI_IMS_VOICE_BYTES] = {};
  if (get_ims_voice(block) != 0) return false;
  const std::string_view number = bounded(block + kOffset, sizeof block - kOffset);
  if (number.empty()) return false;
  put_international(local, number);
  return true;
}

void put_lte_number(Number& local) {
  static constexpr Field kMsisdn = CAPI_FIELD_OF(serving_cell.msisdn);
  char text[kMsisdn.capacity];
  if (get_segment_text(kMsisdn, text, sizeof text, IfEmpty::Succeed) != 0) return;
  const std::string_view number = bounded(text);
  if (starts_with(number, "+")) {
    copy_text(local, number);
  } else if (!number.empty()) {
    put_international(local, number);
  }
}

// False when no SIM is known.
bool put_sender(capi_sms_record& message) {
  if (get_sim_info(CAPI_SIM_IMSI, message.imsi, sizeof message.imsi) != 0) {
    CAPI_LOG_AS(kFunc, kLogWarning, "SIM is not ready\n");
    return false;
  }
  if (!put_ims_number(message.LocalNumber)) put_lte_number(message.LocalNumber);
  return true;
}

void put_text(capi_sms_record& message, uint32_t type, const void* text, uint32_t length) {
  message.TextLen = length;
  message.TextSize = length + kTextEnd;
  message.TextType = type;
  memcpy(message.Text, text, length);
}

int store(capi_sms_record& message, uint64_t& id) {
  const SmsAccess access;
  return add_sms(access.path(CAPI_SMS_SENT), message, id);
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_voip_sms_send(const char* remote_number, uint32_t text_type, const void* text,
                       uint32_t text_len) {
  if (remote_number == nullptr || text == nullptr || text_len > CAPI_SMS_MAX_TEXT) {
    CAPI_LOG(kLogWarning, "invalid paramters: pRemoteNum %p, pText %p, TextLen %u\n",
             static_cast<const void*>(remote_number), text, text_len);
    return -1;
  }
  const auto message = allocate_sms(kFunc);
  if (!message) return -1;
  message->status = CAPI_SMS_STATUS_SENDING;
  message->BeginTime = static_cast<uint32_t>(time(nullptr));
  if (!put_sender(*message)) return -1;
  copy_text(message->RemoteNumber, remote_number);
  put_text(*message, text_type, text, text_len);

  uint64_t id = 0;
  const int result = store(*message, id);
  if (result != 0) {
    CAPI_LOG(kLogWarning, "_vkr_voip_sms_add failed\n");
    return result;
  }
  capi_fire_internal_event2("vop_sig_voip_sms_send_out", SmsIdText(id).text, nullptr, nullptr);
  return 0;
}
