// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl page: the manual page and the completion, made from the command line's own description.
#include <cstdio>
#include <cstring>
#include <memory>

#include "commands.h"
#include "completion.h"
#include "help.h"
#include "key_pages.h"
#include "text.h"
#include "value.h"

namespace tools::capictl {
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

// One command's name a line, as a person types it.
void print_commands(const CLI::App& app) {
  for (const CLI::App* command : subcommands(app)) {
    puts(full_name(*command).substr(strlen("capictl ")).c_str());
    print_commands(*command);
  }
}

constexpr char kBash[] =
    "# bash completion for capictl\n"
    "_capictl() {\n"
    "  local words=(\"${COMP_WORDS[@]:1:COMP_CWORD}\")\n"
    "  mapfile -t COMPREPLY < <(capictl page complete -- \"${words[@]}\" 2>/dev/null)\n"
    "}\n"
    "complete -o default -F _capictl capictl\n";

constexpr char kZsh[] =
    "#compdef capictl\n"
    "_capictl() {\n"
    "  local -a found\n"
    "  found=(${(f)\"$(capictl page complete -- \"${(@)words[2,CURRENT]}\" 2>/dev/null)\"})\n"
    "  if (( $#found )); then\n"
    "    compadd -- $found\n"
    "  else\n"
    "    _files\n"
    "  fi\n"
    "}\n"
    "if [ \"$funcstack[1]\" = _capictl ]; then\n"
    "  _capictl \"$@\"\n"
    "else\n"
    "  compdef _capictl capictl\n"
    "fi\n";

constexpr char kFish[] =
    "# fish completion for capictl\n"
    "function __capictl_complete\n"
    "  set -l words (commandline --cut-at-cursor --tokenize --current-process)\n"
    "  set -l current (commandline --cut-at-cursor --current-token)\n"
    "  set -l found (capictl page complete -- $words[2..-1] \"$current\" 2>/dev/null)\n"
    "  if test (count $found) -gt 0\n"
    "    printf '%s\\n' $found\n"
    "  else\n"
    "    __fish_complete_path \"$current\"\n"
    "  end\n"
    "end\n"
    "complete --command capictl --no-files --arguments '(__capictl_complete)'\n";

}  // namespace

void add_pages(CLI::App& app, Context& context) {
  CLI::App* pages = app.add_subcommand("page", "Print the manual page or a completion");
  pages->group("");
  pages->require_subcommand(1);
  pages->add_subcommand("man", "The manual page")->callback([&app] { print_manual(app); });
  pages->add_subcommand("commands", "The commands' names")->callback([&app] {
    print_commands(app);
  });
  pages->add_subcommand("keys", "The reference of the keys")->callback(print_key_reference);
  for (const auto& [shell, text] :
       {std::pair{"bash", kBash}, std::pair{"zsh", kZsh}, std::pair{"fish", kFish}}) {
    pages->add_subcommand(shell, std::string("The completion for ") + shell)
        ->callback([text = text] { fputs(text, stdout); });
  }
  CLI::App* command = pages->add_subcommand("complete", "What may stand for the last word");
  const auto words = std::make_shared<std::vector<std::string>>();
  command->add_option("WORD", *words, "The words behind capictl, behind --");
  command->callback([&app, &context, words] {
    for (const std::string& word : completions(app, context, *words)) puts(word.c_str());
  });
}

}  // namespace tools::capictl
