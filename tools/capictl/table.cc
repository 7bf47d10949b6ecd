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

struct JsonDeleter {
  void operator()(cJSON* json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

struct TextFreer {
  void operator()(char* text) const { cJSON_free(text); }
};

void print_json(const cJSON* json) {
  const std::unique_ptr<char, TextFreer> text(cJSON_Print(json));
  if (text) puts(text.get());
}

cJSON* to_json(const Table& table) {
  cJSON* array = cJSON_CreateArray();
  for (const auto& row : table.rows()) {
    cJSON* object = cJSON_CreateObject();
    for (size_t i = 0; i < row.size(); ++i) {
      const Column& column = table.columns()[i];
      const char* text = row[i].c_str();
      cJSON_AddItemToObject(object, column.title.c_str(),
                            column.is_number ? cJSON_CreateRaw(row[i].empty() ? "null" : text)
                                             : cJSON_CreateString(text));
    }
    cJSON_AddItemToArray(array, object);
  }
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

void print_set(const Table& table) {
  std::vector<size_t> widths;
  for (const Column& column : table.columns()) widths.push_back(width(column.title));
  for (const auto& row : table.rows()) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], width(printable(row[i])));
    }
  }
  std::string line;
  for (size_t i = 0; i < widths.size(); ++i) {
    line += padded(table.columns()[i].title, widths[i], table.columns()[i].is_number) + "  ";
  }
  line.erase(line.find_last_not_of(' ') + 1);
  printf("%s\n", heading(line).c_str());
  for (const auto& row : table.rows()) {
    line.clear();
    for (size_t i = 0; i < row.size(); ++i) {
      line += padded(printable(row[i]), widths[i], table.columns()[i].is_number) + "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    printf("%s\n", line.c_str());
  }
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

void Table::add(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  rows_.push_back(std::move(cells));
}

std::string printable(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte != 0x7F) {
      result += c;
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else {
      char escape[8];
      snprintf(escape, sizeof escape, "\\x%02x", byte);
      result += escape;
    }
  }
  return result;
}

void print(const Table& table, const Context& context) {
  if (context.json) {
    print_json(Json(to_json(table)).get());
  } else if (on_terminal()) {
    print_set(table);
  } else {
    print_plain(table, "");
  }
}

void print(const std::vector<Table>& tables, const Context& context) {
  if (context.json) {
    const Json object(cJSON_CreateObject());
    for (const Table& table : tables) {
      cJSON_AddItemToObject(object.get(), table.name().c_str(), to_json(table));
    }
    print_json(object.get());
    return;
  }
  for (const Table& table : tables) {
    if (on_terminal()) {
      printf("%s%s\n", &table == tables.data() ? "" : "\n", heading(table.name()).c_str());
      print_set(table);
    } else {
      print_plain(table, table.name());
    }
  }
}

}  // namespace capictl
