// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The configuration files of the voice stacks.
#pragma once

#include <capi.h>

#include <string>
#include <vector>

#include "table.h"
#include "value.h"

namespace tools {

struct StackType {
  const char* name;
  const char* path;
};

// In the order of the types' numbers.
inline constexpr StackType kStackTypes[] = {
    {"volte", "/tmp/vosip.conf.volte"},   {"voip", "/tmp/vosip.conf.voip"},
    {"vowifi", "/tmp/vosip.conf.vowifi"}, {"cs", "/tmp/vosip.conf.cs"},
    {"qvc", "/tmp/vosip.conf.qvc"},       {"sos", "/tmp/vosip.conf.sos"},
    {"generic", "/tmp/vosip.conf"},
};

// What the file of a type would be for a record. Throws a Failure.
std::string stack_file_text(const cfg_shared_record& record, unsigned type);

// A line of such a file, and the section in which it stands.
struct StackLine {
  std::string section;
  std::string text;  // "key=value"

  bool operator==(const StackLine&) const = default;
};

std::vector<StackLine> stack_lines(const std::string& text);

// The lines that one text has and the other has not, as "-" and "+".
Table stack_file_differences(const std::string& before, const std::string& after, Secrets secrets);

// The record with what stands for its secrets.
cfg_shared_record without_secrets(cfg_shared_record record);

}  // namespace tools
