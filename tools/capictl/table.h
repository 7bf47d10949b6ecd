// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How results are shown: well set on a terminal, a line of tab-separated values a row elsewhere, or
// as JSON.
#pragma once

#include <cjson/cJSON.h>

#include <initializer_list>
#include <memory>
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

  // Facts about one thing, each a name and a value; in JSON they are the members of one object.
  static Table of_facts(std::string name);

  void add(std::vector<std::string> cells);

  // A fact that is a number in JSON, too.
  void add_number(std::string name, uint64_t value);
  bool is_number_fact(size_t row) const;

  const std::string& name() const { return name_; }
  const std::vector<Column>& columns() const { return columns_; }
  const std::vector<std::vector<std::string>>& rows() const { return rows_; }
  bool has_facts() const { return has_facts_; }

 private:
  std::string name_;
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
  bool has_facts_ = false;
  std::vector<size_t> number_facts_;  // their rows
};

// Control characters, which could also steer a terminal, and what is not UTF-8 written out: "\n",
// "\x1b".
std::string printable(std::string_view text);

// A text as JSON can carry it: what it cannot becomes the sign for that.
std::string json_text(std::string_view text);

struct JsonDeleter {
  void operator()(cJSON* json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

void print_json(const cJSON* json);

// Prints an object on a line of its own.
void print_json_line(const cJSON* json);

// Prints one table; in JSON it is an array of objects, or one of facts.
void print(const Table& table, const Context& context);

// Prints the rows of a result that goes on: tab-separated or, as JSON, an object a line.
void print_more(const Table& table, const Context& context);

// Prints several under their names; in JSON they are the members of an object.
void print(const std::vector<Table>& tables, const Context& context);

}  // namespace capictl
