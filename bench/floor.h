// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The floors: the system calls that a contract requires and the bytes that it moves, and nothing
// else. No implementation of the contract can do with less.
#pragma once

#include <cstddef>
#include <string_view>

#include "capi/call_log.h"
#include "capi/records.h"

namespace bench::floor {

// The segment, attached by the floor's own means.
cfg_shared_record& segment();

void lock(unsigned id);
void unlock(unsigned id);

class Lock {
 public:
  explicit Lock(unsigned id) : id_(id) { lock(id_); }
  ~Lock() { unlock(id_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  unsigned id_;
};

// Copies "size" bytes out of the segment, or into it, under lock 0. What is set stays whole even if
// the process is killed meanwhile: more than a number is copied by the kernel, in one system call.
void get(void* to, size_t offset, size_t size);
void set(size_t offset, const void* from, size_t size);

// Copies them itself, which a kill may cut.
void set_cuttably(size_t offset, const void* from, size_t size);

// Reads a file whole in blocks, as a stream.
void read_whole(const char* path);

// Replaces a file by these bytes.
void replace_file(const char* path, std::string_view bytes);

// How a file of a store is written: so that neither a kill nor a power cut loses what was in it, or
// over what was in it.
enum class Writing { Safely, InPlace };

// The call log's operations on a file of this size, under lock 2.
void read_call_log(const char* path, void* image, size_t size);
void rewrite_call_log(const char* path, void* image, size_t size, Writing how);

struct Piece {
  size_t offset;
  size_t size;
};

// The short messages' operations on a file of this size, under lock 18: reading it, whereof a piece
// goes to a caller, writing it again with another size, and making it anew.
void read_sms_file(const char* path, void* memory, size_t size, Piece message, void* to);
void rewrite_sms_file(const char* path, void* memory, size_t size, size_t new_size, Writing how);
void make_sms_file(const char* path, const void* memory, size_t size, Writing how);

// What a file has to be checked for costs at the least: both pairs of links of every call, in the
// order in which they stand in memory, and both lengths of every message. No floor has this in
// it; rows show it beside theirs.
void look_at_links(const capi_call_log_image& image);
void look_at_lengths(const void* messages, size_t size);

// Looks for the tool, which is not there, and runs that of the system by the shell.
void post_event(const char* tool, const char* command);

// What a client does at its start and its end.
void attach_and_detach();

}  // namespace bench::floor
