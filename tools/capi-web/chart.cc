// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "chart.h"

#include <algorithm>
#include <array>
#include <vector>

#include "render.h"
#include "text.h"

namespace tools::web {
namespace {

constexpr int kDays = 14;
constexpr int64_t kSecondsOfDay = 86400;
constexpr int kBarWidth = 28;
constexpr int kStep = 40;
constexpr int kHeight = 120;  // of the highest bar
constexpr int kTop = 16;
constexpr int kWidth = kDays * kStep;

struct Day {
  std::string date;  // 2026-11-22
  std::array<unsigned, CAPI_CALL_LOG_TYPES> calls = {};
  unsigned sum() const {
    unsigned result = 0;
    for (const unsigned count : calls) result += count;
    return result;
  }
};

std::vector<Day> count(const Calls& calls, int64_t now) {
  std::vector<Day> days(kDays);
  const int64_t last = now / kSecondsOfDay;
  for (int i = 0; i < kDays; ++i) {
    days[static_cast<size_t>(i)].date =
        time_text((last - kDays + 1 + i) * kSecondsOfDay).substr(0, 10);
  }
  for (const capi_call_log_record& call : calls) {
    const int64_t at = call.calltimestart / kSecondsOfDay - (last - kDays + 1);
    if (!is_time(call.calltimestart) || at < 0 || at >= kDays) continue;
    if (call.calltype < CAPI_CALL_LOG_TYPES) ++days[static_cast<size_t>(at)].calls[call.calltype];
  }
  return days;
}

void add_rect(Html& html, unsigned type, int x, int y, int height) {
  html.raw("<rect").attr("class", "type-" + std::to_string(type)).attr("x", std::to_string(x));
  html.attr("y", std::to_string(y)).attr("width", std::to_string(kBarWidth));
  html.attr("height", std::to_string(height)).raw("/>");
}

void add_label(Html& html, int x, int y, std::string_view text) {
  html.raw("<text class=\"axis\" text-anchor=\"middle\"").attr("x", std::to_string(x));
  html.attr("y", std::to_string(y)).raw(">").text(text).raw("</text>");
}

// A bar with a piece for each type, the number above it and the day below.
void add_bar(Html& html, const Day& day, int x, unsigned most) {
  int y = kTop + kHeight;
  for (unsigned type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    if (day.calls[type] == 0) continue;
    const int height = std::max(1, static_cast<int>(day.calls[type] * kHeight / most));
    y -= height;
    add_rect(html, type, x, y, height);
  }
  const int middle = x + kBarWidth / 2;
  if (day.sum() != 0) add_label(html, middle, y - 3, std::to_string(day.sum()));
  add_label(html, middle, kTop + kHeight + 18, day.date.substr(8));
}

void add_picture(Html& html, const std::vector<Day>& days) {
  const unsigned most = std::max(1U, std::ranges::max(days, {}, &Day::sum).sum());
  const std::string box =
      "0 0 " + std::to_string(kWidth) + " " + std::to_string(kTop + kHeight + 24);
  html.raw("<svg role=\"img\" aria-labelledby=\"chart-t\"").attr("viewBox", box).raw(">");
  html.raw("<title id=\"chart-t\">Calls per day and type from ").text(days.front().date);
  html.raw(" to ").text(days.back().date).raw(", in UTC</title>\n");
  for (size_t i = 0; i < days.size(); ++i) {
    add_bar(html, days[i], static_cast<int>(i) * kStep + (kStep - kBarWidth) / 2, most);
    html.raw("\n");
  }
  html.raw("</svg>\n<ul class=\"legend\">");
  for (unsigned type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    html.raw("<li").attr("class", "type-" + std::to_string(type)).raw(">");
    html.text(name_of_type(type)).raw("</li>");
  }
  html.raw("</ul>\n");
}

void add_numbers(Html& html, const std::vector<Day>& days) {
  Table table(
      "days",
      {{"day"}, {"type 0", Type::Number}, {"type 1", Type::Number}, {"type 2", Type::Number}});
  for (const Day& day : days) {
    if (day.sum() == 0) continue;
    std::vector<std::string> row = {day.date};
    for (const unsigned calls : day.calls) row.push_back(std::to_string(calls));
    table.add(std::move(row));
  }
  html.raw("<details><summary>As a table</summary>\n");
  add_table(html, table,
            {.caption = "Calls of each day with any", .id = "days-t", .is_wide = true});
  html.raw("</details>\n");
}

}  // namespace

void add_chart(Html& html, const Calls& calls, int64_t now) {
  const std::vector<Day> days = count(calls, now);
  html.raw("<figure class=\"chart card\" id=\"chart\" data-live=\"calls adapter\">\n<figcaption>");
  html.raw("Calls per day in the last 14 days</figcaption>\n");
  add_picture(html, days);
  add_numbers(html, days);
  html.raw("</figure>\n");
}

std::string name_of_type(unsigned type) { return "Type " + std::to_string(type); }

}  // namespace tools::web
