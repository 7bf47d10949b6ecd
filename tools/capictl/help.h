// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the command line tells of itself.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "context.h"

namespace tools::capictl {

// The commands of a command that people know of, in the order in which they were added.
std::vector<CLI::App*> subcommands(const CLI::App& app);
std::vector<std::string> names_of(const std::vector<CLI::App*>& commands);

// "capictl calls list".
std::string full_name(const CLI::App& command);

// "[OPTION]... NODE [FILE]".
std::string synopsis(const CLI::App& command);

// What an option or argument is for, and what it takes.
std::string description(const CLI::Option& option);

// What an argument may be: "volte" and more. Empty when it may be anything.
std::vector<std::string> choices(const CLI::Option& option);

// The paragraphs of the text at the end. One that begins with a blank, or has an example's heading,
// stays as it is; others may be filled.
struct Paragraph {
  std::string text;
  bool is_filled;
};
std::vector<Paragraph> paragraphs(const std::string& text);

// Prints it with lines of at most 80 characters.
void print_help(const CLI::App& command);

// Prints the help of the command that was asked for it. False when this is another error.
bool print_asked_help(const CLI::App& app, const CLI::ParseError& error);

// What is wrong with a command line, and where help is.
Failure usage_failure(const CLI::App& app, const CLI::ParseError& error);

// capictl help.
void add_help(CLI::App& app);

}  // namespace tools::capictl
