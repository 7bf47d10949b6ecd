// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/golden.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/files.h"

namespace capi::test {

std::string short_diff(const std::string& before, const std::string& after) {
  // Without the two names on top, and twenty lines at most.
  const std::string command =
      "diff -U0 '" + before + "' '" + after + "' 2>&1 | sed -n '3,22p;23s/.*/.../p'";
  FILE* diff = popen(command.c_str(), "r");
  if (diff == nullptr) return "diff cannot be run\n";
  std::string text;
  for (int c = fgetc(diff); c != EOF; c = fgetc(diff)) text += static_cast<char>(c);
  pclose(diff);
  return text;
}

void expect_golden(const std::string& actual, const std::string& path) {
  const std::string golden = source_file(path);
  const std::string made = built_file("golden/" + path);
  write_file(made, actual);
  if (exists(golden) && read_file(golden) == actual) return;
  ADD_FAILURE() << path << " is not what the code makes now; script/golden makes it anew.\n"
                << short_diff(golden, made);
}

}  // namespace capi::test
