// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "answer.h"
#include "fields.h"
#include "key_search.h"
#include "layout.h"
#include "pages.h"
#include "text.h"

namespace tools::web {
namespace {

constexpr size_t kMostFound = 40;

// What is known of keys is told without an adapter as well.
const cfg_shared_record* record_if_any(App& app) {
  try {
    return &app.reader.record();
  } catch (const Failure&) {
    return nullptr;
  }
}

void add_search(Html& html, const Request& request) {
  html.raw("<form method=\"get\" action=\"/settings\" class=\"filter\" role=\"search\">\n");
  html.raw("<p><label for=\"q\">Search all settings</label> <input id=\"q\" name=\"q\" ");
  html.raw("type=\"search\"").attr("value", request.parameter("q"));
  html.raw("></p>\n<p><button>Search</button></p>\n</form>\n");
}

void add_fields(Html& html, App& app, const std::vector<const Key*>& keys) {
  html.raw("<div class=\"settings-live\" id=\"settings-form\" data-live=\"config device ");
  html.raw("adapter\">\n");
  add_forms(html, keys, record_if_any(app), read_source_files(adapter_setting_files()));
  html.raw("</div>\n");
}

size_t count_changed(const cfg_shared_record& record, const std::vector<const Key*>& keys) {
  size_t count = 0;
  for (const Key* key : keys) count += value_of(record, *key) != key->meaning.start ? 1 : 0;
  return count;
}

void add_topics(Html& html, App& app) {
  const cfg_shared_record* const record = record_if_any(app);
  html.raw("<section id=\"topics\" data-live=\"config device adapter\" ");
  html.raw(
      "aria-labelledby=\"topics-h\">\n<h2 id=\"topics-h\">Topics</h2>\n<ul class=\"topics\">\n");
  for (const std::string& section : all_sections()) {
    const std::vector<const Key*> keys = keys_of(section);
    html.raw("<li><a").attr("href", "/settings/" + in_address(section)).raw("><code>");
    html.text(section).raw("</code></a> <span class=\"quiet-text\">");
    html.text(counted(keys.size(), "setting"));
    const size_t changed = record != nullptr ? count_changed(*record, keys) : 0;
    if (changed > 0) html.text(", " + std::to_string(changed) + " changed");
    html.raw("</span></li>\n");
  }
  html.raw("</ul>\n</section>\n");
}

void add_found(Html& html, App& app, const std::string& words) {
  std::vector<const Key*> keys = found_keys("", words);
  html.raw("<p>").text(counted(keys.size(), "setting")).raw(" found");
  if (keys.size() > kMostFound) {
    html.text("; the first " + std::to_string(kMostFound) + " are here");
    keys.resize(kMostFound);
  }
  html.raw(".</p>\n");
  add_fields(html, app, keys);
}

}  // namespace

Response get_settings_page(const Request& request, App& app) {
  const std::string words(request.parameter("q"));
  Html main;
  main.raw("<h1>Settings</h1>\n");
  add_search(main, request);
  if (words.find_first_not_of(' ') != std::string::npos) {
    main.raw("<p><a href=\"/settings\">All topics</a></p>\n");
    add_found(main, app, words);
  } else {
    add_topics(main, app);
  }
  return page(request, app, "Settings", main);
}

Response get_section_page(const Request& request, App& app) {
  const std::string section(request.part("section"));
  const std::vector<const Key*> keys = keys_of(section);
  Html main;
  main.raw("<h1>Settings: <code>").text(section).raw("</code></h1>\n");
  main.raw("<p><a href=\"/settings\">All topics</a></p>\n");
  add_fields(main, app, keys);
  return page(request, app, "Settings: " + section, main);
}

}  // namespace tools::web
