// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Members of a record as data: for the tables whose rows say where in a record something stands.
//
// A row's offset and its size belong together, and both follow from the member's name. So a table
// names the member once, and a function of its own, templated on the member's type, makes of type
// and offset what the row needs: CAPI_MEMBER(make, Record, array[0].inner) is
// make<type of the member>(its offset).
//
// Leaves to the functions to refuse types that their table cannot take.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#define CAPI_MEMBER(make, Record, member)                                    \
  make<std::remove_reference_t<decltype((std::declval<Record&>().member))>>( \
      offsetof(Record, member))

namespace capi {

// The bytes at an offset of a record; of an array the element "index", which begins "stride" bytes
// behind the one before it. The caller stays within the record.
template <typename Record>
char* bytes_at(Record& record, size_t offset, size_t stride = 0, int index = 0) {
  return reinterpret_cast<char*>(&record) + offset + stride * static_cast<size_t>(index);
}

template <typename Record>
const char* bytes_at(const Record& record, size_t offset, size_t stride = 0, int index = 0) {
  return reinterpret_cast<const char*>(&record) + offset + stride * static_cast<size_t>(index);
}

}  // namespace capi
