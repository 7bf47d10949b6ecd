// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "report.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fstream>

namespace bench {
namespace {

std::string text(const char* format, ...) {
  char buffer[256];
  va_list args;
  va_start(args, format);
  vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  return buffer;
}

std::string time_text(double nanoseconds) {
  if (nanoseconds < 1e3) return text("%.1f ns", nanoseconds);
  if (nanoseconds < 1e6) return text("%.2f us", nanoseconds / 1e3);
  return text("%.2f ms", nanoseconds / 1e6);
}

std::string figure_text(const Figure& figure) {
  return figure.who + " " + time_text(figure.nanoseconds);
}

std::string peers_text(const Result& result) {
  std::string peers;
  for (size_t i = 2; i < result.figures.size(); ++i) {
    if (i > 2) peers += ", ";
    peers += figure_text(result.figures[i]);
  }
  return peers;
}

bool is_missed(const Result& result) { return result.goal > 0 && result.ratio() > result.goal; }

// A bar's length; beyond the end of the picture it is cut.
constexpr double kBarUnit = 400;
constexpr double kLongestBar = 1.6;

double bar(double ratio) { return std::min(ratio, kLongestBar) * kBarUnit; }

}  // namespace

void print_table(const Results& results) {
  constexpr char kFormat[] = "%-44s %10s  %-22s %6s %6s  %s\n";
  printf(kFormat, "operation", "ours", "against", "ratio", "goal", "peers");
  for (const Result& result : results) {
    const std::string goal = result.goal > 0 ? text("%.2f", result.goal) : "-";
    printf(kFormat, result.operation.c_str(), time_text(result.figures[0].nanoseconds).c_str(),
           figure_text(result.figures[1]).c_str(),
           text("%.2f%s", result.ratio(), is_missed(result) ? "*" : "").c_str(), goal.c_str(),
           peers_text(result).c_str());
  }
  printf("Medians. A goal is the highest ratio wanted; * marks one that is missed.\n");
}

void print_peers() {
  printf(
      "What the peers leave out:\n"
      "  LMDB, TDB, SQLite  no types, no lists beside one key order; a get logs nothing. "
      "Appending\n"
      "                     keeps one list of one type, where ours keeps a list of each of three\n"
      "                     types, one of all and one of free nodes, and checks all of them. Ours\n"
      "                     syncs the whole device as its contract says, they their own file.\n"
      "  inih, iniparser    keep blanks inside values and refuse long lines; iniparser keeps all\n"
      "                     items in memory, inih hands them on as ours does.\n"
      "  json-c             knows no signals: the object is built and read by hand.\n");
}

void write_plot(const std::string& path, const Results& results) {
  constexpr int kRowHeight = 18;
  constexpr int kTextWidth = 330;
  std::ofstream out(path);
  const auto height = static_cast<int>(results.size() + 2) * kRowHeight;
  const int width = kTextWidth + static_cast<int>(bar(kLongestBar)) + 60;
  out << "<svg xmlns='http://www.w3.org/2000/svg' width='" << width << "' height='" << height
      << "' font-family='sans-serif' font-size='12'>\n"
      << "<rect width='100%' height='100%' fill='white'/>\n";
  int y = kRowHeight;
  for (const Result& result : results) {
    const double end = kTextWidth + bar(result.ratio());
    out << "<text x='8' y='" << y << "'>" << result.operation << "</text>\n"
        << "<rect x='" << kTextWidth << "' y='" << y - 11 << "' width='" << bar(result.ratio())
        << "' height='13' fill='" << (is_missed(result) ? "#d9822b" : "#4c8c4a") << "'/>\n"
        << "<text x='" << end + 4 << "' y='" << y << "'>" << text("%.2f", result.ratio())
        << "</text>\n";
    if (result.goal > 0) {
      const double goal = kTextWidth + bar(result.goal);
      out << "<line x1='" << goal << "' x2='" << goal << "' y1='" << y - 13 << "' y2='" << y + 4
          << "' stroke='black' stroke-width='2'/>\n";
    }
    y += kRowHeight;
  }
  out << "<text x='8' y='" << y
      << "'>Our time as a ratio to the floor's (or to the one named in the table); a line marks "
         "the "
         "goal.</text>\n</svg>\n";
  out.close();
  require(out.good(), "the picture can be written");
}

}  // namespace bench
