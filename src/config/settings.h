// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Setting files and the items in them: how a value gets into the configuration.
//
// An item is logged before anything else, so that the log shows what was asked for. It goes into
// the staging copy; setting by name goes into the segment as well, or the next publishing would
// undo it. Items for keys that are unknown are ignored: setting files are shared by firmware of
// several ages.
//
// Leaves to publishing (config/publish.cc) to make a staging copy the configuration of all.
#pragma once

#include "record/context.h"

namespace capi {

// Logs an item of a setting file. A null section is shown as "---".
void log_setting(const char* section, const char* key, const char* value);

// Applies an item to a record. Returns 0 when it is applied or ignored, -1 for a number out of
// range.
int apply_setting(cfg_shared_record& record, const char* section, const char* key,
                  const char* value);

// Logs an item and applies it to the staging copy and, where there is one, to the segment. Returns
// the same, and -1 without a staging copy.
int apply_setting_everywhere(const char* section, const char* key, const char* value)
    CAPI_REQUIRES(kConfShmLock);

}  // namespace capi
