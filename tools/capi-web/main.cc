// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capi-web: the adapter in a browser.
#include <adapter.h>
#include <change.h>
#include <fcntl.h>
#include <malloc.h>
#include <termios.h>
#include <text.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>

#include "app.h"
#include "log_ring.h"
#include "options.h"
#include "password.h"
#include "server.h"

namespace tools::web {
namespace {

// Of this file the service takes a copy.
constexpr char kPasswordDirectory[] = "/etc/capi";
constexpr char kPasswordFile[] = "web.password";

// systemd hands files to a service, and directories, by such names.
std::string path_of(const char* variable, const std::string& otherwise, const std::string& name) {
  const char* const directory = getenv(variable);
  return std::string(directory == nullptr ? otherwise : directory) + "/" + name;
}

Listen place_of(const std::string& text) {
  const size_t colon = text.rfind(':');
  Listen place{.address = text.substr(0, colon)};
  const char* const end = text.data() + text.size();
  const char* const digits = text.data() + std::min(colon, text.size() - 1) + 1;
  const auto port = std::from_chars(digits, end, place.port);
  if (colon == std::string::npos || port.ec != std::errc() || port.ptr != end) {
    throw Failure("--listen: \"" + text + "\" is not ADDRESS:PORT, as 127.0.0.1:8080", {kUsage});
  }
  if (place.address.starts_with('[') && place.address.ends_with(']')) {
    place.address = place.address.substr(1, place.address.size() - 2);
  }
  return place;
}

int ms_of(double seconds) { return static_cast<int>(seconds * 1000); }

// Before we are attached, as going back is.
void take_back_what_was_left() {
  if (const auto outcome = go_back_if_left()) {
    fprintf(stderr, "capi-web: the change %s was not confirmed and has gone back\n",
            outcome->id.c_str());
  }
}

void serve(const Options& options) {
  read_password_file(options.password_file);
  take_back_what_was_left();
  App app{.password_file = options.password_file,
          .hosts = options.hosts,
          .sessions = Sessions(ms_of(options.session_minutes * 60)),
          .tokens = ApiTokens(options.token_file),
          .confirm_seconds = static_cast<int>(options.confirm_seconds),
          .link = Link(options.verbose ? keep_and_print_log : keep_log)};
  for (std::string& name : app.hosts) name = lower(name);
  std::vector<Listen> places;
  for (const std::string& text : options.listen) places.push_back(place_of(text));
  Server server(app, places,
                {.connections = static_cast<size_t>(options.connections),
                 .timeout_ms = ms_of(options.timeout_seconds),
                 .comment_ms = ms_of(options.comment_seconds)});
  for (const std::string& address : server.addresses())
    printf("Listening on %s/\n", address.c_str());
  if (fflush(stdout) != 0) throw Failure("standard output cannot be written");
  server.run();
}

// Does not show what is typed, where a terminal is.
class Silence {
 public:
  Silence() : is_terminal_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    if (is_terminal_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
  }
  ~Silence() {
    if (is_terminal_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  bool is_terminal() const { return is_terminal_; }

 private:
  termios before_{};
  bool is_terminal_;
};

std::string read_line() {
  std::string line;
  for (int c = getchar(); c != EOF && c != '\n'; c = getchar()) line += static_cast<char>(c);
  return line;
}

std::string ask(const char* question) {
  fputs(question, stderr);
  std::string line = read_line();
  fputc('\n', stderr);
  return line;
}

std::string ask_twice() {
  const Silence silence;
  if (!silence.is_terminal()) {
    throw Failure("this is no terminal; --stdin takes the password from a pipe", {kUsage});
  }
  std::string password = ask("New password: ");
  if (ask("The same again: ") != password) {
    throw Failure("the two are not the same; nothing was changed", {kRefused});
  }
  return password;
}

void set_password(const Options& options) {
  const std::string password = options.from_stdin ? read_line() : ask_twice();
  if (password.size() < kMinPassword || password.size() > kMaxPassword) {
    throw Failure("a password has " + std::to_string(kMinPassword) + " to " +
                      std::to_string(kMaxPassword) + " characters; nothing was changed",
                  {kRefused});
  }
  write_password_file(options.password_file, hash_of_password(password));
  if (options.password_file != std::string(kPasswordDirectory) + "/" + kPasswordFile) return;
  fputs("A service of systemd takes it when it starts: systemctl restart capi-web\n", stderr);
}

int run(int argc, char** argv) {
  mallopt(M_TOP_PAD, 4096);  // of what a page took nothing more is kept
  Options options{
      .password_file = path_of("CREDENTIALS_DIRECTORY", kPasswordDirectory, kPasswordFile),
      .token_file = path_of("STATE_DIRECTORY", "/var/lib/capi-web", "tokens")};
  read_options(argc, argv, options) == Task::Serve ? serve(options) : set_password(options);
  return kDone;
}

// One that was closed would lend its number to a connection.
void occupy_standard_streams() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (fd > STDERR_FILENO) close(fd);
}

}  // namespace
}  // namespace tools::web

int main(int argc, char** argv) {
  tools::web::occupy_standard_streams();
  try {
    return tools::web::run(argc, argv);
  } catch (const tools::Failure& failure) {
    fprintf(stderr, "capi-web: %s\n", failure.what());
    return failure.why().code;
  } catch (const std::exception& error) {
    fprintf(stderr, "capi-web: %s\n", error.what());
    return tools::kFailed;
  }
}
