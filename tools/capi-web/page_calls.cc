// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <call_tables.h>

#include <algorithm>
#include <ctime>

#include "answer.h"
#include "chart.h"
#include "layout.h"
#include "pages.h"
#include "render.h"
#include "text.h"

namespace tools::web {
namespace {

constexpr size_t kOfPage = 50;

// The filter again, as a query: "?type=1&number=..", with what else is given; empty for none.
std::string query_of(const Request& request, const std::string& more = "") {
  std::string query;
  for (const char* name : {"number", "type", "line", "since"}) {
    const std::string_view value = request.parameter(name);
    if (!value.empty()) query += std::string("&") + name + "=" + in_address(value);
  }
  query += more;
  return query.empty() ? "" : "?" + query.substr(1);
}

void add_filter(Html& html, const Request& request) {
  html.raw("<form method=\"get\" action=\"/calls\" class=\"filter\" role=\"search\">\n");
  add_input(html, "number", "Number", request.parameter("number"));
  Options types = {{"", "All"}};
  for (unsigned type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    types.emplace_back(std::to_string(type), name_of_type(type));
  }
  add_select(html, "type", "Type", types, request.parameter("type"));
  add_select(html, "line", "Line", {{"", "All"}, {"1", "1"}, {"2", "2"}, {"0", "of none"}},
             request.parameter("line"));
  add_input(html, "since", "Since", request.parameter("since"), "2026-11-22, 2h or 3d");
  html.raw("<p><button>Show</button></p>\n</form>\n");
}

// ---- The list ----------------------------------------------------------------------------------

void add_delete_button(Html& html, const capi_call_log_record& call) {
  const std::string what = "Delete the call of " + text_of(call.number);
  html.raw("<button class=\"danger\" data-method=\"DELETE\"");
  html.attr("data-api", "/api/1/calls/" + std::to_string(call.calltype) + "/" +
                            std::to_string(call.index) +
                            "?sequence=" + std::to_string(call.sequence));
  html.attr("data-ask", what + "?").attr("aria-label", what);
  html.raw(" data-done=\"Deleted.\" data-needs-script>Delete</button>");
}

void add_cell(Html& html, Markup label, std::string_view text) {
  html.raw("<td").attr("data-label", label.text()).raw(">").text(text).raw("</td>");
}

void add_time_cell(Html& html, Markup label, uint32_t time) {
  html.raw("<td").attr("data-label", label.text()).raw(">");
  add_time(html, time_or_number(time));
  html.raw("</td>");
}

std::string duration_of(const capi_call_log_record& call) {
  const bool was_answered =
      is_time(call.calltimeconnect) && call.calltimeend > call.calltimeconnect;
  return was_answered ? std::to_string(call.calltimeend - call.calltimeconnect) + " s" : "";
}

void add_call(Html& html, const capi_call_log_record& call) {
  html.raw("<tr").attr("data-key", "call-" + std::to_string(call.calltype) + "-" +
                                       std::to_string(call.index) + "-" +
                                       std::to_string(call.sequence));
  html.raw("><th scope=\"row\" data-label=\"Number\">").text(text_of(call.number)).raw("</th>");
  add_cell(html, "Name", text_of(call.displayname));
  add_cell(html, "Type", name_of_type(call.calltype));
  add_cell(html, "Line", call.endpt == 0 ? "" : std::to_string(call.endpt));
  add_time_cell(html, "Start", call.calltimestart);
  add_cell(html, "Talked", duration_of(call));
  html.raw("<td data-label=\"Action\">");
  add_delete_button(html, call);
  html.raw("</td></tr>\n");
}

void add_list(Html& html, const Calls& calls, size_t from, size_t end) {
  html.raw("<table class=\"stack\">\n<caption class=\"quiet\" id=\"calls-t\">Calls</caption>\n");
  html.raw("<thead><tr><th scope=\"col\">Number</th><th scope=\"col\">Name</th>");
  html.raw("<th scope=\"col\">Type</th><th scope=\"col\">Line</th><th scope=\"col\">Start</th>");
  html.raw("<th scope=\"col\">Talked</th><th scope=\"col\">Action</th></tr></thead>\n<tbody>\n");
  for (size_t i = from; i < end; ++i) add_call(html, calls[i]);
  html.raw("</tbody>\n</table>\n");
}

void add_pager(Html& html, const Request& request, size_t count, size_t from, size_t end) {
  if (count <= kOfPage) return;
  html.raw("<nav class=\"pager\" aria-label=\"Pages of calls\">");
  const auto link = [&](Markup rel, Markup text, size_t to) {
    html.raw("<a rel=\"").raw(rel).raw("\"");
    html.attr("href", "/calls" + query_of(request, "&from=" + std::to_string(to)));
    html.raw(">").raw(text).raw("</a> ");
  };
  if (from > 0) link("prev", "Newer", from - std::min(from, kOfPage));
  if (end < count) link("next", "Older", end);
  html.raw("</nav>\n");
}

void add_tools(Html& html, const Request& request, size_t count) {
  const std::string what = "Delete " + counted(count, "call");
  html.raw("<p class=\"buttons\"><a class=\"button\" download");
  html.attr("href", "/calls.csv" + query_of(request));
  html.raw(">Download as CSV</a>\n<button class=\"danger\" data-method=\"DELETE\"");
  html.attr("data-api", "/api/1/calls" + query_of(request)).attr("data-ask", what + "?");
  html.raw(" data-done=\"Deleted.\" data-needs-script>").text(what).raw("</button></p>\n");
}

void add_calls(Html& html, const Request& request, const Calls& calls, size_t from) {
  html.raw("<section id=\"calls\" data-live=\"calls adapter\" aria-labelledby=\"calls-h\">\n");
  html.raw("<h2 id=\"calls-h\">").text(counted(calls.size(), "call")).raw("</h2>\n");
  if (calls.empty()) {
    html.raw("<p class=\"empty\">");
    html.text(query_of(request).empty() ? "No calls yet." : "No call is like that.");
    html.raw("</p>\n");
  } else {
    const size_t begin = std::min(from, (calls.size() - 1) / kOfPage * kOfPage);
    const size_t end = std::min(begin + kOfPage, calls.size());
    add_tools(html, request, calls.size());
    add_list(html, calls, begin, end);
    add_pager(html, request, calls.size(), begin, end);
  }
  html.raw("</section>\n");
}

}  // namespace

Response get_calls_page(const Request& request, App& app) {
  const Filter filter = filter_of(request);
  const auto from = static_cast<size_t>(number_of(request, "from", 0, CAPI_CALL_LOG_NODES, 0));
  const Calls calls = meant_calls(app.reader.calls(), filter);
  Html main;
  main.raw("<h1>Calls</h1>\n");
  add_filter(main, request);
  add_chart(main, calls, time(nullptr));
  add_calls(main, request, calls, from);
  return page(request, app, "Calls", main);
}

Response get_calls_csv(const Request& request, App& app) {
  Response response{.type = "text/csv; charset=utf-8", .body = call_csv_head() + "\n"};
  for (const capi_call_log_record& call : meant_calls(app.reader.calls(), filter_of(request))) {
    response.body += call_csv_row(call) + "\n";
  }
  response.headers.emplace_back("Content-Disposition", "attachment; filename=\"calls.csv\"");
  return response;
}

}  // namespace tools::web
