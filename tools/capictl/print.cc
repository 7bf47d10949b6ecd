// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "print.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "layout.h"

namespace tools::capictl {
namespace {

struct TextFreer {
  void operator()(char* text) const { cJSON_free(text); }
};

void put_json(char* made) {
  const std::unique_ptr<char, TextFreer> text(made);
  if (!text) throw Failure("there is no memory for the JSON");
  puts(text.get());
}

std::string plain_line(const std::string& prefix, std::vector<std::string> cells) {
  for (std::string& cell : cells) cell = printable(cell);
  return (prefix.empty() ? "" : prefix + "\t") + joined(cells, "\t");
}

// "prefix" stands in front of every row.
void print_rows(const Table& table, const std::string& prefix) {
  for (const auto& row : table.rows()) puts(plain_line(prefix, row).c_str());
}

void print_plain(const Table& table, const Context& context, const std::string& prefix) {
  if (context.header && !table.has_facts()) {
    puts(plain_line(prefix, table.field_names()).c_str());
  }
  print_rows(table, prefix);
}

bool has_title_line(const Table& table, const Context& context) {
  return !table.has_facts() && !context.no_header;
}

[[noreturn]] void throw_unknown_field(const std::string& field,
                                      const std::vector<std::string>& names) {
  const std::string allowed = joined(names, ", ");
  throw Failure("there is no field " + field + guess(field, names) + " The fields: " + allowed,
                {kUsage, field, allowed, "unknown_field"});
}

// The field of one of several tables may be named with that table: "locks.state".
std::vector<std::string> own_fields(const Table& table, const std::vector<std::string>& fields) {
  std::vector<std::string> own;
  for (const std::string& field : fields) {
    const std::string prefix = table.name() + ".";
    own.push_back(field.starts_with(prefix) ? field.substr(prefix.size()) : field);
  }
  return own;
}

// Bars are for people.
Table without_bars(const Table& table) {
  std::vector<std::string> names;
  std::vector<std::string> unknown;
  for (const Column& column : table.columns()) {
    if (column.type != Type::Bar) names.push_back(column.name());
  }
  return names.size() == table.columns().size() ? table : table.only(names, unknown);
}

// What the user wants to see of them.
std::vector<Table> chosen(std::vector<Table> tables, const Context& context) {
  if (!is_set_for_people(context)) {
    for (Table& table : tables) table = without_bars(table);
  }
  if (context.fields.empty()) return tables;
  const std::vector<std::string> fields = split(context.fields, ',');
  std::vector<size_t> misses(fields.size());
  std::vector<std::string> names;
  std::vector<Table> result;
  for (const Table& table : tables) {
    std::vector<std::string> unknown;
    const std::vector<std::string> own = own_fields(table, fields);
    Table part = table.only(own, unknown);
    for (size_t i = 0; i < own.size(); ++i) {
      if (std::ranges::find(unknown, own[i]) != unknown.end()) ++misses[i];
    }
    std::ranges::move(table.field_names(), std::back_inserter(names));
    if (unknown.size() < own.size()) result.push_back(std::move(part));
  }
  const auto missed = std::ranges::find(misses, tables.size());
  if (missed != misses.end()) {
    throw_unknown_field(fields[static_cast<size_t>(missed - misses.begin())], names);
  }
  return result;
}

void print_for_people(const std::vector<Table>& tables, const Context& context) {
  const char* gap = "";
  for (const Table& table : tables) {
    printf("%s%s\n", gap, heading(table.name()).c_str());
    gap = "\n";
    if (table.rows().empty()) {
      puts("none");
    } else {
      print_set(table, has_title_line(table, context));
    }
  }
}

}  // namespace

void print_json(const cJSON* json) { put_json(cJSON_Print(json)); }

void print_json_line(const cJSON* json) { put_json(cJSON_PrintUnformatted(json)); }

bool is_set_for_people(const Context& context) {
  return !context.json && (context.table || isatty(STDOUT_FILENO) != 0);
}

void print(const Table& table, const Context& context) {
  const Table part = chosen({table}, context)[0];
  if (context.json) return print_json(Json(to_json(part)).get());
  if (!is_set_for_people(context)) return print_plain(part, context, "");
  if (!part.rows().empty()) return print_set(part, has_title_line(part, context));
  fprintf(stderr, "no %s\n", part.name().c_str());
}

void print_more(const Table& table, const Context& context) {
  const Table part = chosen({table}, context)[0];
  static bool has_begun = false;
  if (!context.json && has_begun) return print_rows(part, "");
  has_begun = true;
  if (!context.json) return print_plain(part, context, "");
  for (const auto& row : part.rows()) print_json_line(Json(row_to_json(part, row)).get());
}

void report(const Table& facts, const Context& context) {
  if (context.json) print(facts, context);
}

void print(const std::vector<Table>& tables, const Context& context) {
  const std::vector<Table> parts = chosen(tables, context);
  if (context.json) return print_json(Json(to_json(parts)).get());
  if (is_set_for_people(context)) return print_for_people(parts, context);
  for (const Table& part : parts) print_plain(part, context, part.name());
}

std::string told_value(const Key& key, const std::string& value, const Context& context) {
  const std::string name = is_set_for_people(context) ? value_name(key, value) : "";
  return shown_value(key, value, context.secrets()) + (name.empty() ? "" : " (" + name + ")");
}

}  // namespace tools::capictl
