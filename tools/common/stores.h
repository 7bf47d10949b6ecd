// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files of the call log and of the short messages. Looking at them here changes nothing.
#pragma once

#include "fault.h"
#include "table.h"

namespace tools {

struct Store {
  const char* name;
  const char* file;
  const char* directory;  // until one is known
  unsigned lock;
  Faults (*check)(const std::string& content);
  // What the library does about a file that it refuses, and about one that it refuses at its start.
  const char* replaced;
  const char* replaced_at_start;
};

extern const Store kCallLog;
extern const Store kReceivedMessages;
extern const Store kSentMessages;

// What is unsound in a file of this kind, and what the library does about it.
Table fault_table(const Store& store, const std::string& content);

// Reads a store's file whole, while nobody writes it. False, and errno, when it cannot be read; the
// other throws a Failure.
bool read_store(const Store& store, std::string& content);
std::string read_store(const Store& store);

// Copies a store's file as it is at one moment; the copy is there, whole and on the medium, when
// this returns. Not by the library's backup, which a shell may go on with in the background.
void back_up_store(const Store& store, const std::string& to);

// Where a store's file is, by the directories that a record tells.
std::string path_of(const Store& store, const cfg_shared_record& record);

// What a look at a store's file has found.
struct StoreLook {
  std::string state = "locked";  // or "sound", "unsound", "unsound, but in use", "cannot be read"
  std::string content = {};
  bool is_readable() const { return state == "sound" || state == "unsound, but in use"; }
};

// Looks as soon as the store's lock is free.
StoreLook look_into(const Store& store);

// A row for each list of calls and each file of messages; the first looks itself.
Table store_table();
Table store_table(const StoreLook& calls, const StoreLook& received, const StoreLook& sent);

}  // namespace tools
