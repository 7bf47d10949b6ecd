// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl page: the manual page and the completion, made from the command line's own description.
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "help.h"
#include "key_pages.h"
#include "text.h"
#include "value.h"

namespace capictl {
namespace {

// A text as roff takes it.
std::string roff(const std::string& text) {
  std::string result;
  bool at_line_start = true;
  for (const char c : text) {
    if (at_line_start && (c == '.' || c == '\'')) result += "\\&";
    if (c == '-') {
      result += "\\-";
    } else if (c == '\\') {
      result += "\\e";
    } else {
      result += c;
    }
    at_line_start = c == '\n';
  }
  return result;
}

void print_options(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const std::string name = option->get_name(false, true);
    printf(".TP\n.B %s\n%s\n", roff(name).c_str(), roff(description(*option)).c_str());
  }
}

void print_footer(const CLI::App& app) {
  for (const Paragraph& paragraph : paragraphs(const_cast<CLI::App&>(app).get_footer())) {
    const char* form = paragraph.is_filled ? ".PP\n%s\n" : ".PP\n.nf\n%s\n.fi\n";
    printf(form, roff(paragraph.text).c_str());
  }
}

void print_command(const CLI::App& command) {
  const std::string name = full_name(command).substr(strlen("capictl "));
  printf(".SS %s\n", roff(name).c_str());
  printf("%s.\n.PP\n.B capictl %s\n%s\n", roff(command.get_description()).c_str(),
         roff(name).c_str(), roff(synopsis(command)).c_str());
  print_options(command);
  print_footer(command);
  for (const CLI::App* inner : subcommands(command)) print_command(*inner);
}

void print_manual(const CLI::App& app) {
  printf(".TH CAPICTL 1 \"\" \"capi %s\"\n", CAPI_VERSION);
  printf(".SH NAME\ncapictl \\- show and change the state of an LTE phone adapter\n");
  printf(".SH SYNOPSIS\n.B capictl\n[OPTION]... COMMAND [ARGUMENT]...\n");
  printf(".SH OPTIONS\n");
  print_options(app);
  printf(".SH COMMANDS\n");
  for (const CLI::App* command : subcommands(app)) print_command(*command);
  printf(".SH NOTES\n");
  print_footer(app);
}

// What an argument may be, for the shell to expand.
std::string words_for(const CLI::Option& option, const std::string& path) {
  if (option.get_name() == "KEY") return "$(capictl page labels) ";
  if (option.get_name() == "SECTION" && path == "capictl config list")
    return "$(capictl page sections) ";
  if (!option.get_positional() || choices(option).empty()) return "";
  return joined(choices(option), " ") + " ";
}

// "capictl config get" and the words that may follow it.
void print_cases(const CLI::App& app, const std::string& path) {
  std::string words;
  for (const CLI::App* command : subcommands(app)) words += command->get_name() + " ";
  for (const CLI::Option* option : app.get_options()) {
    words += words_for(*option, path);
    for (const std::string& name : option->get_lnames()) words += "--" + name + " ";
  }
  words.erase(words.find_last_not_of(' ') + 1);
  printf("    \"%s\") words=\"%s\" ;;\n", path.c_str(), words.c_str());
  for (const CLI::App* command : subcommands(app)) {
    print_cases(*command, path + " " + command->get_name());
  }
}

void print_completion(const CLI::App& app) {
  fputs(
      "# bash completion for capictl\n"
      "_capictl() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} command=capictl words word\n"
      "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
      "    case $word in -*) ;; *) command+=\" $word\" ;; esac\n"
      "  done\n"
      "  while :; do\n"
      "    words=\n"
      "    case $command in\n",
      stdout);
  print_cases(app, "capictl");
  fputs(
      "    *) command=${command% *}; continue ;;\n"
      "    esac\n"
      "    break\n"
      "  done\n"
      "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
      "}\n"
      "complete -o default -F _capictl capictl\n",
      stdout);
}

}  // namespace

void add_pages(CLI::App& app) {
  CLI::App* pages = app.add_subcommand("page", "Print the manual page or the completion");
  pages->group("");
  pages->require_subcommand(1);
  pages->add_subcommand("man", "The manual page")->callback([&app] { print_manual(app); });
  pages->add_subcommand("labels", "The keys' names, for the completion")->callback([] {
    for (const Key& key : all_keys()) puts(key.label().c_str());
  });
  pages->add_subcommand("sections", "The sections' names, for the completion")->callback([] {
    for (const std::string& section : all_sections()) puts(section.c_str());
  });
  CLI::App* values =
      pages->add_subcommand("values", "The names of a key's values, for the completion");
  const auto label = std::make_shared<std::string>();
  values->add_option("KEY", *label)->required();
  values->callback([label] {
    const Key* key = find_label(*label);
    if (key == nullptr) return;
    for (const NamedValue& value : named_values(*key)) {
      puts(value.name.empty() ? std::to_string(value.number).c_str() : value.name.c_str());
    }
  });
  pages->add_subcommand("keys", "The reference of the keys")->callback(print_key_reference);
  pages->add_subcommand("bash", "The completion for bash")->callback([&app] {
    print_completion(app);
  });
}

}  // namespace capictl
