// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The kinds of voice stacks, as rows: what differs between their files.
#pragma once

#include <cstddef>

#include "capi/records.h"

namespace capi {

// Offsets are in the record. None of them is 0, which stands for what a stack does not have: a
// P-CSCF, or an address other than the loopback's.
struct StackType {
  char suffix[8];
  uint8_t stack;  // entry of the voice stacks, from 0
  bool is_voip;
  bool refreshes_sim_file;
  int8_t interface;  // entry of the per-stack interfaces, or -1
  uint8_t channel_type;
  uint16_t address;
  uint16_t pcscf;
};

#define ADDRESS(member) offsetof(cfg_shared_record, member)
inline constexpr StackType kStackTypes[] = {
    {".volte", 0, false, true, 0, 1, ADDRESS(ims_ip), ADDRESS(pcscf_addr)},
    {".voip", 1, true, false, 1, 0, ADDRESS(voip_ip), ADDRESS(pcscf_addr)},
    {".vowifi", 2, false, true, 2, 0, ADDRESS(wan_ip), ADDRESS(pcscf_addr)},
    {".cs", 3, false, false, -1, 0, 0, 0},
    {".qvc", 4, false, false, -1, 0, 0, 0},
    // An emergency call is a VoLTE call.
    {".sos", 0, false, true, 5, 2, ADDRESS(sos_ip), ADDRESS(sos_pcscf)},
    {"", 0, false, false, -1, 0, 0, 0},
};
#undef ADDRESS

}  // namespace capi
