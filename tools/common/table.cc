// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "table.h"

#include <algorithm>
#include <cctype>

namespace tools {
namespace {

bool is_integer(const std::string& text) {
  const size_t first = text.starts_with('-') ? 1 : 0;
  return text.size() > first && text.find_first_not_of("0123456789", first) == std::string::npos;
}

// Numbers of 64 bits would not stay what they are as cJSON's numbers.
cJSON* value_to_json(const std::string& text, Type type) {
  if (type == Type::Text) return cJSON_CreateString(json_text(text).c_str());
  if (text.empty()) return cJSON_CreateNull();
  if (type == Type::Flag) return cJSON_CreateBool(text != "0" && text != "no");
  if (is_integer(text)) return cJSON_CreateRaw(text.c_str());
  if (type == Type::Number) return cJSON_CreateNull();
  return cJSON_CreateString(json_text(text).c_str());
}

cJSON* facts_to_json(const Table& table) {
  cJSON* object = cJSON_CreateObject();
  for (size_t i = 0; i < table.rows().size(); ++i) {
    const Column& fact = table.facts()[i];
    cJSON_AddItemToObject(object, fact.name().c_str(),
                          value_to_json(table.rows()[i][1], fact.type));
  }
  return object;
}

}  // namespace

std::string Column::name() const {
  if (!json.empty()) return json;
  std::string result;
  for (size_t i = 0; i < title.size(); ++i) {
    const auto c = static_cast<unsigned char>(title[i]);
    const bool is_hump = i > 0 && std::isupper(c) != 0 &&
                         std::islower(static_cast<unsigned char>(title[i - 1])) != 0;
    if (is_hump) result += '_';
    result += std::isalnum(c) != 0 ? static_cast<char>(std::tolower(c)) : '_';
  }
  return result;
}

Table::Table(std::string name, std::vector<Column> columns)
    : name_(std::move(name)), columns_(std::move(columns)) {}

Table Table::of_facts(std::string name) {
  Table table(std::move(name), {{"fact"}, {.title = "value", .is_long = true}});
  table.has_facts_ = true;
  return table;
}

void Table::add(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  if (has_facts_) facts_.push_back({cells[0]});
  rows_.push_back(std::move(cells));
}

void Table::add_fact(Column fact, std::string value) {
  rows_.push_back({fact.title, std::move(value)});
  facts_.push_back(std::move(fact));
}

std::vector<std::string> Table::field_names() const {
  std::vector<std::string> names;
  for (const Column& field : has_facts_ ? facts_ : columns_) names.push_back(field.name());
  return names;
}

Table Table::only(const std::vector<std::string>& fields, std::vector<std::string>& unknown) const {
  Table result = has_facts_ ? of_facts(name_) : Table(name_, {});
  const std::vector<std::string> names = field_names();
  std::vector<size_t> chosen;
  for (const std::string& field : fields) {
    const auto found = std::ranges::find(names, field);
    if (found == names.end()) {
      unknown.push_back(field);
      continue;
    }
    chosen.push_back(static_cast<size_t>(found - names.begin()));
  }
  for (const size_t i : chosen) {
    if (has_facts_) {
      result.add_fact(facts_[i], rows_[i][1]);
    } else {
      result.columns_.push_back(columns_[i]);
    }
  }
  for (const auto& row : rows_) {
    if (has_facts_) break;
    result.rows_.emplace_back();
    for (const size_t i : chosen) result.rows_.back().push_back(row[i]);
  }
  return result;
}

cJSON* row_to_json(const Table& table, const std::vector<std::string>& row) {
  cJSON* object = cJSON_CreateObject();
  for (size_t i = 0; i < row.size(); ++i) {
    const Column& column = table.columns()[i];
    cJSON_AddItemToObject(object, column.name().c_str(), value_to_json(row[i], column.type));
  }
  return object;
}

cJSON* to_json(const Table& table) {
  if (table.has_facts()) return facts_to_json(table);
  cJSON* array = cJSON_CreateArray();
  for (const auto& row : table.rows()) cJSON_AddItemToArray(array, row_to_json(table, row));
  return array;
}

cJSON* to_json(const std::vector<Table>& tables) {
  cJSON* object = cJSON_CreateObject();
  for (const Table& table : tables) {
    cJSON_AddItemToObject(object, Column{table.name()}.name().c_str(), to_json(table));
  }
  return object;
}

}  // namespace tools
