// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "table.h"

#include <cjson/cJSON.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace capictl {
namespace {

struct TextFreer {
  void operator()(char* text) const { cJSON_free(text); }
};

// Whether a character may begin so: not too long a spelling, no surrogate, and nothing behind the
// last character there is.
bool may_begin_with(uint8_t first, uint8_t second) {
  switch (first) {
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second <= 0x9F;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second <= 0x8F;
    default:
      return true;
  }
}

// How many bytes a character has that begins with this one; 0 when none does.
size_t announced_size(uint8_t first) {
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  if (first < 0xE0) return 2;
  return first < 0xF0 ? 3 : 4;
}

// How many bytes of the text, which is not empty, are its first character in UTF-8; 0 when they are
// none.
size_t character_size(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const size_t size = announced_size(byte(0));
  if (size <= 1) return size;
  if (text.size() < size || !may_begin_with(byte(0), byte(1))) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return size;
}

using JsonPrinter = char* (*)(const cJSON* json);

void print_json(const cJSON* json, JsonPrinter print) {
  const std::unique_ptr<char, TextFreer> text(print(json));
  if (!text) throw Failure("there is no memory for the JSON");
  puts(text.get());
}

cJSON* value_to_json(const std::string& text, bool is_number) {
  if (is_number) return cJSON_CreateRaw(text.empty() ? "null" : text.c_str());
  return cJSON_CreateString(json_text(text).c_str());
}

cJSON* to_json(const Table& table, const std::vector<std::string>& row) {
  cJSON* object = cJSON_CreateObject();
  for (size_t i = 0; i < row.size(); ++i) {
    const Column& column = table.columns()[i];
    cJSON_AddItemToObject(object, column.title.c_str(), value_to_json(row[i], column.is_number));
  }
  return object;
}

cJSON* facts_to_json(const Table& table) {
  cJSON* object = cJSON_CreateObject();
  for (size_t i = 0; i < table.rows().size(); ++i) {
    const auto& fact = table.rows()[i];
    cJSON_AddItemToObject(object, fact[0].c_str(), value_to_json(fact[1], table.is_number_fact(i)));
  }
  return object;
}

cJSON* to_json(const Table& table) {
  if (table.has_facts()) return facts_to_json(table);
  cJSON* array = cJSON_CreateArray();
  for (const auto& row : table.rows()) cJSON_AddItemToArray(array, to_json(table, row));
  return array;
}

// Characters as a terminal counts them, for texts in UTF-8.
size_t width(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string padded(const std::string& text, size_t columns, bool is_number) {
  const std::string blanks(columns - std::min(columns, width(text)), ' ');
  return is_number ? blanks + text : text + blanks;
}

bool on_terminal() { return isatty(STDOUT_FILENO) != 0; }

std::string heading(const std::string& text) {
  return getenv("NO_COLOR") == nullptr ? "\033[1m" + text + "\033[0m" : text;
}

// The cells of a line in columns of these widths.
std::string set_line(const Table& table, const std::vector<size_t>& widths,
                     const std::vector<std::string>& cells) {
  std::string line;
  for (size_t i = 0; i < cells.size(); ++i) {
    line += padded(printable(cells[i]), widths[i], table.columns()[i].is_number) + "  ";
  }
  return line.erase(line.find_last_not_of(' ') + 1);
}

void print_set(const Table& table) {
  std::vector<std::string> titles;
  std::vector<size_t> widths(table.columns().size());
  if (!table.has_facts()) {
    for (const Column& column : table.columns()) titles.push_back(column.title);
  }
  for (size_t i = 0; i < titles.size(); ++i) widths[i] = width(titles[i]);
  for (const auto& row : table.rows()) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], width(printable(row[i])));
    }
  }
  if (!table.has_facts()) printf("%s\n", heading(set_line(table, widths, titles)).c_str());
  for (const auto& row : table.rows()) printf("%s\n", set_line(table, widths, row).c_str());
}

// "prefix" stands in front of every row.
void print_plain(const Table& table, const std::string& prefix) {
  for (const auto& row : table.rows()) {
    std::string line = prefix.empty() ? "" : prefix + "\t";
    for (size_t i = 0; i < row.size(); ++i) line += (i == 0 ? "" : "\t") + printable(row[i]);
    printf("%s\n", line.c_str());
  }
}

}  // namespace

Table::Table(std::string name, std::vector<Column> columns)
    : name_(std::move(name)), columns_(std::move(columns)) {}

Table Table::of_facts(std::string name) {
  Table table(std::move(name), {{"fact"}, {"value"}});
  table.has_facts_ = true;
  return table;
}

void Table::add(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  rows_.push_back(std::move(cells));
}

void Table::add_number(std::string name, uint64_t value) {
  number_facts_.push_back(rows_.size());
  add({std::move(name), std::to_string(value)});
}

bool Table::is_number_fact(size_t row) const {
  return std::ranges::find(number_facts_, row) != number_facts_.end();
}

std::string json_text(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t size = text[0] == '\0' ? 0 : character_size(text);
    result += size == 0 ? "\xEF\xBF\xBD" : text.substr(0, size);
    text.remove_prefix(std::max<size_t>(size, 1));
  }
  return result;
}

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t size = character_size(text);
    const auto first = static_cast<uint8_t>(text[0]);
    const bool is_control = first < ' ' || first == 0x7F ||
                            (size == 2 && first == 0xC2 && static_cast<uint8_t>(text[1]) < 0xA0);
    const std::string_view character = text.substr(0, std::max<size_t>(size, 1));
    text.remove_prefix(character.size());
    if (size != 0 && !is_control) {
      result += character;
    } else if (first == '\n') {
      result += "\\n";
    } else if (first == '\t') {
      result += "\\t";
    } else {
      for (const char c : character) {
        char escape[8];
        snprintf(escape, sizeof escape, "\\x%02x", static_cast<uint8_t>(c));
        result += escape;
      }
    }
  }
  return result;
}

void print(const Table& table, const Context& context) {
  if (context.json) {
    capictl::print_json(Json(to_json(table)).get());
  } else if (on_terminal()) {
    print_set(table);
  } else {
    print_plain(table, "");
  }
}

void print_json(const cJSON* json) { print_json(json, cJSON_Print); }

void print_json_line(const cJSON* json) { print_json(json, cJSON_PrintUnformatted); }

void print_more(const Table& table, const Context& context) {
  if (!context.json) return print_plain(table, "");
  for (const auto& row : table.rows()) print_json_line(Json(to_json(table, row)).get());
}

namespace {

void print_as_json(const std::vector<Table>& tables) {
  const Json object(cJSON_CreateObject());
  for (const Table& table : tables) {
    cJSON_AddItemToObject(object.get(), table.name().c_str(), to_json(table));
  }
  capictl::print_json(object.get());
}

void print_on_terminal(const std::vector<Table>& tables) {
  const char* gap = "";
  for (const Table& table : tables) {
    printf("%s%s\n", gap, heading(table.name()).c_str());
    gap = "\n";
    if (table.rows().empty()) {
      puts("none");
    } else {
      print_set(table);
    }
  }
}

}  // namespace

void print(const std::vector<Table>& tables, const Context& context) {
  if (context.json) return print_as_json(tables);
  if (on_terminal()) return print_on_terminal(tables);
  for (const Table& table : tables) print_plain(table, table.name());
}

}  // namespace capictl
