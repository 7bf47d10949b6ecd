// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Replacing the content of a file as a whole.
//
// The new content is written to a sibling, ".NAME.new" in the same directory, and gets the file's
// name when it is complete and on the medium. Who opens the file finds the old content or the new
// one, never none and never a part: while it is written, after a kill and after a power cut. A
// sibling that a killed process left is nobody's content; the next replacement removes it.
//
// Two kinds of promises, which a caller chooses between: after commit() the content is consistent,
// old or new whatever happens; after sync_directory() it is durable too, the new one.
//
// Some files can only be written in place, where a kill cuts them: a file with several names, what
// a symbolic link of root's or the caller's own leads to, a device or the like, a file whose
// directory or owner allows no sibling. A symbolic link that a stranger planted is not followed but
// replaced.
//
// Leaves to its callers: locks between writers (two that work on one file at once do no harm to it,
// but the later content stays), what to do about an error, and its message.
#pragma once

#include <sys/types.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/descriptor.h"
#include "foundation/function_ref.h"
#include "foundation/memory.h"

struct stat64;

namespace capi {

// What becomes of a file that is not simply one with one name.
enum class OddFile : uint8_t {
  WrittenInPlace,
  Replaced,  // as if it had been deleted first; a directory is refused all the same
};

class FileReplacement {
 public:
  // Begins. The file keeps its mode and owner; a new one gets those of the process.
  explicit FileReplacement(const char* path, OddFile odd_file = OddFile::WrittenInPlace);

  // Gives up what was not committed: the old content stays.
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // False, with errno set, for a file that cannot be opened for writing, or not be made.
  bool is_open() const { return is_open_; }

  // The file is written in place: when something fails from now on, the old content is lost.
  bool is_in_place() const { return is_in_place_; }

  // Appends. False, with errno set, from the first failure on, which commit() will not forget.
  bool write(const void* bytes, size_t size);

  // Brings what was written to the medium and gives it the file's name. False, with errno set,
  // where that failed: then the old content stays.
  bool commit();

  // Makes a commit durable. False, with errno set: the new content is there, but may be lost in a
  // power cut.
  bool sync_directory();

  // Closes the file, which a destructor would do without saying whether it went well.
  bool close() { return file_.close(); }

 private:
  enum class Step : uint8_t { Done, InPlace, Failed };

  Step split(const char* path);
  Step look_at_target();
  bool has_names_of_its_own(const struct stat64& file) const;
  bool finds_sibling(struct stat64& named) const;
  Step step_after_error();
  Step make_sibling();
  Step try_sibling(bool& again);
  bool remove_leftover();
  bool wait_for_writer(int sibling) const;
  bool has_name_of_sibling(int fd) const;
  Step take_over_attributes();
  bool open_in_place(const char* path);
  bool copy_in_place();
  bool fail();

  Allocated<char> path_;  // split in two at its last slash
  const char* name_ = nullptr;
  char sibling_[NAME_MAX + 1] = {};
  Descriptor directory_;
  Descriptor file_;
  bool has_old_ = false;  // a file whose attributes are kept
  mode_t old_mode_ = 0;
  uid_t old_owner_ = 0;
  gid_t old_group_ = 0;
  bool counts_only_by_name_ = false;
  bool has_sibling_ = false;
  bool is_in_place_ = false;
  bool is_open_ = false;
  int error_ = 0;  // the first
};

// ---- In one call --------------------------------------------------------------------------------

struct Replacing {
  OddFile odd_file = OddFile::WrittenInPlace;
  bool is_durable = false;  // all is synced, as sync() does it, before the call returns
  size_t head = 0;          // not 0: on a full disk the file is overwritten, see above
};

// What can fail on the way. Only the first two leave the new content unwritten.
enum class ReplacingStep : uint8_t { Open, Write, Flush, Close };

enum class Replaced : uint8_t {
  Done,
  NotOpened,
  NotWritten,  // the old content stays
  Cut,         // it is lost: the file is written in place
};

// Overwrites a file in place, for what must work on a full disk, where there is no room for a
// sibling. The first "head" bytes are written last, when the rest is on the medium. Where it fails
// errno is set.
Replaced overwrite_file(const char* path, std::span<const uint8_t> bytes, size_t head);

// Replaces the content of a file. Each step that failed is told, with errno set.
Replaced replace_file(const char* path, std::span<const uint8_t> bytes, const Replacing& replacing,
                      FunctionRef<void(ReplacingStep)> tell);

}  // namespace capi
