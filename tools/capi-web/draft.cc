// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "draft.h"

#include <change.h>
#include <places.h>
#include <stack_files.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "adapter.h"
#include "text.h"

namespace tools::web {
namespace {

// A document with this one setting, for the reader that everybody uses.
std::string document_with(const cJSON* section, const cJSON* item) {
  const Json document(cJSON_CreateObject());
  cJSON* const object = cJSON_AddObjectToObject(document.get(), section->string);
  cJSON_AddItemToObject(object, item->string, cJSON_Duplicate(item, 1));
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(document.get()),
                                                          cJSON_free);
  return text ? text.get() : "";
}

// As a document tells it.
bool is_present(const Settings& read, const cfg_shared_record& record) {
  if (read.items.empty()) return !read.has_error();
  const Setting& setting = read.items.front();
  return setting.value == json_text(value_of(record, *setting.key));
}

void read_item(const cJSON* section, const cJSON* item, const cfg_shared_record& record,
               std::vector<Setting>& settings) {
  const std::string label = std::string(section->string) + "." + item->string;
  const Key* const key = find_label(label);
  if (key == nullptr) throw Failure(unknown_key(label), {kRefused, label});
  const Settings read = read_document(document_with(section, item));
  if (key->meaning.is_read_back != 0) {
    if (is_present(read, record)) return;
    throw Failure(label + " is read from the device's own files, and not to be set",
                  {kRefused, label});
  }
  refuse_wrong(read.items);
  if (read.has_error()) {
    throw Failure(read.findings.front().text, {kRefused, label, allowed_values(*key)});
  }
  settings.insert(settings.end(), read.items.begin(), read.items.end());
}

cfg_shared_record drafted(cfg_shared_record record, const std::vector<Setting>& settings) {
  for (const Setting& setting : settings) {
    put_value(record, *setting.key, stored_value(*setting.key, setting.value));
  }
  return record;
}

std::string name_in(const std::string& line) { return line.substr(0, line.find('=')); }

// The lines that go and those that come, side by side where they are of one name.
std::vector<LineChange> side_by_side(const Table& differences) {
  std::vector<LineChange> changes;
  for (const auto& row : differences.rows()) {
    const std::string& section = row[1];
    const std::string& line = row[2];
    if (row[0] == "-") {
      changes.push_back({section, line, ""});
      continue;
    }
    const auto pair = std::ranges::find_if(changes, [&](const LineChange& change) {
      return change.section == section && change.new_line.empty() &&
             name_in(change.old_line) == name_in(line);
    });
    if (pair != changes.end()) {
      pair->new_line = line;
    } else {
      changes.push_back({section, "", line});
    }
  }
  return changes;
}

unsigned types_of(const std::vector<Setting>& settings) {
  unsigned types = 0;
  for (const Setting& setting : settings) {
    for (const Place& place : places_of(*setting.key)) types |= place.types;
  }
  return types;
}

void add_text(cJSON* object, const char* name, const std::string& text) {
  cJSON_AddStringToObject(object, name, json_text(text).c_str());
}

cJSON* to_json(const FileChange& change) {
  cJSON* const object = cJSON_CreateObject();
  add_text(object, "file", change.file);
  cJSON* const lines = cJSON_AddArrayToObject(object, "lines");
  for (const LineChange& line : change.lines) {
    cJSON* const row = cJSON_CreateObject();
    cJSON_AddItemToArray(lines, row);
    add_text(row, "section", line.section);
    add_text(row, "old", line.old_line);
    add_text(row, "new", line.new_line);
  }
  return object;
}

}  // namespace

std::vector<Setting> read_draft(const cJSON* set, const cfg_shared_record& record) {
  if (!cJSON_IsObject(set)) {
    throw Failure("\"set\" is missing: an object of sections with their keys", {kUsage, "set"});
  }
  std::vector<Setting> settings;
  for (const cJSON* section = set->child; section != nullptr; section = section->next) {
    if (!cJSON_IsObject(section)) {
      throw Failure(std::string(section->string) + " has to be an object of keys and values",
                    {kUsage, section->string});
    }
    for (const cJSON* item = section->child; item != nullptr; item = item->next) {
      read_item(section, item, record, settings);
    }
  }
  return settings;
}

std::vector<FileChange> changed_files(const cfg_shared_record& record,
                                      const std::vector<Setting>& settings) {
  const cfg_shared_record then = drafted(record, settings);
  const unsigned types = types_of(settings);
  std::vector<FileChange> files;
  for (unsigned type = 0; type < std::size(kStackTypes); ++type) {
    if ((types >> type & 1) == 0) continue;
    std::vector<LineChange> lines = side_by_side(stack_file_differences(
        stack_file_text(record, type), stack_file_text(then, type), Secrets::Hidden));
    if (!lines.empty()) files.push_back({kStackTypes[type].path, std::move(lines)});
  }
  return files;
}

cJSON* preview_document(const cfg_shared_record& record, const std::vector<Setting>& settings) {
  cJSON* const document = cJSON_CreateObject();
  std::vector<Setting> before;
  before.reserve(settings.size());
  for (const Setting& setting : settings) {
    before.push_back({setting.key, value_of(record, *setting.key)});
  }
  cJSON_AddItemToObject(document, "changes",
                        tools::to_json(changes_table(before, settings, Secrets::Hidden)));
  cJSON* const files = cJSON_AddArrayToObject(document, "files");
  for (const FileChange& file : changed_files(record, settings)) {
    cJSON_AddItemToArray(files, to_json(file));
  }
  return document;
}

}  // namespace tools::web
