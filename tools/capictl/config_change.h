// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Changes of the configuration: all of them, or none.
#pragma once

#include "context.h"
#include "setting_file.h"

namespace tools::capictl {

struct ChangeOptions {
  bool is_forced = false;   // what is refused otherwise is set as it is
  bool is_dry_run = false;  // only tell
  bool is_applied = false;  // the voice stacks get their files, and are told
  int confirm_within =
      0;  // seconds, after which it goes back unless somebody confirms it; 0: never
};

// Sets values in order, or nothing and a Failure when one cannot be set. Tells what changes in JSON
// and in a dry run.
void change(const std::vector<Setting>& settings, const ChangeOptions& options,
            const Context& context);

}  // namespace tools::capictl
