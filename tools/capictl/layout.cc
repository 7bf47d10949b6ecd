// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "layout.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace tools::capictl {
namespace {

constexpr size_t kGap = 2;  // between columns
constexpr size_t kIndent = 4;
constexpr size_t kNoEnd = std::numeric_limits<int>::max();
constexpr size_t kUsualWidth = 80;

// The longest bar of a column has so many characters, and who has anything at all has one.
std::string bar(uint64_t value, uint64_t most) {
  constexpr uint64_t kLongest = 20;
  const uint64_t length = most == 0 ? 0 : (value * kLongest + most - 1) / most;
  return std::string(static_cast<size_t>(length), '#');
}

uint64_t number_in(const std::string& cell) { return strtoull(cell.c_str(), nullptr, 10); }

Table with_bars(const Table& table) {
  Table result(table.name(), table.columns());
  std::vector<uint64_t> most(table.columns().size());
  for (const auto& row : table.rows()) {
    for (size_t i = 0; i < row.size(); ++i) most[i] = std::max(most[i], number_in(row[i]));
  }
  for (auto row : table.rows()) {
    for (size_t i = 0; i < row.size(); ++i) {
      if (table.columns()[i].type == Type::Bar) row[i] = bar(number_in(row[i]), most[i]);
    }
    result.add(std::move(row));
  }
  return result;
}

// A table's columns on their way to the terminal.
class Layout {
 public:
  Layout(const Table& table, bool has_header)
      : table_(table.has_facts() ? table : with_bars(table)), has_header_(has_header) {
    for (size_t i = 0; i < table_.columns().size(); ++i) {
      widths_.push_back(width_within(i, kNoEnd));
      shown_.push_back(i);
    }
    fit(terminal_width());
  }

  void print() const {
    if (has_header_) printf("%s\n", heading(line_of(titles())).c_str());
    for (const auto& row : table_.rows()) print_row(row);
    if (!dropped_.empty()) {
      fprintf(stderr, "capictl: no room for: %s. --fields chooses, --json has all\n",
              joined(dropped_, ", ").c_str());
    }
  }

 private:
  std::vector<std::string> titles() const {
    std::vector<std::string> titles;
    for (const Column& column : table_.columns()) titles.push_back(column.title);
    return titles;
  }

  size_t total() const {
    size_t sum = 0;
    for (const size_t i : shown_) sum += widths_[i] + kGap;
    return sum - kGap;
  }

  // The widest that is no wider than this, but room for the title.
  size_t width_within(size_t column, size_t room) const {
    size_t most = has_header_ ? width(table_.columns()[column].title) : 0;
    for (const auto& row : table_.rows()) {
      const size_t own = width(printable(row[column]));
      if (own <= room) most = std::max(most, own);
    }
    return most;
  }

  // Columns of long values give way first, and take what room is left at last.
  void fit(size_t room) {
    const std::vector<size_t> natural = widths_;
    for (const size_t i : shown_) narrow(i, room);
    bool has_more = true;
    while (has_more && total() > room) has_more = drop_last();
    for (const size_t i : shown_) {
      widths_[i] = natural[i];
      narrow(i, room);
    }
  }

  void narrow(size_t column, size_t room) {
    if (!table_.columns()[column].is_long || total() <= room) return;
    const size_t others = total() - widths_[column];
    widths_[column] = width_within(column, room > others ? room - others : 0);
  }

  // False when there is none but the first and those whose values have lines of their own.
  bool drop_last() {
    for (size_t at = shown_.size(); at-- > 1;) {
      const Column& column = table_.columns()[shown_[at]];
      if (column.is_long || table_.has_facts()) continue;
      dropped_.insert(dropped_.begin(), column.name());
      shown_.erase(shown_.begin() + static_cast<std::ptrdiff_t>(at));
      return true;
    }
    return false;
  }

  bool is_too_wide(size_t column, const std::string& text) const {
    return width(text) > widths_[column];
  }

  std::string padded(size_t column, const std::string& text) const {
    const std::string blanks(widths_[column] - std::min(widths_[column], width(text)), ' ');
    const Type type = table_.columns()[column].type;
    if (type == Type::Bar && has_colours() && !text.empty())
      return "\033[36m" + text + "\033[0m" + blanks;
    return type == Type::Number ? blanks + text : text + blanks;
  }

  std::string line_of(const std::vector<std::string>& cells) const {
    std::string line;
    for (const size_t i : shown_) {
      const std::string text = printable(cells[i]);
      line += padded(i, is_too_wide(i, text) ? "" : text) + std::string(kGap, ' ');
    }
    return line.erase(line.find_last_not_of(' ') + 1);
  }

  static void print_below(const std::string& text) {
    for (const std::string& line : wrapped(text, terminal_width() - kIndent)) {
      printf("%*s%s\n", int{kIndent}, "", line.c_str());
    }
  }

  void print_row(const std::vector<std::string>& row) const {
    printf("%s\n", line_of(row).c_str());
    for (const size_t i : shown_) {
      const std::string text = printable(row[i]);
      if (!is_too_wide(i, text)) continue;
      print_below(table_.has_facts() ? text : table_.columns()[i].title + ": " + text);
    }
  }

  Table table_;
  bool has_header_;
  std::vector<size_t> widths_;
  std::vector<size_t> shown_;
  std::vector<std::string> dropped_;
};

}  // namespace

size_t terminal_width() {
  winsize size{};
  const bool is_terminal = isatty(STDOUT_FILENO) != 0;
  if (is_terminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  const char* columns = getenv("COLUMNS");
  const int given = columns != nullptr ? atoi(columns) : 0;
  if (given > 0) return static_cast<size_t>(given);
  return is_terminal ? kUsualWidth : kNoEnd;
}

bool has_colours() {
  const char* refusal = getenv("NO_COLOR");
  const char* kind = getenv("TERM");
  const bool is_dumb = kind != nullptr && std::string_view(kind) == "dumb";
  return isatty(STDOUT_FILENO) != 0 && !is_dumb && (refusal == nullptr || *refusal == '\0');
}

std::string heading(const std::string& text) {
  return has_colours() ? "\033[1m" + text + "\033[0m" : text;
}

void print_set(const Table& table, bool has_header) { Layout(table, has_header).print(); }

}  // namespace tools::capictl
