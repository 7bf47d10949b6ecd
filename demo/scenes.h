// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The scenes of the demo, in the order in which they are played.
#pragma once

#include "stage.h"

namespace demo {

void play_typical_request(Stage& stage);
void play_device(Stage& stage);
void play_line_status(Stage& stage);
void play_call_log(Stage& stage);
void play_short_messages(Stage& stage);
void play_signals(Stage& stage);
void play_terminal(Stage& stage);
void play_page(Stage& stage);

// Leaves the page to a person's browser until that is enough.
void serve_page();

}  // namespace demo
