/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * Text and file utilities. None of them takes a lock, logs or looks at the shared record; all may
 * be called from any thread and from any callback.
 */
#ifndef CAPI_UTIL_H
#define CAPI_UTIL_H

#include <sys/types.h>

#include "capi/api.h"

CAPI_BEGIN_DECLS

/*
 * Receives one item of a key=value file. "section" is "" before the first section line; it is never
 * null. The texts are valid during the call only. The result is ignored.
 */
typedef int (*config_item_cb)(const char *section, const char *key, const char *value);

/*
 * Reads a key=value file and hands each item to item_cb. Lines are taken in pieces of at most 2047
 * characters; "#" and ";" cut a line; all blanks and control characters are removed from sections,
 * keys and values; keys are cut to 255 characters and values to 1023. Items without a key or a
 * value are skipped.
 * Returns 0, or -1 when an argument is null or the file cannot be opened for reading and writing.
 */
int config_file_reader(const char *path, config_item_cb item_cb);

/*
 * Produces the index-th piece (from 1) of a file: puts it into "buf" (2048 bytes) and returns its
 * length (above 2048 counts as 2048), a negative number to write nothing for this index, or 0 to
 * end the file.
 */
typedef int (*config_line_cb)(int index, char *buf, void *ctx);

/*
 * Replaces the file at "path" by the pieces that line_cb produces; "ctx" is handed through. Others
 * see the old file until the end. Returns 1, or 0 when an argument is null or the file cannot be
 * created; a write that fails later is logged, and the file stays as it was.
 */
int config_file_writer(const char *path, config_line_cb line_cb, void *ctx);

/*
 * Copies a text into a buffer of "size" bytes: zeroes all of it and copies at most size - 1
 * characters. A null or empty "src" leaves the zeroes; a null "dst" or a size below 2 does nothing.
 */
void strcpy_safe(char *dst, const char *src, int size);

/*
 * Creates every directory along "path" (below 256 characters) with "mode". Sets the process's file
 * mode creation mask to 0 and leaves it so. Returns 0, or -1 when a directory that does not exist
 * cannot be created (errno says why), or the path is null or too long.
 */
int mkdir_recur(const char *path, mode_t mode);

/* Removes every "ch" from "s", wherever it stands. */
void utils_str_trim(char *s, char ch);

/* Removes the leading run of "ch" from "s". */
void utils_str_trim_left(char *s, char ch);

/* Removes the trailing run of "ch" from "s", and returns "s". */
char *utils_str_trim_right(char *s, char ch);

/*
 * Replaces the file at "path" by the "size" bytes at "buf". Returns 1, or 0 when an argument is
 * null or the file cannot be created; a write that fails later is logged, and the file stays as
 * it was.
 */
int utils_write_to_file(const char *path, const void *buf, int size);

/*
 * Reads up to "n" bytes of a file into "buf", which must hold n + 1: a NUL follows what was read.
 * Returns the number of bytes read; 0, with "buf" untouched, when there are none or the file cannot
 * be opened.
 */
int utils_read_from_file(const char *path, void *buf, int n);

/* Returns 1 when the file can be opened for reading, else 0. */
int utils_file_exist(const char *path);

/*
 * Runs a shell command and copies its line_no-th output line (from 1), without its line end, into
 * "buf" of "len" bytes; lines are taken in pieces of at most 1023 characters. Returns 0, or -1 with
 * "buf" zeroed when the output has no such line or the command cannot be run. The text goes to the
 * shell as it is.
 */
int get_linedata_from_pipe(const char *command, int line_no, char *buf, int len);

CAPI_END_DECLS

#endif
