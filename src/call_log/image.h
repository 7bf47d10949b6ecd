// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The call log as bytes in memory: its lists and what is done with them. Free of files, locks and
// logs.
//
// An image is a header and 300 nodes, linked by their indexes. Each node is in one list of its own,
// that of a type or that of the free ones, and each used node in the list of all entries as well;
// all lists lead both ways, oldest first. A list has at most as many nodes as its type may have
// entries, so there is always a free node for a type that is not full.
//
// Every function survives any bytes at all, for files come from anywhere: no index is used before
// it is known to be one of a node. check() tells whether an image keeps what is said above; the
// functions that change one keep it, if it was so before.
//
// Leaves to call_log/store.h which changes make an operation, and to call_log/file.h the file.
#pragma once

#include <bit>
#include <cstdint>

#include "capi/call_log.h"
#include "foundation/memory.h"

namespace capi {

static_assert(std::endian::native == std::endian::little, "the file's bytes are used as they are");

using ImageOwner = Allocated<capi_call_log_image>;

// Memory for an image, which is yet to be read or made; null without memory.
ImageOwner new_image();

inline constexpr uint16_t kNoNode = CAPI_CALL_LOG_NO_NODE;
inline bool is_node(unsigned index) { return index < CAPI_CALL_LOG_NODES; }
inline bool is_call_type(unsigned type) { return type < CAPI_CALL_LOG_TYPES; }

// Where a list has its ends and its links, seen in one of its two directions.
struct Direction {
  uint16_t capi_call_log_list::*first;
  uint16_t capi_call_log_list::*last;
  uint16_t capi_call_log_record::*prev;
  uint16_t capi_call_log_record::*next;

  constexpr Direction reversed() const { return {last, first, next, prev}; }
};

// Not inline, as those would be reached through the offset table; each source has its own.

// The list of a type, or of the free nodes: a node is in one of these.
constexpr Direction kOwnList{&capi_call_log_list::head, &capi_call_log_list::tail,
                             &capi_call_log_record::prev, &capi_call_log_record::next};
// The list of all entries.
constexpr Direction kAllEntries{&capi_call_log_list::head, &capi_call_log_list::tail,
                                &capi_call_log_record::all_prev, &capi_call_log_record::all_next};

// Turns the image into that of a new file.
void make_empty(capi_call_log_image& image);

// Whether a header is that of a call log of ours.
bool has_marks(const capi_call_log_header& header);

enum class ImageFault { None, Counts, FreeList, AllEntries, TypeList };

struct CheckResult {
  ImageFault fault;
  unsigned type;  // of a faulty type list
};

// Looks for the first breach of the invariants.
CheckResult check(const capi_call_log_image& image);

// What the prev link of the only free node says.
enum class LoneFreeNode { LinksNowhere, LinksItself };

// Moves a node from a type's list to the end of the free list and clears it.
void release_node(capi_call_log_image& image, unsigned type, unsigned node, LoneFreeNode lone);

// Moves the first free node, which there must be, to the end of a type's list and fills it.
void add_record(capi_call_log_image& image, unsigned type, const capi_call_log_record& record);

}  // namespace capi
