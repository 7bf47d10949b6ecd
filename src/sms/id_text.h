// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A message's id as signals carry it: a number of 64 bits, which their readers' JSON would round,
// so it travels as a text.
#pragma once

#include <cstdint>
#include <cstdio>

namespace capi {

struct SmsIdText {
  explicit SmsIdText(uint64_t id) {
    snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(id));
  }
  char text[24];
};

}  // namespace capi
