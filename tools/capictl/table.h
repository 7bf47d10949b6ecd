// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How results are shown: well set on a terminal, a line of tab-separated values a row elsewhere, or
// as JSON.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "context.h"

namespace capictl {

struct Column {
  std::string title;  // and the member's name in JSON
  bool is_number = false;
};

class Table {
 public:
  Table(std::string name, std::vector<Column> columns);

  void add(std::vector<std::string> cells);

  const std::string& name() const { return name_; }
  const std::vector<Column>& columns() const { return columns_; }
  const std::vector<std::vector<std::string>>& rows() const { return rows_; }

 private:
  std::string name_;
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

// Control characters, which could also steer a terminal, written out: "\n", "\x1b".
std::string printable(std::string_view text);

// Prints one table; in JSON it is an array of objects.
void print(const Table& table, const Context& context);

// Prints several under their names; in JSON they are the members of an object.
void print(const std::vector<Table>& tables, const Context& context);

}  // namespace capictl
