// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What somebody should look at, in words for people who do not know how an adapter works.
#pragma once

#include <pending.h>

#include <optional>
#include <string>
#include <vector>

#include "table.h"

namespace tools {

enum class Severity : uint8_t { Info, Warning, Critical };

struct Alert {
  std::string id;  // of the same thing the same: "line-2-registration"
  Severity severity;
  std::string text;   // "Line 2: server rejected, 403"
  std::string since;  // a time as tables have it; empty where nobody knows
};

const char* name_of(Severity severity);

// From what status_tables() tells, and the change that waits. The worst come first.
std::vector<Alert> alerts_of(const std::vector<Table>& status,
                             const std::optional<pending::Change>& waiting);

// The one there is without an adapter, with the reason for that.
std::vector<Alert> alerts_without_adapter(const std::string& reason);

// The same as a table: id, severity, text, since.
Table alert_table(const std::vector<Alert>& alerts);

}  // namespace tools
