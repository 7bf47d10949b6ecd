// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "layout.h"

#include <change.h>

#include <algorithm>
#include <string>

#include "answer.h"
#include "render.h"

namespace tools::web {
namespace {

constexpr char kVersion[] = CAPI_VERSION;

struct Entry {
  std::string_view path;
  std::string_view name;
};
constexpr Entry kPages[] = {{"/", "Overview"},         {"/calls", "Calls"},
                            {"/messages", "Messages"}, {"/settings", "Settings"},
                            {"/changes", "Changes"},   {"/diagnostics", "Diagnostics"}};

void add_head(Html& page, std::string_view title, std::string_view token) {
  page.raw("<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n");
  page.raw("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n");
  page.raw("<meta name=\"color-scheme\" content=\"light dark\">\n");
  if (!token.empty()) page.raw("<meta name=\"capi-token\"").attr("content", token).raw(">\n");
  page.raw("<title>").text(title).raw(" \xe2\x80\x93 capi</title>\n");
  page.raw("<link rel=\"icon\" href=\"/assets/icon.svg\" type=\"image/svg+xml\">\n");
  page.raw("<link rel=\"stylesheet\" href=\"/assets/app.css\">\n");
  page.raw("<script type=\"module\" src=\"/assets/app.js\"></script>\n</head>\n<body>\n");
  page.raw("<a class=\"skip\" href=\"#main\">Skip to the content</a>\n");
}

bool is_within(std::string_view path, std::string_view place) {
  return path == place || (place != "/" && path.starts_with(std::string(place) + "/"));
}

void add_top(Html& page, const Request& request, std::string_view name) {
  page.raw("<header class=\"top\">\n<p class=\"brand\"><a href=\"/\">");
  page.raw("<img src=\"/assets/icon.svg\" alt=\"\" width=\"28\" height=\"28\"> <span>");
  page.text(name).raw("</span></a></p>\n<nav aria-label=\"Pages\"><ul>\n");
  for (const Entry& entry : kPages) {
    page.raw("<li><a").attr("href", entry.path);
    if (is_within(request.path, entry.path)) page.raw(" aria-current=\"page\"");
    page.raw(">").text(entry.name).raw("</a></li>\n");
  }
  page.raw("</ul></nav>\n<form method=\"post\" action=\"/logout\" class=\"logout\">");
  page.raw("<input type=\"hidden\" name=\"token\"").attr("value", request.session->token);
  page.raw("><button>Log out</button></form>\n</header>\n");
}

void add_end(Html& page) {
  page.raw("<footer><p>capi ").text(kVersion).raw("</p></footer>\n</body>\n</html>\n");
}

Response finished(const Request& request, std::string_view title, std::string_view name,
                  const Html& notices, const Html& main, int status,
                  const std::string& seconds = {}) {
  if (request.session == nullptr) return bare_page(title, main, status);
  Html page;
  add_head(page, title, request.session->token);
  add_top(page, request, name);
  page.raw("<div id=\"status\" role=\"status\" aria-live=\"polite\" aria-atomic=\"true\"></div>\n");
  page.raw("<div id=\"connection\" role=\"status\"></div>\n");
  page.raw("<noscript><p class=\"notice info\">Without scripts this page shows everything, as it ");
  page.raw("was when it was loaded; changing something needs them.</p></noscript>\n");
  page.raw("<div id=\"notices\" data-live=\"changes adapter config\">").add(notices);
  page.raw("</div>\n<main id=\"main\" tabindex=\"-1\">\n").add(main);
  page.raw("<section id=\"review\" class=\"card\" hidden data-needs-script ");
  page.raw("aria-labelledby=\"review-h\"").attr("data-seconds", seconds);
  page.raw("></section>\n</main>\n");
  page.raw("<div id=\"change-bar\" class=\"change-bar\" role=\"region\" ");
  page.raw("aria-label=\"Unsaved changes\" hidden data-needs-script></div>\n");
  add_end(page);
  return html(page.take(), status);
}

// ---- What people should know wherever they are -------------------------------------------------

void add_buttons(Html& notice, const std::string& id) {
  const std::string path = "/api/1/changes/" + id;
  notice.raw("<p><button class=\"primary\"").attr("data-api", path + "/confirm");
  notice.attr("data-first", path).raw(" data-done=\"Kept.\" data-needs-script>Keep</button>\n");
  notice.raw("<button").attr("data-api", path + "/cancel");
  notice.raw(" data-done=\"Gone back.\" data-needs-script>Go back now</button></p>\n");
}

// What is set, and yet not with the programs.
void add_trouble(Html& notice, const App& app) {
  if (app.last_change.trouble.empty()) return;
  notice.raw("<p class=\"trouble\">").text(sentence(app.last_change.trouble)).raw("</p>\n");
}

void add_waiting(Html& notice, const Request& request, const pending::Change& change,
                 const App& app) {
  notice.raw("<section class=\"pending notice warn\" id=\"pending\"")
      .attr("data-change", change.id);
  notice.attr("data-seconds-left", seconds_left(change));
  notice.attr("data-seconds", std::to_string(app.confirm_seconds));
  notice.raw(" aria-labelledby=\"pending-h\">\n");
  notice.raw("<h2 id=\"pending-h\">A change waits to be kept</h2>\n");
  notice.raw("<p>It goes back by itself in <span data-countdown>").text(seconds_left(change));
  notice.raw("</span> s unless you keep it.</p>\n");
  if (app.last_change.id == change.id) add_trouble(notice, app);
  notice.raw("<details><summary>");
  const std::vector<Table> tables = change_tables(Secrets::Hidden);
  notice.text(counted(tables.back().rows().size(), "setting")).raw("</summary>\n");
  add_values(notice, tables.back(), "Settings that were changed", "pending-t");
  notice.raw("</details>\n");
  if (change.owner == owner_of(request)) {
    add_buttons(notice, change.id);
  } else {
    notice.raw("<p>It was made by ").text(change.owner).raw(", who alone may keep it here.</p>\n");
  }
  notice.raw("</section>\n");
}

void add_kept_trouble(Html& notice, const App& app) {
  if (app.last_change.trouble.empty()) return;
  notice.raw("<div class=\"notice bad\" id=\"outcome\"><p>Your change was kept.</p>\n");
  add_trouble(notice, app);
  notice.raw("</div>\n");
}

// How the last change of this login ended, unless it was kept and all is well.
void add_outcome(Html& notice, const Request& request, const App& app) {
  pending::Outcome outcome;
  if (app.last_change.owner != owner_of(request) || pending::load(outcome) != 0) return;
  if (outcome.id != app.last_change.id) return;
  if (outcome.what == "confirmed") return add_kept_trouble(notice, app);
  notice.raw("<div class=\"notice warn\" id=\"outcome\"><p>");
  notice.text(outcome.what == "reverted" ? "Your change was not kept in time, and went back at "
                                         : "Your change was taken back at ");
  add_time(notice, time_text(outcome.at));
  notice.raw(".</p>\n");
  for (const std::string& trouble : troubles_of(outcome)) notice.element("p", sentence(trouble));
  notice.raw("</div>\n");
}

void add_change_notice(Html& notice, const Request& request, const App& app) {
  try {
    const auto change = waiting_change();
    if (change) {
      add_waiting(notice, request, *change, app);
    } else {
      add_outcome(notice, request, app);
    }
  } catch (const Failure& failure) {
    notice.raw("<p class=\"notice warn\">").text(sentence(failure.what())).raw("</p>\n");
  }
}

// The name by which the device goes, which is told without an adapter as well.
std::string name_of_device(App& app, Html& notice) {
  constexpr char kUnnamed[] = "Telephone adapter";
  try {
    const std::string model = text_of(app.reader.record().hw_info.model);
    return model.empty() ? kUnnamed : model;
  } catch (const Failure& failure) {
    notice.raw("<p class=\"notice bad\" id=\"no-adapter\">").text(sentence(failure.what()));
    notice.raw("</p>\n");
    return kUnnamed;
  }
}

}  // namespace

Response page(const Request& request, App& app, std::string_view title, const Html& main,
              int status) {
  Html notices;
  const std::string name = name_of_device(app, notices);
  add_change_notice(notices, request, app);
  return finished(request, title, name, notices, main, status, std::to_string(app.confirm_seconds));
}

Response page_without_notices(const Request& request, std::string_view title, const Html& main,
                              int status) {
  return finished(request, title, "Telephone adapter", Html(), main, status);
}

Response bare_page(std::string_view title, const Html& main, int status) {
  Html page;
  add_head(page, title, "");
  page.raw("<main id=\"main\" class=\"narrow\" tabindex=\"-1\">\n").add(main).raw("</main>\n");
  add_end(page);
  return html(page.take(), status);
}

}  // namespace tools::web
