// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Notices that a change with a way back begins, is kept or goes back, in whichever program.
#pragma once

namespace tools::web {

class ChangeFiles {
 public:
  ChangeFiles();
  ~ChangeFiles();
  ChangeFiles(const ChangeFiles&) = delete;
  ChangeFiles& operator=(const ChangeFiles&) = delete;

  // Readable when there is something to be noticed; -1 where nothing can be.
  int fd() const { return fd_; }

  // Whether their directory has come since the last call: the first change makes it.
  bool have_come();

  // Whether they have changed since the last call.
  bool have_changed() const;

 private:
  int fd_;
  int directory_ = -1;
};

}  // namespace tools::web
