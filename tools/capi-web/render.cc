// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "render.h"

#include <algorithm>
#include <cctype>

namespace tools::web {
namespace {

const std::string kNothing;

void add_cell_text(Html& html, const Column& column, const std::string& text) {
  if (column.type == Type::Time) {
    add_time(html, text);
  } else if (column.type == Type::Flag) {
    html.text(text.empty() ? "" : text != "0" && text != "no" ? "yes" : "no");
  } else {
    html.text(text);
  }
}

void add_cell(Html& html, const Look& look, const Column& column,
              const std::vector<std::string>& row, const std::string& text) {
  Html own;
  if (look.cell) look.cell(own, column.name(), row);
  if (own.is_empty()) {
    add_cell_text(html, column, text);
  } else {
    html.add(own);
  }
}

// What people call a column.
std::string title_of(const Look& look, const Column& column) {
  const auto found =
      std::ranges::find(look.titles, column.name(), [](const auto& title) { return title.first; });
  return found == look.titles.end() ? heading_of(column) : found->second;
}

void add_row(Html& html, const Table& table, const Look& look, const std::vector<size_t>& columns,
             const std::vector<std::string>& row) {
  html.raw("<tr>");
  for (const size_t i : columns) {
    const Column& column = table.columns()[i];
    const bool is_first = i == columns.front();
    html.raw(is_first ? Markup("<th scope=\"row\"") : Markup("<td"));
    if (column.type == Type::Number && !is_first) html.raw(" class=\"num\"");
    html.attr("data-label", title_of(look, column)).raw(">");
    add_cell(html, look, column, row, row[i]);
    html.raw(is_first ? Markup("</th>") : Markup("</td>"));
  }
  if (!look.more.empty()) {
    html.raw("<td").attr("data-label", look.more).raw(">");
    look.cell(html, "", row);
    html.raw("</td>");
  }
  html.raw("</tr>\n");
}

std::vector<size_t> columns_of(const Table& table, const Look& look) {
  std::vector<size_t> columns;
  const std::vector<std::string> names = table.field_names();
  for (size_t i = 0; i < names.size(); ++i) {
    const bool is_wanted =
        look.only.empty() || std::ranges::find(look.only, names[i]) != look.only.end();
    if (is_wanted && table.columns()[i].type != Type::Bar) columns.push_back(i);
  }
  return columns;
}

}  // namespace

void add_table(Html& html, const Table& table, const Look& look) {
  if (look.is_wide) {
    html.raw("<div class=\"scroll\" role=\"region\"").attr("aria-labelledby", look.id);
    html.raw(" tabindex=\"0\">\n");
  }
  html.raw("<table").attr("class", look.is_wide ? "" : "stack").raw(">\n<caption");
  html.attr("id", look.id).attr("class", look.is_quiet ? "quiet" : "").raw(">").text(look.caption);
  html.raw("</caption>\n<thead><tr>");
  const std::vector<size_t> columns = columns_of(table, look);
  for (const size_t i : columns) {
    html.raw("<th scope=\"col\">").text(title_of(look, table.columns()[i])).raw("</th>");
  }
  if (!look.more.empty()) html.raw("<th scope=\"col\">").text(look.more).raw("</th>");
  html.raw("</tr></thead>\n<tbody>\n");
  for (const auto& row : table.rows()) add_row(html, table, look, columns, row);
  html.raw("</tbody>\n</table>\n");
  if (look.is_wide) html.raw("</div>\n");
}

void add_values(Html& html, const Table& values, std::string_view caption, std::string_view id) {
  const auto cell = [&](Html& to, const std::string& field, const std::vector<std::string>& row) {
    if (field == "new" && cell_of(values, row, "old") == cell_of(values, row, "new")) {
      to.text("(another one)");
    }
  };
  const Look look{.caption = caption, .id = id, .cell = cell};
  add_table(html, values, look);
}

void add_facts(Html& html, const Table& facts) {
  html.raw("<dl class=\"facts\">\n");
  for (size_t i = 0; i < facts.rows().size(); ++i) {
    html.raw("<div><dt>").text(heading_of(facts.facts()[i])).raw("</dt><dd>");
    add_cell_text(html, facts.facts()[i], facts.rows()[i][1]);
    html.raw("</dd></div>\n");
  }
  html.raw("</dl>\n");
}

// "2026-11-22T05:10:00Z", of which people need no seconds.
void add_time(Html& html, const std::string& time) {
  constexpr size_t kSeconds = 16;
  if (time.size() <= kSeconds || time[10] != 'T') {
    html.text(time);
    return;
  }
  html.raw("<time").attr("datetime", time).raw(">").text(time.substr(0, 10)).raw(" ");
  html.text(time.substr(11, kSeconds - 11)).raw("</time>");
}

const std::string& cell_of(const Table& table, const std::vector<std::string>& row,
                           std::string_view field) {
  const auto found = std::ranges::find(table.columns(), field, &Column::name);
  const auto at = static_cast<size_t>(found - table.columns().begin());
  return at < row.size() ? row[at] : kNothing;
}

const Table* find_table(const std::vector<Table>& tables, std::string_view name) {
  const auto found = std::ranges::find(tables, name, &Table::name);
  return found == tables.end() ? nullptr : &*found;
}

std::string fact_of(const Table& facts, std::string_view name) {
  const auto found = std::ranges::find(facts.facts(), name, &Column::name);
  return found == facts.facts().end()
             ? ""
             : facts.rows()[static_cast<size_t>(found - facts.facts().begin())][1];
}

void add_state(Html& html, State state, std::string_view text) {
  constexpr std::string_view kClasses[] = {"state good", "state bad", "state warn", "state off"};
  html.raw("<span").attr("class", kClasses[static_cast<size_t>(state)]).raw(">").text(text);
  html.raw("</span>");
}

std::string heading_of(const Column& column) {
  std::string heading = column.title;
  if (!heading.empty())
    heading[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(heading[0])));
  return heading;
}

void add_select(Html& html, std::string_view name, std::string_view label, const Options& options,
                std::string_view chosen) {
  html.raw("<p><label").attr("for", name).raw(">").text(label).raw("</label> <select");
  html.attr("id", name).attr("name", name).raw(">");
  for (const auto& [value, text] : options) {
    html.raw("<option").attr("value", value);
    if (value == chosen) html.raw(" selected");
    html.raw(">").text(text).raw("</option>");
  }
  html.raw("</select></p>\n");
}

void add_input(Html& html, std::string_view name, std::string_view label, std::string_view value,
               std::string_view hint) {
  html.raw("<p><label").attr("for", name).raw(">").text(label).raw("</label> <input");
  html.attr("id", name).attr("name", name).attr("value", value);
  if (!hint.empty()) html.attr("placeholder", hint);
  html.raw("></p>\n");
}

}  // namespace tools::web
