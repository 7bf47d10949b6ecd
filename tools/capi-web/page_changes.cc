// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <change.h>

#include "answer.h"
#include "draft.h"
#include "layout.h"
#include "pages.h"
#include "render.h"
#include "text.h"

namespace tools::web {
namespace {

void add_file(Html& html, const FileChange& change) {
  Table table("lines",
              {{"section"}, {"line before", Type::Text, "old"}, {"line now", Type::Text, "new"}});
  for (const LineChange& line : change.lines)
    table.add({line.section, line.old_line, line.new_line});
  add_table(html, table,
            Look{.caption = std::string("Voice stack's file ") + change.file,
                 .id = std::string("file-") + change.file,
                 .is_wide = true});
}

// The record before the change, and the settings that it has set.
void add_files(Html& html, App& app, const pending::Change& change) {
  cfg_shared_record before = app.reader.record();
  std::vector<Setting> settings;
  for (const pending::Value& value : change.values) {
    const Key* const key = find_key(value.key.section, value.key.name);
    if (key == nullptr) continue;
    put_value(before, *key, value.before);
    settings.push_back({key, value.after});
  }
  for (const FileChange& file : changed_files(before, settings)) add_file(html, file);
}

void add_waiting(Html& html, App& app, const pending::Change& change) {
  const std::vector<Table> tables = change_tables(Secrets::Hidden);
  html.raw("<p>A change of ").text(change.owner).raw(" waits to be kept. It goes back at ");
  add_time(html, time_text(change.deadline));
  html.raw(".</p>\n");
  add_values(html, tables.back(), "Settings", "values-t");
  add_files(html, app, change);
}

void add_outcome(Html& html) {
  pending::Outcome outcome;
  html.raw("<p class=\"empty\">No change waits to be kept.</p>\n");
  if (pending::load(outcome) != 0 || outcome.id.empty()) return;
  html.raw("<p>The last one, <code>").text(outcome.id).raw("</code>, was ").text(outcome.what);
  html.raw(" at ");
  add_time(html, time_text(outcome.at));
  html.raw(".</p>\n");
  for (const std::string& trouble : troubles_of(outcome)) html.element("p", sentence(trouble));
}

}  // namespace

Response get_changes_page(const Request& request, App& app) {
  Html main;
  main.raw("<h1>Changes</h1>\n");
  main.raw("<p>Settings are changed on the pages of <a href=\"/settings\">their topics</a>. What ");
  main.raw("would change is shown before, and goes back by itself unless it is kept.</p>\n");
  main.raw("<section id=\"changes\" data-live=\"changes config adapter\" ");
  main.raw("aria-labelledby=\"changes-h\">\n<h2 id=\"changes-h\">The last change</h2>\n");
  try {
    if (const auto change = waiting_change()) {
      add_waiting(main, app, *change);
    } else {
      add_outcome(main);
    }
  } catch (const Failure& failure) {
    main.raw("<p class=\"notice warn\">").text(sentence(failure.what())).raw("</p>\n");
  }
  main.raw("</section>\n");
  return page(request, app, "Changes", main);
}

}  // namespace tools::web
