// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the records of a section stand: for what copies them whole, with the lock or without it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "capi/records.h"

namespace capi {

// The records of a section, which stand one after another in the segment.
struct Records {
  uint16_t offset;  // of the first
  uint16_t size;
  uint8_t count;  // 1 where the section has no number
};

template <typename Record>
struct RecordsOf : Records {};

// Of this file's own, for what all share is reached by a detour on the device.
template <typename Section, size_t Offset>
// NOLINTNEXTLINE(bugprone-dynamic-static-initializers): it is constant
static constexpr RecordsOf<std::remove_extent_t<Section>> kRecords{
    {Offset, sizeof(std::remove_extent_t<Section>),
     std::is_array_v<Section> ? std::extent_v<Section> : 1}};

// A member as one record, bytes too.
template <typename Section, size_t Offset>
// NOLINTNEXTLINE(bugprone-dynamic-static-initializers): it is constant
static constexpr Records kWhole{Offset, sizeof(Section), 1};

}  // namespace capi

#define CAPI_RECORDS(section) \
  kRecords<decltype(cfg_shared_record::section), offsetof(cfg_shared_record, section)>
#define CAPI_WHOLE(section) \
  kWhole<decltype(cfg_shared_record::section), offsetof(cfg_shared_record, section)>
