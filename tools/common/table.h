// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Results, and what they are as JSON.
#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapter.h"
#include "text.h"

namespace tools {

// What a cell is in JSON; what is none of its kind is null.
enum class Type : uint8_t {
  Text,
  Number,  // an integer
  Flag,    // false for "0" and "no"
  Time,    // a text, or a number when it is one
  Bar,     // a number as a bar, for people only
};

struct Column {
  std::string title;  // on a terminal
  Type type = Type::Text;
  std::string json = {};  // the field's name, when it is not made of the title
  bool is_long = false;   // what does not fit goes on a line of its own

  // As --fields, headers elsewhere than on terminals, and JSON name it: "registered_stacks".
  std::string name() const;
};

class Table {
 public:
  Table(std::string name, std::vector<Column> columns);

  // Facts about one thing, each a name and a value; in JSON they are the members of one object.
  static Table of_facts(std::string name);

  void add(std::vector<std::string> cells);

  // A fact that is no text in JSON, or has another name there.
  void add_fact(Column fact, std::string value);

  // These fields only, in this order. Those that it does not have are added to "unknown".
  Table only(const std::vector<std::string>& fields, std::vector<std::string>& unknown) const;

  const std::string& name() const { return name_; }
  const std::vector<Column>& columns() const { return columns_; }
  const std::vector<std::vector<std::string>>& rows() const { return rows_; }
  bool has_facts() const { return has_facts_; }
  const std::vector<Column>& facts() const { return facts_; }
  std::vector<std::string> field_names() const;

 private:
  std::string name_;
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
  bool has_facts_ = false;
  std::vector<Column> facts_;  // one for each row
};

struct JsonDeleter {
  void operator()(cJSON* json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

// A row of a table as an object. The caller owns it.
cJSON* row_to_json(const Table& table, const std::vector<std::string>& row);

// An array of objects, or one of facts. The caller owns it.
cJSON* to_json(const Table& table);

// The member for each table under its name. The caller owns it.
cJSON* to_json(const std::vector<Table>& tables);

}  // namespace tools
