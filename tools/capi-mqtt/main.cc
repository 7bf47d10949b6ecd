// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capi-mqtt: the adapter on an MQTT broker.
#include <change.h>
#include <malloc.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>

#include "bridge.h"

namespace {

using tools::Failure;
using tools::mqtt::Options;

constexpr char kFooter[] =
    "The same names stand in the file, a line \"NAME = VALUE\" each; what is given here counts "
    "more. "
    "The file is read when it is there.\n\nExample:\n  capi-mqtt --host broker.example.net "
    "--cafile "
    "/etc/capi/broker-ca.pem --cert /etc/capi/adapter.pem --key /etc/capi/adapter.key";

// What the command line says, apart from what it means: it comes after the file.
struct Line {
  std::string file = tools::mqtt::kOptionsFile;
  std::map<std::string, std::string> values;
};

Line read_line(int argc, char** argv) {
  Line line;
  CLI::App app("Connect the adapter to an MQTT broker", "capi-mqtt");
  app.footer(kFooter);
  app.set_version_flag("--version", CAPI_VERSION, "Print the version and end");
  CLI::Option* file =
      app.add_option("--config", line.file, "Read options from this file")->option_text("FILE");
  for (const auto& row : tools::mqtt::all_options()) {
    app.add_option("--" + std::string(row.name), line.values[row.name], row.help)
        ->option_text(row.value);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error);
    exit(code == 0 ? 0 : tools::kUsage);
  }
  if (file->count() == 0 && access(line.file.c_str(), F_OK) != 0) line.file.clear();
  return line;
}

Options options_of(const Line& line) {
  Options options;
  if (!line.file.empty()) {
    tools::mqtt::read_options(line.file, tools::read_file(line.file), options);
  }
  for (const auto& row : tools::mqtt::all_options()) {
    const std::string& value = line.values.at(row.name);
    if (value.empty()) continue;
    try {
      row.take(value, options);
    } catch (const Failure& failure) {
      throw Failure("--" + std::string(row.name) + ": " + failure.what(), failure.why());
    }
  }
  tools::mqtt::refuse_inconsistent(options);
  return options;
}

// The name that the device has by itself.
std::string id_of_device() {
  char text[128] = {};
  std::string id;
  if (capi_get_hardware_info(CAPI_HW_SERIAL, text, sizeof text) == 0) id = text;
  if (id.empty() && capi_get_device_imei(text, sizeof text) == 0) id = text;
  if (tools::mqtt::is_adapter_id(id)) return id;
  throw Failure(
      "this device has no serial number or IMEI that can be a name in topics: give it one, as id "
      "in " +
          std::string(tools::mqtt::kOptionsFile) + " or --id",
      {tools::kUsage});
}

void run(int argc, char** argv) {
  const Options options = options_of(read_line(argc, argv));
  if (const auto outcome = tools::go_back_if_left()) {
    fprintf(stderr, "capi-mqtt: the change %s was left behind, and went back\n",
            outcome->id.c_str());
  }
  const tools::Attachment adapter(tools::ignore_log);
  const tools::mqtt::Library library;
  tools::mqtt::Bridge bridge(options, options.id.empty() ? id_of_device() : options.id);
  malloc_trim(0);
  bridge.run();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    run(argc, argv);
    return tools::kDone;
  } catch (const Failure& failure) {
    fprintf(stderr, "capi-mqtt: %s\n", tools::printable(failure.what()).c_str());
    return failure.why().code;
  } catch (const std::exception& error) {
    fprintf(stderr, "capi-mqtt: %s\n", error.what());
    return tools::kFailed;
  }
}
