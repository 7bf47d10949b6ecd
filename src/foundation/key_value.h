// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The key=value files in which the device keeps its settings and its status.
//
// A file is "[section]" lines and "key=value" lines; ";" and "#" begin a comment; blanks do not
// count, also not inside a value. What is neither is skipped without a word: the files are written
// by several programs and by people, and one bad line must not cost the device its settings.
//
// Leaves to the handler what sections and keys mean, and what to do about those that it does not
// know. A handler runs inside the walk over the file; texts that it gets are gone when it returns.
#pragma once

#include <cstddef>
#include <cstdio>

#include "foundation/function_ref.h"

namespace capi {

// A longer line is taken in pieces, each of which counts as a line.
inline constexpr size_t kKeyValueLineSize = 2048;

// Turns lines into items; knows the section that it is in. Free of I/O.
class KeyValueParser {
 public:
  // Takes a line of less than kKeyValueLineSize characters, which it edits and keeps pointers into.
  // True when the line holds an item, which is then in section(), key() and value().
  bool parse(char* line);

  const char* section() const { return section_; }
  const char* key() const { return key_; }
  const char* value() const { return value_; }

 private:
  void enter_section(const char* line);

  char section_[kKeyValueLineSize] = {};
  const char* key_ = nullptr;
  const char* value_ = nullptr;
};

using ItemHandler = FunctionRef<void(const char* section, const char* key, const char* value)>;

// Hands every item that is left in an open file to "handle". False without the memory to do so.
bool for_each_item(FILE* file, ItemHandler handle);

// Hands every item of a file to "handle". False without the memory to do so, and when the
// file cannot be opened for reading and writing: one without write permission is not one of ours.
bool for_each_item(const char* path, ItemHandler handle);

}  // namespace capi
