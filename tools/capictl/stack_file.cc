// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl stack-file.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <sstream>

#include "commands.h"
#include "table.h"

namespace capictl {
namespace {

struct StackFile {
  const char* type;
  const char* path;
};

// In the order of the types' numbers.
constexpr StackFile kFiles[] = {
    {"volte", "/tmp/vosip.conf.volte"},   {"voip", "/tmp/vosip.conf.voip"},
    {"vowifi", "/tmp/vosip.conf.vowifi"}, {"cs", "/tmp/vosip.conf.cs"},
    {"qvc", "/tmp/vosip.conf.qvc"},       {"sos", "/tmp/vosip.conf.sos"},
    {"generic", "/tmp/vosip.conf"},
};

struct Args {
  std::string type;
  bool print = false;
  bool diff = false;
};

unsigned number_of(const std::string& type) {
  for (unsigned i = 0; i < std::size(kFiles); ++i) {
    if (type == kFiles[i].type) return i;
  }
  throw Failure("there is no type " + type);
}

// The lines of a file, those of a section under its name.
std::vector<std::string> qualified_lines(const std::string& content) {
  std::vector<std::string> lines;
  std::istringstream in(content);
  std::string section;
  int times = 0;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with('[')) {
      section = line;
      ++times;
    } else if (!line.empty()) {
      lines.push_back(std::to_string(times) + section + " " + line);
    }
  }
  return lines;
}

bool holds(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// Without the number that keeps sections of one name apart.
std::string shown(const std::string& line) { return line.substr(line.find('[')); }

bool print_difference(const std::string& before, const std::string& after) {
  const std::vector<std::string> old_lines = qualified_lines(before);
  const std::vector<std::string> new_lines = qualified_lines(after);
  bool differs = false;
  for (const std::string& line : old_lines) {
    if (holds(new_lines, line)) continue;
    printf("- %s\n", printable(shown(line)).c_str());
    differs = true;
  }
  for (const std::string& line : new_lines) {
    if (holds(old_lines, line)) continue;
    printf("+ %s\n", printable(shown(line)).c_str());
    differs = true;
  }
  return differs;
}

void write(Context& context, const Args& args) {
  const Attachment adapter(context);
  const unsigned number = number_of(args.type);
  const std::string path = kFiles[number].path;
  std::string before;
  read_file(path, before);
  if (capi_make_config_file(number) != 0) throw Failure(path + " cannot be written");
  const std::string after = read_file(path);
  if (args.print) fputs(after.c_str(), stdout);
  if (args.diff && print_difference(before, after)) context.exit_code = kFinding;
  if (!args.print && !args.diff) puts(path.c_str());
}

}  // namespace

void add_stack_file(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("stack-file", "Write the configuration of a voice stack");
  const auto args = std::make_shared<Args>();
  std::vector<std::string> types;
  for (const StackFile& file : kFiles) types.emplace_back(file.type);
  command->add_option("TYPE", args->type, "Which stack")->required()->check(CLI::IsMember(types));
  command->add_flag("--print", args->print, "Print the file as well");
  command->add_flag("--diff", args->diff,
                    "Print the lines that changed; exit code 1 when some did");
  command->footer("Example:\n  capictl stack-file voip --diff");
  command->callback([args, &context] { write(context, *args); });
}

}  // namespace capictl
