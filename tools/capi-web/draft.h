// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Settings that somebody wants, before they are set.
#pragma once

#include <cjson/cJSON.h>
#include <setting_file.h>

#include <string>
#include <vector>

#include "table.h"

namespace tools::web {

// The settings of {"sip_line_1": {"display_name": "Kitchen"}}. What the device's own files tell is
// passed over where it is as in the record, so that a document that was read can be given back.
// Throws a Failure for the first that should not be set, with its key.
std::vector<Setting> read_draft(const cJSON* set, const cfg_shared_record& record);

// How a line of a voice stack's file would change. Of one that comes or goes a side is empty.
struct LineChange {
  std::string section;
  std::string old_line;
  std::string new_line;
};

struct FileChange {
  const char* file;
  std::vector<LineChange> lines;
};

// The files of the voice stacks as the settings would change them, without their secrets. A file
// that would stay as it is is left out.
std::vector<FileChange> changed_files(const cfg_shared_record& record,
                                      const std::vector<Setting>& settings);

// {"changes": [...], "files": [...]}. The caller owns it.
cJSON* preview_document(const cfg_shared_record& record, const std::vector<Setting>& settings);

}  // namespace tools::web
