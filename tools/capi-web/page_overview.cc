// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <carriers.h>

#include <cctype>
#include <cstdlib>

#include "answer.h"
#include "layout.h"
#include "overview.h"
#include "pages.h"
#include "render.h"

namespace tools::web {
namespace {

using Row = std::vector<std::string>;

void add_alert(Html& html, const Alert& alert) {
  constexpr std::string_view kClasses[] = {"alert info", "alert warn", "alert bad"};
  html.raw("<li").attr("class", kClasses[static_cast<size_t>(alert.severity)]);
  html.attr("data-key", alert.id).raw(">").text(alert.text);
  if (!alert.since.empty()) {
    html.raw(" <span class=\"quiet-text\">since ");
    add_time(html, alert.since);
    html.raw("</span>");
  }
  html.raw("</li>\n");
}

void add_alerts(Html& html, const std::vector<Alert>& alerts) {
  html.raw("<section id=\"alerts\" class=\"card alerts\" data-live=\"config device lines calls ");
  html.raw("messages changes adapter\" aria-labelledby=\"alerts-h\">\n");
  html.raw("<h2 id=\"alerts-h\">Alerts</h2>\n<div aria-live=\"polite\">\n");
  if (alerts.empty()) {
    html.raw("<p class=\"empty\">All is well.</p>\n");
  } else {
    html.raw("<ul>\n");
    for (const Alert& alert : alerts) add_alert(html, alert);
    html.raw("</ul>\n");
  }
  html.raw("</div>\n</section>\n");
}

// ---- Lines -------------------------------------------------------------------------------------

void add_registration_state(Html& html, const Table& lines, const Row& row) {
  const bool is_enabled = cell_of(lines, row, "enabled") != "0";
  const int stacks = atoi(cell_of(lines, row, "registered_stacks").c_str());
  html.raw("<span aria-live=\"polite\">");
  if (!is_enabled) {
    add_state(html, State::Off, "switched off");
  } else if (stacks > 0) {
    add_state(html, State::Good, "registered");
  } else {
    add_state(html, State::Bad, "not registered");
  }
  html.raw("</span>");
}

// "Off-hook" as "offhook".
std::string letters_of(std::string_view text) {
  std::string letters;
  for (const char c : text) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isalpha(letter) != 0) letters += static_cast<char>(std::tolower(letter));
  }
  return letters;
}

// Two publications: the hook, and in words of its own what the telephone does, which says more,
// the same or nothing.
void add_telephone(Html& html, bool is_off_hook, const std::string& words) {
  const std::string letters = letters_of(words);
  html.raw("<span aria-live=\"polite\">").text(is_off_hook ? "off the hook" : "on the hook");
  if (letters != "unknown" && letters != (is_off_hook ? "offhook" : "onhook")) {
    html.raw(" <span class=\"quiet-text\">(status: ").text(words).raw(")</span>");
  }
  html.raw("</span>");
}

void add_line_cell(Html& html, const Table& lines, const std::string& field, const Row& row) {
  const std::string& text = cell_of(lines, row, field);
  if (field == "registered_stacks") {
    add_registration_state(html, lines, row);
  } else if (field == "off_hook") {
    add_telephone(html, text != "0", cell_of(lines, row, "phone"));
  } else if (field == "voice_mail") {
    html.text(text != "0" ? "waiting" : "none");
  }
}

void add_registrations(Html& html, const Table& registrations) {
  if (registrations.rows().empty()) {
    html.raw("<p class=\"empty\">No voice stack has told of a registration yet.</p>\n");
    return;
  }
  const auto cell = [&](Html& to, const std::string& field, const Row& row) {
    if (field != "status") return;
    const std::string& text = cell_of(registrations, row, field);
    add_state(to, text == "Registered" ? State::Good : State::Bad, text);
  };
  add_table(html, registrations,
            {.caption = "Registrations", .id = "registrations-t", .cell = cell});
}

void add_lines(Html& html, const std::vector<Table>& status) {
  const Table& lines = *find_table(status, "lines");
  html.raw("<section id=\"lines\" class=\"card\" data-live=\"lines config adapter\" ");
  html.raw("aria-labelledby=\"lines-h\">\n<h2 id=\"lines-h\">Lines</h2>\n");
  const auto cell = [&](Html& to, const std::string& field, const Row& row) {
    add_line_cell(to, lines, field, row);
  };
  add_table(
      html, lines,
      {.caption = "Lines",
       .id = "lines-t",
       .is_quiet = true,
       .only = {"line", "enabled", "name", "user", "off_hook", "registered_stacks", "voice_mail"},
       .titles = {{"off_hook", "Telephone"},
                  {"registered_stacks", "Registration"},
                  {"voice_mail", "Voice mail"}},
       .cell = cell});
  add_registrations(html, *find_table(status, "registrations"));
  html.raw("</section>\n");
}

// ---- The device --------------------------------------------------------------------------------

void add_facts_card(Html& html, const std::vector<Table>& status, Markup id, Markup title) {
  const Table* const facts = find_table(status, id.text());
  html.raw("<section id=\"").raw(id).raw("\" class=\"card\" data-live=\"device config adapter\" ");
  html.raw("aria-labelledby=\"").raw(id).raw("-h\">\n<h2 id=\"").raw(id).raw("-h\">").raw(title);
  html.raw("</h2>\n");
  if (facts != nullptr) {
    add_facts(html, *facts);
  } else {
    html.raw("<p class=\"empty\">It cannot be told while a lock is held.</p>\n");
  }
  html.raw("</section>\n");
}

// Whose SIM it is, and why the device thinks so.
void add_carrier(Html& html, App& app) {
  html.raw("<section id=\"carrier\" class=\"card\" data-live=\"device adapter\" ");
  html.raw("aria-labelledby=\"carrier-h\">\n<h2 id=\"carrier-h\">Carrier</h2>\n");
  try {
    const CarrierMatch& match = app.reader.carriers();
    if (match.is_known) {
      html.raw("<p>The SIM is taken for one of carrier ").text(std::to_string(match.carrier));
      html.raw(". Of the carriers that fit, the first that fits both numbers wins, or else the ");
      html.raw("first that fits the IMSI.</p>\n");
    } else {
      html.raw("<p class=\"notice warn\">No carrier fits the SIM.</p>\n");
    }
    add_table(html, match.table,
              {.caption = "Carriers that fit the SIM",
               .id = "carrier-t",
               .only = {"carrier", "file", "mcc", "fits_by", "chosen", "why"}});
  } catch (const Failure& failure) {
    const bool has_no_sim = failure.why().code == kNotFound;
    html.element("p", has_no_sim ? "No SIM is inserted." : sentence(failure.what()));
  }
  html.raw("</section>\n");
}

// ---- Stores and locks --------------------------------------------------------------------------

State state_of_store(const std::string& text) {
  if (text == "sound") return State::Good;
  return text == "locked" ? State::Warn : State::Bad;
}

// How full it is, and in words.
void add_fill(Html& html, const std::string& store, const std::string& entries) {
  const std::string room =
      std::to_string(store.starts_with("calls") ? int{CAPI_CALL_LOG_ENTRIES_PER_TYPE}
                                                : int{CAPI_SMS_MAX_MESSAGES});
  if (entries.empty()) return;
  html.raw("<span><meter min=\"0\"").attr("max", room).attr("value", entries);
  html.attr("aria-label", store).raw(">").text(entries).raw("</meter> ");
  // In one piece, however narrow it is.
  html.text(entries + "\u00a0of\u00a0" + room).raw("</span>");
}

void add_stores(Html& html, const std::vector<Table>& status) {
  const Table* const stores = find_table(status, "stores");
  html.raw("<section id=\"stores\" class=\"card\" data-live=\"calls messages adapter\" ");
  html.raw("aria-labelledby=\"stores-h\">\n<h2 id=\"stores-h\">Stores</h2>\n");
  const auto cell = [&](Html& to, const std::string& field, const Row& row) {
    const std::string& text = cell_of(*stores, row, field);
    if (field == "state") add_state(to, state_of_store(text), text);
    if (field == "entries") add_fill(to, cell_of(*stores, row, "store"), text);
  };
  if (stores != nullptr) {
    add_table(html, *stores,
              {.caption = "Stores", .id = "stores-t", .is_quiet = true, .cell = cell});
  } else {
    html.raw("<p class=\"empty\">They cannot be looked at while lock 0 is held.</p>\n");
  }
  html.raw("</section>\n");
}

void add_locks_card(Html& html, const std::vector<Table>& status) {
  html.raw("<section id=\"locks\" class=\"card wide\" data-live=\"config device lines calls ");
  html.raw("messages adapter\" aria-labelledby=\"locks-h\">\n<h2 id=\"locks-h\">Locks</h2>\n");
  add_lock_table(html, *find_table(status, "locks"));
  html.raw("</section>\n");
}

}  // namespace

void add_lock_table(Html& html, const Table& locks) {
  const auto cell = [&](Html& to, const std::string& field, const Row& row) {
    const std::string& text = cell_of(locks, row, field);
    if (field == "state") add_state(to, text == "held" ? State::Warn : State::Off, text);
  };
  const Look look{.caption = "Locks", .id = "locks-t", .is_quiet = true, .cell = cell};
  add_table(html, locks, look);
}

Response get_overview_page(const Request& request, App& app) {
  Html main;
  main.raw("<h1>Overview</h1>\n<div class=\"cards\">\n");
  add_alerts(main, present_alerts(app));
  try {
    const std::vector<Table> status = app.reader.status();
    add_lines(main, status);
    add_facts_card(main, status, "device", "Device");
    add_facts_card(main, status, "sim", "SIM");
    add_carrier(main, app);
    add_stores(main, status);
    add_facts_card(main, status, "adapter", "Adapter");
    add_locks_card(main, status);
  } catch (const Failure&) {
    // The alerts have told why there is nothing more.
  }
  main.raw("</div>\n");
  return page(request, app, "Overview", main);
}

}  // namespace tools::web
