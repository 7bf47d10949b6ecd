// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Texts of which a shell makes more than a text, and those that reach a program as they are.
#pragma once

#include <string>

#include "support/files.h"
#include "support/log_capture.h"

namespace capi::test {

// What a command leaves that ran out of one of the texts.
inline constexpr char kMarker[] = "/tmp/marker";

inline constexpr const char* kRefusedUnquoted[] = {"a;touch /tmp/marker",
                                                   "a&touch /tmp/marker",
                                                   "a|touch /tmp/marker",
                                                   "a$(touch /tmp/marker)",
                                                   "a`touch /tmp/marker`",
                                                   "a>/tmp/marker",
                                                   "a\ntouch /tmp/marker",
                                                   "a\r",
                                                   "a</dev/null",
                                                   "(touch /tmp/marker)",
                                                   "a)",
                                                   "a$HOME",
                                                   "a\\b",
                                                   "a\"b\"",
                                                   "a'b'",
                                                   "/tm*",
                                                   "/tm?",
                                                   "/tm[p]",
                                                   "a{b,c}",
                                                   "#a",
                                                   "a #b",
                                                   "~",
                                                   "a ~root",
                                                   "a\t~root"};

inline constexpr const char* kTakenUnquoted[] = {
    "a#b", "a~b", "a]}!%=,:@^+-_./b", "0", "eth0.100", "\303\244\377", "\001\177", ""};

inline LogLine refused(const std::string& func, const std::string& text) {
  return {4, func, "not run, a shell would take this for more than text: " + text};
}

}  // namespace capi::test
