// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A safe way of replacing a file, in a few lines, which can be told to leave out any of its care:
// shows that the explorer finds what is missing, whatever the library does.
#pragma once

#include <string>
#include <string_view>

namespace capi::crash {

enum class Care : uint8_t {
  Full,
  NoFileSync,
  NoDirectorySync,
  SyncIgnored,     // a sync that fails changes nothing
  SyncTriedAgain,  // a sync that fails is tried again
  ModeAfterSync,
  ModeAfterRename,
  UniqueSibling,
  InPlace,
};

// Returns whether it reports success.
bool replace_file(const std::string& directory, const std::string& name, std::string_view bytes,
                  Care care);

}  // namespace capi::crash
