// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The options of all commands.
#pragma once

#include <string>

#include "adapter.h"
#include "value.h"

namespace tools::capictl {

struct Context {
  bool json = false;
  bool verbose = false;  // the library's log goes to standard error
  bool show_secrets = false;
  bool table = false;      // as on a terminal, whatever standard output is
  bool header = false;     // a line of names, where there would be none
  bool no_header = false;  // none, where there would be one
  std::string fields;      // the only ones that are shown, with commas between them
  int exit_code = kDone;

  capi_log_sink log_sink() const { return verbose ? print_log : ignore_log; }
  Secrets secrets() const { return show_secrets ? Secrets::Shown : Secrets::Hidden; }
};

}  // namespace tools::capictl
