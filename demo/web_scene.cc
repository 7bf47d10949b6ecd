// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The page: a person looks at the adapter in a browser. With --web the page stays for a real one.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "scenes.h"

namespace demo {
namespace {

constexpr size_t kLinesShown = 24;

std::string new_password() {
  constexpr char kLetters[] = "abcdefghijkmnpqrstuvwxyz23456789";
  std::array<unsigned char, 12> random{};
  if (getrandom(random.data(), random.size(), 0) < 0) abort();
  std::string password;
  for (const unsigned char byte : random) password += kLetters[byte % 32];
  return password;
}

// capi-web, as long as this lives.
class Server {
 public:
  Server();
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  const std::string& password() const { return password_; }
  const std::string& address() const { return address_; }

  // The answer to a request that ends its connection.
  std::string ask(const std::string& request) const;

  // Waits until it ends by itself, or by a signal.
  void await_end() const { waitpid(process_, nullptr, 0); }

 private:
  std::string password_ = new_password();
  std::string address_;  // "http://127.0.0.1:40123/"
  pid_t process_ = -1;
};

void store_password(const std::string& password) {
  FILE* const tool = popen("capi-web password --stdin", "w");
  if (tool == nullptr) abort();
  fprintf(tool, "%s\n", password.c_str());
  if (pclose(tool) != 0) expect(false, "the password was refused");
}

// "Listening on http://..." is its first line.
std::string read_address(int output) {
  FILE* const lines = fdopen(output, "r");
  char line[256] = "";
  if (lines == nullptr || fgets(line, sizeof line, lines) == nullptr) return {};
  const char* const address = strstr(line, "http://");
  return address == nullptr ? "" : std::string(address, strcspn(address, " \n"));
}

Server::Server() {
  store_password(password_);
  int output[2];
  if (pipe(output) != 0) abort();
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(output[1], STDOUT_FILENO);
    close(output[0]);
    close(output[1]);
    execlp("capi-web", "capi-web", "--listen", "127.0.0.1:0", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(output[1]);
  address_ = read_address(output[0]);
}

Server::~Server() {
  kill(process_, SIGTERM);
  await_end();
}

std::string Server::ask(const std::string& request) const {
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  to.sin_port = htons(static_cast<uint16_t>(atoi(address_.c_str() + address_.rfind(':') + 1)));
  const int connection = socket(AF_INET, SOCK_STREAM, 0);
  std::string answer;
  if (connect(connection, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0 &&
      send(connection, request.data(), request.size(), MSG_NOSIGNAL) ==
          static_cast<ssize_t>(request.size())) {
    char part[4096];
    for (ssize_t got; (got = recv(connection, part, sizeof part, 0)) > 0;) {
      answer.append(part, static_cast<size_t>(got));
    }
  }
  close(connection);
  return answer;
}

std::string between(const std::string& text, const char* from, const char* to) {
  const size_t begin = text.find(from);
  if (begin == std::string::npos) return {};
  const size_t start = begin + strlen(from);
  return text.substr(start, text.find(to, start) - start);
}

// The page of somebody who logs in with a password; that of the login when it is wrong.
std::string log_in_and_look(const Server& server, const std::string& password) {
  const std::string form = "password=" + password;
  const std::string head = " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n";
  std::string answer =
      server.ask("POST /login" + head +
                 "Origin: http://127.0.0.1\r\nContent-Type: application/x-www-form-urlencoded\r\n"
                 "Content-Length: " +
                 std::to_string(form.size()) + "\r\n\r\n" + form);
  const std::string cookie = between(answer, "Set-Cookie: ", ";");
  if (cookie.empty()) return answer;
  return server.ask("GET /" + head + "Cookie: " + cookie + "\r\n\r\n");
}

bool ends_line(const std::string& tag) {
  constexpr std::string_view kEnds[] = {"/caption", "/tr", "/h1",  "/h2",
                                        "/p",       "/li", "/div", "/dd"};
  return std::ranges::find(kEnds, tag) != std::end(kEnds);
}

std::string decoded(std::string text) {
  constexpr const char* kNames[][2] = {
      {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}};
  for (const auto& [name, character] : kNames) {
    for (size_t at; (at = text.find(name)) != std::string::npos;) {
      text.replace(at, strlen(name), character);
    }
  }
  return text;
}

// Of blanks and line ends that follow each other the first stays, as a blank.
void add_text(std::string& line, std::string_view text) {
  for (const char c : text) {
    const bool is_blank = isspace(static_cast<unsigned char>(c)) != 0;
    if (!is_blank) line += c;
    if (is_blank && !line.empty() && line.back() != ' ') line += ' ';
  }
}

// What is written in a page's content, a line for each row and paragraph.
std::vector<std::string> lines_of(const std::string& page) {
  std::istringstream content(between(page, "<main", "</main>"));
  std::vector<std::string> lines(1);
  std::string text;
  std::string tag;
  std::getline(content, tag, '>');
  while (std::getline(content, text, '<') && std::getline(content, tag, '>')) {
    add_text(lines.back(), text + " ");
    if (ends_line(tag) && !lines.back().empty()) lines.emplace_back();
  }
  for (std::string& line : lines) line = decoded(line.substr(0, line.find_last_not_of(' ') + 1));
  // A heading may stand again as the caption of a table.
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

void look() {
  const Server server;
  expect(!server.address().empty(), "the adapter has a page, on this machine only");
  expect(log_in_and_look(server, "12345").find("The password is wrong.") != std::string::npos,
         "nobody sees it who does not know the password");
  const std::string page = log_in_and_look(server, server.password());
  size_t shown = 0;
  for (const std::string& line : lines_of(page)) {
    if (!line.empty() && shown++ < kLinesShown) printf("    | %s\n", line.c_str());
  }
  expect(
      page.find("QZX-200") != std::string::npos && page.find("Ground-floor") != std::string::npos,
      "it shows what the others have set, and goes on showing it as it changes");
}

}  // namespace

void play_page(Stage& stage) {
  title("A person looks at the adapter in a browser");
  stage.run_process("browser", look);
}

void serve_page() {
  const Server server;
  title("The adapter is yours");
  say("Its page:  %s", server.address().c_str());
  say("Password:  %s", server.password().c_str());
  say("Nothing there reaches your machine. Enter or Ctrl-C ends the adapter.");
  fflush(stdout);
  if (getchar() == EOF) server.await_end();
}

}  // namespace demo
