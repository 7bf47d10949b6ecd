// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "inspection.h"

#include <fstream>
#include <iterator>
#include <string>

#include "pattern.h"
#include "records.h"

namespace capi::soak {
namespace {

using Check = bool (*)(std::string_view file);

// Files that are read by programs without the library; nobody else writes while we hold their lock.
bool is_whole_file(const std::string& path, Check is_whole) {
  std::ifstream file(path, std::ios::binary);
  return is_whole(std::string(std::istreambuf_iterator<char>(file), {}));
}

bool is_whole_voice_block(std::string_view file) {
  return file.size() == CAPI_IMS_VOICE_BYTES && file.find_first_not_of(file[0]) == file.npos;
}

bool are_whole_status_files() {
  return is_whole_file("/tmp/shared_line_reg_status", is_whole_line_status) &&
         is_whole_file("/tmp/shared_call_state_info", is_whole_call_state) &&
         is_whole_file("/tmp/shared_phone_status", is_whole_phone_status);
}

bool are_whole_stack_files() {
  for (const char* suffix : {".volte", ".voip", ".vowifi", ".cs", ".qvc", ".sos", ""}) {
    if (!is_whole_file(std::string("/tmp/vosip.conf") + suffix, is_whole_stack_file)) return false;
  }
  return true;
}

bool is_whole_sim_file_there() { return is_whole_file("/tmp/info.simcard", is_whole_sim_file); }

bool is_whole_voice_block_there() {
  return is_whole_file(std::string(kNvDir) + "/info.ims_voice", is_whole_voice_block);
}

// Looks while nobody writes.
bool locked(capi_lock_id id, bool (*look)()) {
  capi_critical_section_lock(id);
  const bool whole = look();
  capi_critical_section_unlock(id);
  return whole;
}

void write_stack_files() {
  constexpr unsigned kStackTypes = 7;
  for (unsigned type = 0; type < kStackTypes; ++type) capi_make_config_file(type);
}

void set_all_blocks(Random& random) {
  for (int type = 0; type < kBlockTypes; ++type) set_block(type, any_number(random));
}

}  // namespace

Inspection::Inspection(Random& random) : random_(random) {
  for (size_t record = 0; record < record_count(); ++record) {
    set_record(record, any_number(random));
  }
  set_all_blocks(random);
  set_voice_block(any_number(random));
  write_stack_files();
  after_kill(Store::Nothing);
  tallies_ = {};
}

void Inspection::after_kill(Store victim) {
  ++tallies_[static_cast<size_t>(victim)].kills;
  if (victim == Store::Records) look_at_records(victim);  // the others read them all the time
  look_at_call_log(victim);
  look_at_messages(victim, CAPI_SMS_RECEIVED, Store::Received);
  look_at_messages(victim, CAPI_SMS_SENT, Store::Sent);
  look_at_status_files(victim);
  look_at_other_files(victim);
}

// Files are replaced: no death cuts one. But where the kernel does not copy records, half of a
// SIM's number takes the SIM file with it.
void Inspection::count(Store victim, Store damaged, unsigned lost) {
  Tally& tally = tallies_[static_cast<size_t>(damaged)];
  ++tally.cut;
  tally.lost += lost;
  if (victim == Store::Records) return;
  fail("store %d was damaged by the death of a process at %d", static_cast<int>(damaged),
       static_cast<int>(victim));
}

void Inspection::look_at_records(Store victim) {
  for (size_t record = 0; record < record_count(); ++record) {
    if (is_whole_record(record)) continue;
    count(victim, Store::Records, 1);
    set_record(record, any_number(random_));
  }
}

void Inspection::look_at_call_log(Store victim) {
  const int calls = check_call_log();
  if (calls < 0) {
    const Store how = victim == Store::CallLogNodes ? victim : Store::CallLog;
    count(victim, how, static_cast<unsigned>(calls_));
    if (capi_voip_init_call_log_file() != 0) fail("the call log cannot be made anew");
  }
  calls_ = calls < 0 ? 0 : calls;
}

// The first operation that meets a cut file makes it anew, so that has to be noted when it happens.
void Inspection::look_at_messages(Store victim, int selector, Store store) {
  int messages = check_messages(selector);
  const uint32_t damage = board().damage_noticed[selector];
  if (damage != damage_[selector]) {
    count(victim, store, static_cast<unsigned>(messages_[selector]));
    if (messages < 0) messages = check_messages(selector);
  }
  if (messages < 0) fail("a file of short messages cannot be read");
  damage_[selector] = damage;
  messages_[selector] = messages;
}

void Inspection::look_at_status_files(Store victim) {
  if (locked(CAPI_LOCK_CONF_SHM, are_whole_status_files)) return;
  count(victim, Store::StatusFiles, 1);
  set_all_blocks(random_);
}

void Inspection::look_at_other_files(Store victim) {
  if (!locked(CAPI_LOCK_CONF_SHM, are_whole_stack_files)) {
    count(victim, Store::StackFiles, 1);
    write_stack_files();
  }
  if (!locked(CAPI_LOCK_VOP_RUN_INFO, is_whole_sim_file_there)) {
    count(victim, Store::SimFile, 1);
    capi_cfg_update_simcard_file();
  }
  if (!locked(CAPI_LOCK_VOP_RUN_INFO, is_whole_voice_block_there)) {
    count(victim, Store::VoiceBlock, 1);
    set_voice_block(any_number(random_));
  }
}

}  // namespace capi::soak
