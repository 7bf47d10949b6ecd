// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "answer.h"
#include "layout.h"
#include "log_ring.h"
#include "overview.h"
#include "pages.h"
#include "render.h"
#include "text.h"

namespace tools::web {
namespace {

// As wide as the page is what has sentences or many columns.
void begin_card(Html& html, Markup id, Markup title, Markup topics, bool is_wide = true) {
  html.raw("<section id=\"").raw(id).raw("\"").attr("class", is_wide ? "card wide" : "card");
  if (!topics.text().empty()) html.raw(" data-live=\"").raw(topics).raw("\"");
  html.raw(" aria-labelledby=\"").raw(id).raw("-h\">\n<h2 id=\"").raw(id).raw("-h\">");
  html.raw(title).raw("</h2>\n");
}

void add_check(Html& html, App& app, const Store& store) {
  const StoreLook& look = app.reader.look(store);
  html.raw("<h3>").text(sentence(store.name).substr(0, std::string(store.name).size()));
  html.raw("</h3>\n<p>");
  const State state = look.state == "sound"    ? State::Good
                      : look.state == "locked" ? State::Warn
                                               : State::Bad;
  add_state(html, state, look.state);
  html.raw("</p>\n");
  if (look.state == "sound" || look.state == "locked" || look.state == "cannot be read") return;
  add_table(html, fault_table(store, look.content),
            {.caption = std::string("Faults of the ") + store.name,
             .id = std::string("faults-") + store.file});
}

void add_checks(Html& html, App& app) {
  begin_card(html, "checks", "Stores", "calls messages adapter");
  try {
    for (const Store* store : kStores) add_check(html, app, *store);
  } catch (const Failure& failure) {
    html.element("p", sentence(failure.what()));
  }
  html.raw("</section>\n");
}

void add_locks(Html& html, App& app) {
  begin_card(html, "locks", "Locks", "config device lines calls messages adapter");
  try {
    add_lock_table(html, app.reader.locks());
  } catch (const Failure& failure) {
    html.element("p", sentence(failure.what()));
  }
  html.raw("</section>\n");
}

void add_lint(Html& html) {
  begin_card(html, "lint", "Check a setting file", "");
  html.raw(
      "<p>Tells what of a setting file, or of a JSON document of settings, a start would not ");
  html.raw("take as it stands. Nothing is changed.</p>\n");
  html.raw("<form data-api=\"/api/1/lint\" data-result=\"lint-result\" ");
  html.raw("data-columns=\"line severity finding\" data-needs-script>\n");
  html.raw("<p><label for=\"lint-file\">File</label> <input id=\"lint-file\" type=\"file\" ");
  html.raw("data-reads-into=\"lint-text\"></p>\n<p><label for=\"lint-text\">Its text</label> ");
  html.raw("<textarea id=\"lint-text\" name=\"text\" rows=\"6\"></textarea></p>\n");
  html.raw("<p><button>Check</button></p>\n</form>\n<div id=\"lint-result\" aria-live=\"polite\">");
  html.raw("</div>\n</section>\n");
}

void add_log(Html& html) {
  begin_card(html, "log", "Log", "config device lines calls messages changes adapter");
  html.raw("<p>What the library has told this server of what is amiss, the latest last.</p>\n");
  const Table log = log_table();
  if (log.rows().empty()) {
    html.raw("<p class=\"empty\">Nothing.</p>\n");
  } else {
    html.raw("<pre class=\"log\" tabindex=\"0\" role=\"region\" aria-label=\"Log lines\">");
    for (const auto& row : log.rows()) {
      html.text(row[0] + " [" + row[1] + "] " + printable(row[2])).raw("\n");
    }
    html.raw("</pre>\n");
  }
  html.raw("</section>\n");
}

void add_export(Html& html) {
  begin_card(html, "export", "Export for support", "", false);
  html.raw("<p>All of the adapter in one file: status, settings, calls, messages, what is wrong, ");
  html.raw("and the log. Of a password it says only whether one is set.</p>\n");
  html.raw("<p><a class=\"button\" href=\"/export.json\" download>Export for support</a></p>\n");
  html.raw("</section>\n");
}

void add_token(Html& html, const ApiTokens::Token& token) {
  html.raw("<li").attr("data-key", "token-" + token.id).raw(">").text(token.name).raw(", made ");
  add_time(html, time_text(token.made_at));
  html.raw(" <button class=\"danger\" data-method=\"DELETE\"");
  html.attr("data-api", "/api/1/tokens/" + token.id);
  html.attr("data-ask", "Revoke the token of " + token.name + "?");
  html.attr("aria-label", "Revoke the token of " + token.name);
  html.raw(" data-done=\"Revoked.\" data-needs-script>Revoke</button></li>\n");
}

// A token is told once: what is made live stands apart from it.
void add_tokens(Html& html, const App& app) {
  begin_card(html, "tokens", "Programs", "", false);
  html.raw("<p>Programs use the <a href=\"/api/1/openapi.json\">interface</a> with tokens of ");
  html.raw("their own.</p>\n");
  html.raw("<div id=\"tokens-list\" data-live=\"changes adapter\">\n");
  if (app.tokens.all().empty()) html.raw("<p class=\"empty\">There is no token.</p>\n");
  html.raw("<ul>\n");
  for (const ApiTokens::Token& token : app.tokens.all()) add_token(html, token);
  html.raw("</ul>\n</div>\n<form data-api=\"/api/1/tokens\" data-result=\"token-result\" ");
  html.raw("data-shows=\"token\" data-done=\"Made. Keep the token now: it is shown this once.\" ");
  html.raw("data-needs-script>\n");
  html.raw("<p><label for=\"token-name\">What a new token is for</label> ");
  html.raw("<input id=\"token-name\" name=\"name\" maxlength=\"64\" required></p>\n");
  html.raw("<p><button>Make a token</button></p>\n</form>\n");
  html.raw("<div id=\"token-result\"></div>\n</section>\n");
}

}  // namespace

Response get_diagnostics_page(const Request& request, App& app) {
  Html main;
  main.raw("<h1>Diagnostics</h1>\n<div class=\"cards\">\n");
  add_checks(main, app);
  add_locks(main, app);
  add_lint(main);
  add_log(main);
  add_export(main);
  add_tokens(main, app);
  main.raw("</div>\n");
  return page(request, app, "Diagnostics", main);
}

Response get_export_file(const Request&, App& app) {
  Response response = json(support_document(app));
  response.headers.emplace_back("Content-Disposition", "attachment; filename=\"adapter.json\"");
  return response;
}

}  // namespace tools::web
