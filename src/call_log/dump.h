// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Handing the entries of an image to a callback.
//
// Image and links may hold anything, so a walk ends at a link to no node and after as many entries
// as the list says to have; a circle of links does not hold it up. A missing callback is no error:
// the walk is made all the same, and with it the check.
//
// Leaves to its callers the image and its memory. No lock is held: callbacks may call the library.
#pragma once

#include "capi/call_log.h"

namespace capi {

// Newest first. The selector is one of the public call's. A link to no node ends it and is logged.
void dump_image(const capi_call_log_image& image, unsigned selector, capi_call_log_cb callback,
                void* user);

// All entries, oldest first. Returns 0, or -1 at a link to no node.
int dump_whole_image(const capi_call_log_image& image, capi_call_log_cb callback, void* user);

}  // namespace capi
