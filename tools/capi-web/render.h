// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Tables and facts as HTML: the same that programs get as JSON.
#pragma once

#include <table.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "html.h"

namespace tools::web {

struct Look {
  std::string_view caption;
  std::string_view id;                 // of the caption
  bool is_wide = false;                // scrolled on a small screen, not stacked
  bool is_quiet = false;               // the heading says the same as the caption
  std::vector<std::string> only = {};  // these columns, by their names in JSON; none for all
  std::vector<std::pair<std::string, std::string>> titles = {};  // of columns, instead of theirs
  // What stands in a cell instead of its text, where this writes anything.
  std::function<void(Html&, const std::string& field, const std::vector<std::string>& row)> cell =
      {};
  // At the end of each row, with a heading of its own, where it is given.
  std::string_view more = {};
};

void add_table(Html& html, const Table& table, const Look& look);

// Keys with their old and new values, of which secrets tell only whether they are set.
void add_values(Html& html, const Table& values, std::string_view caption, std::string_view id);

// A table of facts as a list of names and values.
void add_facts(Html& html, const Table& facts);

// A time as tables have it, or what is none.
void add_time(Html& html, const std::string& time);

// The cell of a row by the column's name in JSON; empty where there is none.
const std::string& cell_of(const Table& table, const std::vector<std::string>& row,
                           std::string_view field);

// The table of this name; null where there is none.
const Table* find_table(const std::vector<Table>& tables, std::string_view name);

// The fact of this name in JSON; empty where there is none.
std::string fact_of(const Table& facts, std::string_view name);

enum class State : uint8_t { Good, Bad, Warn, Off };
void add_state(Html& html, State state, std::string_view text);

// "voice_mail" as people read it.
std::string heading_of(const Column& column);

// A label and its field of a form that filters; the options of a select are value and name.
using Options = std::vector<std::pair<std::string, std::string>>;
void add_select(Html& html, std::string_view name, std::string_view label, const Options& options,
                std::string_view chosen);
void add_input(Html& html, std::string_view name, std::string_view label, std::string_view value,
               std::string_view hint = {});

}  // namespace tools::web
