// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "fields.h"

#include <algorithm>

#include "text.h"

namespace tools::web {
namespace {

constexpr size_t kMaxOptions = 40;

struct Field {
  const Key& key;
  std::string label;
  std::string value;
  bool is_known;  // whether there is an adapter to tell the value

  bool is_number() const { return key.row.kind == CAPI_CONFIG_NUMBER; }
  bool is_secret() const { return key.meaning.is_secret != 0; }
  bool is_writable() const { return is_known && key.meaning.is_read_back == 0; }
  bool is_changed() const { return is_known && value != key.meaning.start; }
};

// ---- Controls ----------------------------------------------------------------------------------

void add_common(Html& html, const Field& field) {
  html.attr("id", "f-" + field.label).attr("name", field.label).attr("data-key", field.label);
  html.attr("aria-describedby", "d-" + field.label);
  if (!field.is_writable()) html.raw(" disabled");
}

void add_values(Html& html, const Field& field) {
  html.attr("data-type", field.is_number() ? "integer" : "string");
  html.attr("data-value", field.value).attr("data-start", field.key.meaning.start);
}

// Never with what is set: that is written, and not read.
void add_secret(Html& html, const Field& field) {
  html.raw("<input type=\"password\" data-secret autocomplete=\"new-password\" value=\"\"");
  add_common(html, field);
  html.attr("placeholder", field.value.empty() ? "not set" : "set");
  html.attr("maxlength", std::to_string(field.key.meaning.longest)).raw(">");
  if (field.value.empty() || !field.is_writable()) return;
  html.raw(" <button type=\"button\" data-needs-script").attr("data-empties", field.label);
  html.attr("aria-label", "Empty " + field.label).raw(">Empty</button>");
}

std::string option_text(const NamedValue& value) {
  const std::string number = std::to_string(value.number);
  return value.name.empty() ? number : number + " \xe2\x80\x93 " + value.name;
}

void add_option(Html& html, const std::string& value, const std::string& text, bool is_chosen) {
  html.raw("<option").attr("value", value);
  if (is_chosen) html.raw(" selected");
  html.raw(">").text(text).raw("</option>");
}

void add_choice(Html& html, const Field& field, const std::vector<NamedValue>& values) {
  html.raw("<select");
  add_common(html, field);
  add_values(html, field);
  html.raw(">");
  const bool is_among = std::ranges::any_of(
      values, [&](const NamedValue& value) { return std::to_string(value.number) == field.value; });
  if (!is_among) add_option(html, field.value, field.value, true);
  for (const NamedValue& value : values) {
    const std::string number = std::to_string(value.number);
    add_option(html, number, option_text(value), number == field.value);
  }
  html.raw("</select>");
}

// A number may be outside of its range where it has a name, as -1 for "never".
void add_number(Html& html, const Field& field, const std::vector<NamedValue>& values) {
  int32_t min = field.key.meaning.min;
  int32_t max = field.key.meaning.max;
  for (const NamedValue& value : values) {
    min = std::min(min, value.number);
    max = std::max(max, value.number);
  }
  html.raw("<input type=\"number\" step=\"1\"");
  add_common(html, field);
  add_values(html, field);
  html.attr("value", field.value).attr("min", std::to_string(min)).attr("max", std::to_string(max));
  html.raw(">");
}

void add_text_field(Html& html, const Field& field) {
  html.raw("<input type=\"text\"");
  add_common(html, field);
  add_values(html, field);
  html.attr("value", field.value).attr("maxlength", std::to_string(field.key.meaning.longest));
  html.raw(">");
}

// Whether a number is one of a few.
bool is_choice(const Field& field, const std::vector<NamedValue>& values) {
  if (values.empty() || values.size() > kMaxOptions) return false;
  const auto count = static_cast<int64_t>(values.size());
  const int64_t range = int64_t{field.key.meaning.max} - field.key.meaning.min + 1;
  return range <= count;
}

void add_control(Html& html, const Field& field) {
  html.raw("<span class=\"input\">");
  const std::vector<NamedValue> values = named_values(field.key);
  if (field.is_secret()) {
    add_secret(html, field);
  } else if (!field.is_number()) {
    add_text_field(html, field);
  } else if (is_choice(field, values)) {
    add_choice(html, field, values);
  } else {
    add_number(html, field, values);
  }
  if (field.key.meaning.unit[0] != '\0') {
    html.raw(" <span class=\"unit\">").text(field.key.meaning.unit).raw("</span>");
  }
  html.raw("</span>\n");
}

// ---- What is known of a key --------------------------------------------------------------------

void add_start(Html& html, const Field& field) {
  if (field.is_secret()) return;
  const std::string start = field.key.meaning.start;
  if (start.empty()) {
    html.raw(" Empty after a start without settings.");
  } else {
    html.raw(" Start: <code>").text(start).raw("</code>.");
  }
}

void add_source(Html& html, const Field& field, const std::vector<SourceFile>& files) {
  if (!field.is_changed()) return;
  const Source source = source_of(field.key, field.value, files);
  if (source.kind == "file") {
    html.raw(" Set by <code>").text(source.file).raw("</code>, line ");
    html.text(std::to_string(source.line)).raw(".");
  } else if (source.kind == "set") {
    html.raw(" Set by a program, and in no file.");
  }
}

void add_hint(Html& html, const Field& field, const std::vector<SourceFile>& files) {
  const capi_key_meaning& meaning = field.key.meaning;
  html.raw("<div class=\"hint\"").attr("id", "d-" + field.label).raw(">");
  if (meaning.meaning[0] != '\0') html.element("p", meaning.meaning);
  html.raw("<p>Allowed: ").text(allowed_values(field.key)).raw(".");
  add_start(html, field);
  add_source(html, field, files);
  if (meaning.standard[0] != '\0') html.raw(" ").text(meaning.standard).raw(".");
  html.raw("</p>");
  if (meaning.note[0] != '\0') html.element("p", meaning.note);
  if (meaning.is_read_back != 0) {
    html.raw("<p>It is read from the device\xe2\x80\x99s own files, and not to be set.</p>");
  }
  html.raw("</div>\n");
}

// "display_name" as people write it.
std::string short_name(const Key& key) {
  std::string name = key.field();
  std::ranges::replace(name, '_', ' ');
  if (!name.empty()) name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
  return name;
}

void add_field(Html& html, const Field& field, const std::vector<SourceFile>& files) {
  html.raw("<div").attr("class", field.is_changed() ? "field changed" : "field");
  html.attr("data-field", field.label).raw(">\n<label").attr("for", "f-" + field.label).raw(">");
  html.text(short_name(field.key)).raw("</label>\n<div class=\"key\"><code>").text(field.label);
  html.raw("</code>");
  if (field.is_changed()) html.raw(" <span class=\"state\">changed</span>");
  html.raw("</div>\n");
  add_control(html, field);
  add_hint(html, field, files);
  html.raw("</div>\n");
}

}  // namespace

void add_forms(Html& html, const std::vector<const Key*>& keys, const cfg_shared_record* record,
               const std::vector<SourceFile>& files) {
  std::string section;
  for (const Key* key : keys) {
    if (key->section != section) {
      if (!section.empty()) html.raw("</form>\n");
      section = key->section;
      html.raw("<form class=\"settings\"").attr("id", "section-" + section);
      html.attr("aria-labelledby", "h-" + section).raw(">\n<h2").attr("id", "h-" + section);
      html.raw("><code>").text(section).raw("</code></h2>\n");
    }
    const std::string value =
        record != nullptr ? value_of(*record, *key) : std::string(key->meaning.start);
    add_field(html, {*key, key->label(), value, record != nullptr}, files);
  }
  if (!section.empty()) html.raw("</form>\n");
}

}  // namespace tools::web
