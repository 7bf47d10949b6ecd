// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl schema.
#include <cjson/cJSON.h>

#include <memory>

#include "commands.h"
#include "print.h"

namespace tools::capictl {
namespace {

struct Args {
  std::string file;
  std::string section;
  std::string param;
  std::string value;
};

struct Closer {
  void operator()(cJSON* root) const { vkrJson_Uninit(root); }
};

[[noreturn]] void throw_missing(const Args& args) {
  throw Failure("there is no " + args.section + (args.param.empty() ? "" : " " + args.param) +
                    " in " + args.file,
                {kNotFound});
}

std::string or_empty(const char* text) { return text != nullptr ? text : ""; }

// The limits of a parameter: "5..60", "up to 15 characters".
std::string limits(const cJSON* param) {
  int low = 0;
  int high = 0;
  if (vkrJson_GetParamMinValue(param, &low) == 0 && vkrJson_GetParamMaxValue(param, &high) == 0) {
    return std::to_string(low) + ".." + std::to_string(high);
  }
  if (vkrJson_GetParamMaxStrlen(param, &high) == 0) {
    return "up to " + std::to_string(high) + " characters";
  }
  return or_empty(vkrJson_GetParamAllowedList(param));
}

void add_row(Table& table, const cJSON* section, const cJSON* param) {
  int type = 0;
  int changed = 0;
  const char* type_name = vkrJson_GetParamTypeNumber(param, &type);
  vkrJson_GetParamIsChanged(param, &changed);
  table.add({or_empty(vkrJson_GetSectionName(section)), or_empty(vkrJson_GetParamName(param)),
             or_empty(type_name), or_empty(vkrJson_GetParamCurrentValue(param)),
             or_empty(vkrJson_GetParamDefaultValue(param)), std::to_string(changed),
             limits(param)});
}

void add_section(Table& table, const Args& args, const cJSON* section) {
  const cJSON* param = nullptr;
  cJSON_ArrayForEach(param, section) {
    if (args.param.empty() || args.param == or_empty(param->string)) add_row(table, section, param);
  }
}

void show(const Context& context, const Args& args, const cJSON* root) {
  Table table("parameters", {{"section"},
                             {"parameter"},
                             {"type"},
                             {"value"},
                             {"default"},
                             {"changed", Type::Flag},
                             {"limits"}});
  const cJSON* section = nullptr;
  cJSON_ArrayForEach(section, root) {
    if (args.section.empty() || args.section == or_empty(section->string))
      add_section(table, args, section);
  }
  if (table.rows().empty() && !args.section.empty()) throw_missing(args);
  print(table, context);
}

void change(const Args& args, cJSON* root) {
  cJSON* section = vkrJson_GetSectionObject(root, args.section.c_str());
  cJSON* param = section != nullptr ? vkrJson_GetParamObject(section, args.param.c_str()) : nullptr;
  if (param == nullptr) {
    throw_missing(args);
  }
  const int result = vkrJson_SetParamValue(param, args.value.c_str());
  if (result < 0) throw Failure("the parameter has no value that could be set");
  if (result == 0 && vkrJson_SaveToFile(root, args.file.c_str()) != 0) {
    throw Failure(args.file + " cannot be written");
  }
}

void run(const Context& context, const Args& args, bool is_change) {
  capiv2_log_init(context.log_sink());
  read_file(args.file);  // tells in our words what the library prints on standard output
  const std::unique_ptr<cJSON, Closer> root(vkrJson_Init(args.file.c_str()));
  if (!root) throw Failure(args.file + " is not JSON");
  if (is_change) {
    change(args, root.get());
  } else {
    show(context, args, root.get());
  }
}

}  // namespace

void add_schema(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("schema", "Show and change a parameter schema document");
  const auto args = std::make_shared<Args>();
  command->add_option("FILE", args->file, "The JSON document")->required();
  command->add_option("SECTION", args->section, "Only this section");
  command->add_option("PARAM", args->param, "Only this parameter");
  const CLI::Option* value =
      command->add_option("VALUE", args->value, "Give it this value and write the file");
  command->footer(
      "The value is not checked against type and limits. Needs no adapter.\n\n"
      "Examples:\n  capictl schema params.json\n"
      "  capictl schema params.json sip expires 3600");
  command->callback([args, value, &context] { run(context, *args, value->count() > 0); });
}

}  // namespace tools::capictl
