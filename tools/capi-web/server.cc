// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "server.h"

#include <arpa/inet.h>
#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>
#include <event2/http.h>
#include <event2/listener.h>
#include <malloc.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <list>
#include <stdexcept>

#include "change_files.h"
#include "front.h"

namespace tools::web {
namespace {

struct Deleter {
  void operator()(event_base* base) const { event_base_free(base); }
  void operator()(event* one) const { event_free(one); }
  void operator()(evhttp* http) const { evhttp_free(http); }
  void operator()(evbuffer* buffer) const { evbuffer_free(buffer); }
};
template <typename T>
using Owned = std::unique_ptr<T, Deleter>;

template <typename T>
Owned<T> own(T* made) {
  if (made == nullptr) throw std::runtime_error("there is no memory");
  return Owned<T>(made);
}

timeval time_of(int ms) { return {.tv_sec = ms / 1000, .tv_usec = suseconds_t{ms % 1000} * 1000}; }

// In place of what is refused: the library calls us for it as for any request, so that there is one
// way in which answers are made.
constexpr std::string_view kStandIn = "GET / HTTP/1.0\r\n\r\n";

// Requests of one connection that wait for their turn.
constexpr size_t kMaxWaiting = 16;

constexpr int kYear = 365 * 24 * 3600;

// Between two looks for an adapter, while there is none and somebody looks on.
constexpr int kLookMs = 1000;

constexpr int kSendBuffer = 4096;

constexpr char kComment[] = ":\n\n";

constexpr int kAllMethods = EVHTTP_REQ_GET | EVHTTP_REQ_POST | EVHTTP_REQ_HEAD | EVHTTP_REQ_PUT |
                            EVHTTP_REQ_DELETE | EVHTTP_REQ_OPTIONS | EVHTTP_REQ_TRACE |
                            EVHTTP_REQ_CONNECT | EVHTTP_REQ_PATCH;

std::string address_of(evhttp_connection* connection) {
  char* address = nullptr;
  ev_uint16_t port = 0;
  evhttp_connection_get_peer(connection, &address, &port);
  return address == nullptr ? "" : address;
}

void add_headers(evhttp_request* request, const Response& response) {
  evkeyvalq* const headers = evhttp_request_get_output_headers(request);
  for (const auto& [name, value] : response.headers) {
    evhttp_add_header(headers, name.c_str(), value.c_str());
  }
}

void add_copy(evbuffer* buffer, std::string_view content) {
  evbuffer_add(buffer, content.data(), content.size());
}

void add_lasting(evbuffer* buffer, std::string_view content) {
  evbuffer_add_reference(buffer, content.data(), content.size(), nullptr, nullptr);
}

std::string_view content_of(const Response& response) {
  return response.fixed.empty() ? std::string_view(response.body) : response.fixed;
}

void add_length(evhttp_request* request, const Response& response) {
  evhttp_add_header(evhttp_request_get_output_headers(request), "Content-Length",
                    std::to_string(content_of(response).size()).c_str());
}

void close_after(evhttp_request* request) {
  evhttp_add_header(evhttp_request_get_output_headers(request), "Connection", "close");
}

// The length is told here, for a HEAD as well.
void send(evhttp_request* request, const Response& response) {
  const auto buffer = own(evbuffer_new());
  if (evhttp_request_get_command(request) != EVHTTP_REQ_HEAD) {
    const auto add = response.fixed.empty() ? add_copy : add_lasting;
    add(buffer.get(), content_of(response));
  }
  add_headers(request, response);
  if (response.status != 204 && response.status != 304) add_length(request, response);
  evhttp_send_reply(request, response.status, reason_of(response.status).data(), buffer.get());
  malloc_trim(0);  // pages are made of many pieces, and asked for rarely
}

}  // namespace

class Server::Loop {
 public:
  Loop(App& app, const std::vector<Listen>& places, const Limits& limits);
  ~Loop();

  void run() { event_base_dispatch(base_.get()); }
  std::vector<std::string> addresses() const;

 private:
  // What we know of a connection besides what the library does. We see its bytes before the library
  // does, and hand on whole requests only that have passed the gate.
  struct Connection {
    Loop* loop;
    bufferevent* socket;
    evhttp_connection* http = nullptr;
    Gate gate = {};
    int64_t since_ms = 0;  // when the request has begun that is not whole, or was refused
    bool is_handing_on = false;
    bool is_known = false;                // the last request had a login or an API token
    evhttp_request* streaming = nullptr;  // the request whose answer has no end yet
    Stream* stream = nullptr;
    bool is_sending = false;  // what the stream was told is not all on its way
    bool has_waited = false;  // nor has it been for a while
  };

  // What the library calls.
  static bufferevent* make_socket(event_base* base, void* loop);
  static void on_input(evbuffer* input, const evbuffer_cb_info* info, void* connection);
  static void on_request(evhttp_request* request, void* loop);
  static void on_close(evhttp_connection* http, void* connection);
  static void on_sent(evhttp_connection* http, void* connection);
  static void on_refused(evhttp_connection* http, void* connection);
  static void on_accept_error(evconnlistener* listener, void* http);

  template <void (Loop::*Method)()>
  static void call(evutil_socket_t, short, void* loop) {
    (static_cast<Loop*>(loop)->*Method)();
  }

  void listen(const Listen& place);
  void set_accepting(bool accepts);
  void accept_again();
  void end();

  void adopt_new();
  static void adopt(Connection& connection);
  bool is_crowded() const { return connections_.size() >= limits_.connections * 3 / 4; }
  bool cut_one_of_many();
  void forget(const Connection* connection);

  void take(Connection& connection, evbuffer* input, size_t added) const;
  void drain(const Connection& connection) const;
  void answer(evhttp_request* request, Connection& connection);
  static void refuse_for_good(evhttp_request* request, Connection& connection);

  void look_for_adapter();
  void on_change();
  void on_change_files();
  void set_timers();
  void begin_stream(Connection& connection, evhttp_request* request, const Response& response);
  void send_news();
  void send_news(Connection& connection);
  void send_comments();
  bool cut_if_over(const Connection& connection);
  void send_comment(Connection& connection);
  static void send_part(Connection& connection, const std::string& text);

  static Loop* the_one;  // of this process

  App& app_;
  Limits limits_;
  Owned<event_base> base_;
  std::list<Connection> connections_;
  ChangeFiles change_files_;
  Owned<event> adopting_, pause_, comments_, looks_, change_, files_, on_term_, on_int_;
  std::vector<evhttp_bound_socket*> places_;
  Owned<evhttp> http_;  // ends before what its connections call
};

Server::Loop* Server::Loop::the_one = nullptr;

Server::Loop::Loop(App& app, const std::vector<Listen>& places, const Limits& limits)
    : app_(app),
      limits_(limits),
      base_(own(event_base_new())),
      adopting_(own(event_new(base_.get(), -1, 0, call<&Loop::adopt_new>, this))),
      pause_(own(event_new(base_.get(), -1, 0, call<&Loop::accept_again>, this))),
      comments_(own(event_new(base_.get(), -1, EV_PERSIST, call<&Loop::send_comments>, this))),
      looks_(own(event_new(base_.get(), -1, EV_PERSIST, call<&Loop::look_for_adapter>, this))),
      files_(own(event_new(base_.get(), change_files_.fd(), EV_READ | EV_PERSIST,
                           call<&Loop::on_change_files>, this))),
      on_term_(own(evsignal_new(base_.get(), SIGTERM, call<&Loop::end>, this))),
      on_int_(own(evsignal_new(base_.get(), SIGINT, call<&Loop::end>, this))),
      http_(own(evhttp_new(base_.get()))) {
  the_one = this;
  signal(SIGPIPE, SIG_IGN);
  if (change_files_.fd() != -1) event_add(files_.get(), nullptr);
  event_add(on_term_.get(), nullptr);
  event_add(on_int_.get(), nullptr);
  const timeval timeout = time_of(limits.timeout_ms);
  evhttp_set_timeout_tv(http_.get(), &timeout);
  evhttp_set_max_headers_size(http_.get(), 2 * kMaxHead);
  evhttp_set_max_body_size(http_.get(), kMaxBody);
  evhttp_set_allowed_methods(http_.get(), kAllMethods);
  evhttp_set_bevcb(http_.get(), make_socket, this);
  evhttp_set_gencb(http_.get(), on_request, this);
  for (const Listen& place : places) listen(place);
  app_.events.on_news = [this] { send_news(); };
  look_for_adapter();
}

Server::Loop::~Loop() {
  app_.events.on_news = [] {};
  places_.clear();  // the library ends these before the connections
}

void Server::Loop::end() { event_base_loopbreak(base_.get()); }

// --- listening ---

void Server::Loop::listen(const Listen& place) {
  evhttp_bound_socket* const bound =
      evhttp_bind_socket_with_handle(http_.get(), place.address.c_str(), place.port);
  if (bound == nullptr) {
    throw std::runtime_error("cannot listen on " + place.address + ":" +
                             std::to_string(place.port) + ": " + strerror(errno));
  }
  evconnlistener_set_error_cb(evhttp_bound_socket_get_listener(bound), on_accept_error);
  places_.push_back(bound);
}

std::vector<std::string> Server::Loop::addresses() const {
  std::vector<std::string> texts;
  for (evhttp_bound_socket* const place : places_) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    std::array<char, 64> host;
    std::array<char, 8> port;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    getsockname(evhttp_bound_socket_get_fd(place), generic, &size);
    getnameinfo(generic, size, host.data(), host.size(), port.data(), port.size(),
                NI_NUMERICHOST | NI_NUMERICSERV);
    const bool is_long = address.ss_family == AF_INET6;
    texts.push_back(std::string("http://") + (is_long ? "[" : "") + host.data() +
                    (is_long ? "]:" : ":") + port.data());
  }
  return texts;
}

void Server::Loop::set_accepting(bool accepts) {
  for (evhttp_bound_socket* const place : places_) {
    evconnlistener* const listener = evhttp_bound_socket_get_listener(place);
    accepts ? evconnlistener_enable(listener) : evconnlistener_disable(listener);
  }
}

void Server::Loop::accept_again() {
  if (connections_.size() < limits_.connections) set_accepting(true);
}

// No descriptor is left, and who waits would be told of again and again. A listener's pointer is
// the library's, so that the loop has to be known otherwise.
void Server::Loop::on_accept_error(evconnlistener*, void*) {
  constexpr timeval kPause = {.tv_sec = 0, .tv_usec = 100'000};
  the_one->set_accepting(false);
  event_add(the_one->pause_.get(), &kPause);
}

// --- connections ---

bufferevent* Server::Loop::make_socket(event_base* base, void* loop) {
  auto& self = *static_cast<Loop*>(loop);
  bufferevent* const socket = bufferevent_socket_new(base, -1, BEV_OPT_CLOSE_ON_FREE);
  if (socket == nullptr) return nullptr;
  self.connections_.push_back({.loop = &self, .socket = socket});
  evbuffer_add_cb(bufferevent_get_input(socket), on_input, &self.connections_.back());
  bufferevent_incref(socket);  // until it is adopted
  event_active(self.adopting_.get(), EV_TIMEOUT, 0);
  if (self.connections_.size() >= self.limits_.connections) self.set_accepting(false);
  return socket;
}

void Server::Loop::adopt_new() {
  for (auto next = connections_.begin(); next != connections_.end();) adopt(*next++);
  while (!connections_.empty() && is_crowded() && cut_one_of_many()) {
  }
}

// Strangers of one address are not to take all places: of those who share the address of the one
// that came last the oldest goes. False where they are no more than half of all.
bool Server::Loop::cut_one_of_many() {
  const std::string address = address_of(connections_.back().http);
  const auto is_like_it = [&](const Connection& one) {
    return one.http != nullptr && !one.is_known && address_of(one.http) == address;
  };
  const auto count = std::ranges::count_if(connections_, is_like_it);
  if (static_cast<size_t>(count) <= limits_.connections / 2) return false;
  evhttp_connection_free(std::ranges::find_if(connections_, is_like_it)->http);
  return true;
}

// Which of the library's connections a socket belongs to stands nowhere but in what the socket
// calls, and only a connection tells of its end.
void Server::Loop::adopt(Connection& connection) {
  if (connection.http != nullptr) return;
  void* http = nullptr;
  bufferevent_data_cb read = nullptr;
  bufferevent_getcb(connection.socket, &read, nullptr, nullptr, &http);
  bufferevent* const socket = connection.socket;
  if (read == nullptr) {
    connection.loop->forget(&connection);  // it has ended already
  } else {
    connection.http = static_cast<evhttp_connection*>(http);
    evhttp_connection_set_closecb(connection.http, on_close, &connection);
  }
  bufferevent_decref(socket);
}

void Server::Loop::on_close(evhttp_connection*, void* connection) {
  auto& self = *static_cast<Connection*>(connection);
  if (self.stream != nullptr) self.loop->app_.events.close(self.stream);
  // One that the other side has ended leaves the request to us.
  const bool is_ours =
      self.streaming != nullptr && evhttp_request_get_connection(self.streaming) == nullptr;
  if (is_ours) evhttp_request_free(self.streaming);
  self.loop->forget(&self);
}

void Server::Loop::forget(const Connection* connection) {
  evbuffer_remove_cb(bufferevent_get_input(connection->socket), on_input,
                     const_cast<Connection*>(connection));
  std::erase_if(connections_, [&](const Connection& one) { return &one == connection; });
  set_timers();
  if (!event_pending(pause_.get(), EV_TIMEOUT, nullptr)) accept_again();
}

void Server::Loop::on_input(evbuffer* input, const evbuffer_cb_info* info, void* connection) {
  auto& self = *static_cast<Connection*>(connection);
  if (info->n_added == 0 || self.is_handing_on) return;
  self.is_handing_on = true;
  self.loop->take(self, input, info->n_added);
  self.is_handing_on = false;
}

// Nobody listens any more. What was refused may come to its end, so that its sender reads why, but
// not for ever.
void Server::Loop::drain(const Connection& connection) const {
  if (connection.gate.refusal() == 0) return;
  const bool is_late = now_ms() - connection.since_ms > limits_.timeout_ms;
  if (is_late) shutdown(bufferevent_getfd(connection.socket), SHUT_RDWR);
}

// In front of what has arrived stand requests that the library has not come to.
void Server::Loop::take(Connection& connection, evbuffer* input, size_t added) const {
  std::string bytes(evbuffer_get_length(input), '\0');
  evbuffer_remove(input, bytes.data(), bytes.size());
  Gate& gate = connection.gate;
  if (connection.streaming != nullptr || gate.refusal() != 0) return drain(connection);
  if (!gate.is_waiting()) connection.since_ms = now_ms();
  const size_t before = bytes.size() - added;
  bytes.replace(before, added, gate.take(std::string_view(bytes).substr(before)));
  if (gate.is_waiting() && now_ms() - connection.since_ms > limits_.timeout_ms) gate.refuse(408);
  if (gate.messages().size() > kMaxWaiting) gate.refuse(400);
  if (gate.refusal() != 0) {
    bytes = kStandIn;
    connection.since_ms = now_ms();  // the time to read why
  }
  evbuffer_add(input, bytes.data(), bytes.size());
}

// --- requests ---

void Server::Loop::on_request(evhttp_request* request, void* loop) {
  auto& self = *static_cast<Loop*>(loop);
  bufferevent* const socket =
      evhttp_connection_get_bufferevent(evhttp_request_get_connection(request));
  const auto connection = std::ranges::find(self.connections_, socket, &Connection::socket);
  if (connection != self.connections_.end()) self.answer(request, *connection);
}

void Server::Loop::answer(evhttp_request* request, Connection& connection) {
  adopt(connection);
  Gate& gate = connection.gate;
  if (gate.refusal() != 0 || gate.messages().empty()) return refuse_for_good(request, connection);
  const Message message = std::move(gate.messages().front());
  gate.messages().pop_front();
  look_for_adapter();
  on_change();  // what changed before the request is seen by it
  const Response response = serve(message, address_of(connection.http), app_);
  send_news();  // or the end, to streams of a login that the request has ended
  connection.is_known = response.is_known;
  if (response.is_stream) return begin_stream(connection, request, response);
  if (!connection.is_known && is_crowded()) close_after(request);  // others wait for the place
  send(request, response);
}

// A connection that is closed with something in it unread is reset, and the answer lost. So it ends
// when the other side has read the answer and closes it, or with the usual time.
void Server::Loop::refuse_for_good(evhttp_request* request, Connection& connection) {
  const Gate& gate = connection.gate;
  const Response response =
      refuse(gate.refusal() != 0 ? gate.refusal() : 400, gate.is_refused_for_api());
  connection.streaming = request;
  add_headers(request, response);
  add_length(request, response);
  close_after(request);
  evhttp_send_reply_start(request, response.status, reason_of(response.status).data());
  const auto buffer = own(evbuffer_new());
  add_copy(buffer.get(), response.body);
  evhttp_send_reply_chunk_with_cb(request, buffer.get(), on_refused, &connection);
}

void Server::Loop::on_refused(evhttp_connection*, void* connection) {
  bufferevent* const socket = static_cast<Connection*>(connection)->socket;
  if (evbuffer_get_length(bufferevent_get_output(socket)) > 0) return;
  shutdown(bufferevent_getfd(socket), SHUT_WR);
}

// --- the adapter ---

// There is nothing to be watched where there is no adapter.
void Server::Loop::look_for_adapter() {
  if (app_.link.is_gone()) {
    change_.reset();
    app_.link.detach();
    app_.reader = Reader();
    app_.events.tell(kTopicAdapter);
    set_timers();
  }
  const bool is_attached_now = app_.link.attach();
  const bool is_watched_now = app_.link.watch();
  if (!is_attached_now && !is_watched_now) return;
  if (is_watched_now) {
    change_ = own(
        event_new(base_.get(), app_.link.fd(), EV_READ | EV_PERSIST, call<&Loop::on_change>, this));
    event_add(change_.get(), nullptr);
  }
  set_timers();
  app_.reader.forget(CAPI_TOPIC_ALL);
  app_.events.tell(kTopicAll);
}

void Server::Loop::on_change() {
  // Whoever has made their directory has set something.
  if (change_files_.have_come()) app_.events.tell(kTopicChange);
  const unsigned topics = app_.link.changes();
  if (topics == 0) return;
  app_.reader.forget(topics);
  app_.events.tell(topics);
}

void Server::Loop::on_change_files() {
  if (change_files_.have_changed()) app_.events.tell(kTopicChange);
}

// --- event streams ---

// Nothing ticks where nobody looks on.
void Server::Loop::set_timers() {
  const auto set = [](const Owned<event>& timer, bool ticks, int interval_ms) {
    const timeval interval = time_of(interval_ms);
    if (!ticks) event_del(timer.get());
    if (ticks && event_pending(timer.get(), EV_TIMEOUT, nullptr) == 0) {
      event_add(timer.get(), &interval);
    }
  };
  const bool is_looked_at = !app_.events.streams().empty();
  set(comments_, is_looked_at, limits_.comment_ms);
  set(looks_, is_looked_at && !app_.link.is_attached(), kLookMs);
}

void Server::Loop::begin_stream(Connection& connection, evhttp_request* request,
                                const Response& response) {
  Stream* const stream = app_.events.open(response.session, response.last_event);
  if (stream == nullptr) return send(request, refuse(429, true));
  set_timers();
  // Nor is the kernel to keep what nobody reads.
  setsockopt(bufferevent_getfd(connection.socket), SOL_SOCKET, SO_SNDBUF, &kSendBuffer,
             sizeof kSendBuffer);
  // Whose other side is gone has gone when it confirms nothing for two signs of life.
  const unsigned gone_ms = 2 * static_cast<unsigned>(limits_.comment_ms);
  setsockopt(bufferevent_getfd(connection.socket), IPPROTO_TCP, TCP_USER_TIMEOUT, &gone_ms,
             sizeof gone_ms);
  connection.streaming = request;
  connection.stream = stream;
  // Nothing is to come from there any more, for however long.
  evhttp_connection_set_timeout(connection.http, kYear);
  add_headers(request, response);
  close_after(request);
  evhttp_send_reply_start(request, response.status, reason_of(response.status).data());
  send_part(connection, stream->has_news() ? app_.events.event(*stream) : kComment);
}

void Server::Loop::send_news() {
  for (auto next = connections_.begin(); next != connections_.end();) send_news(*next++);
}

// While something is on its way nothing is added: what has changed meanwhile is told in one.
void Server::Loop::send_news(Connection& connection) {
  if (connection.stream == nullptr || cut_if_over(connection)) return;
  if (connection.is_sending || !connection.stream->has_news()) return;
  send_part(connection, app_.events.event(*connection.stream));
}

void Server::Loop::send_part(Connection& connection, const std::string& text) {
  const auto buffer = own(evbuffer_new());
  evbuffer_add(buffer.get(), text.data(), text.size());
  connection.is_sending = true;
  evhttp_send_reply_chunk_with_cb(connection.streaming, buffer.get(), on_sent, &connection);
}

// The library calls this as well when only a part is sent.
void Server::Loop::on_sent(evhttp_connection*, void* connection) {
  auto& self = *static_cast<Connection*>(connection);
  if (evbuffer_get_length(bufferevent_get_output(self.socket)) > 0) return;
  self.is_sending = self.has_waited = false;
  self.loop->send_news(self);
}

void Server::Loop::send_comments() {
  for (auto next = connections_.begin(); next != connections_.end();) {
    Connection& connection = *next++;
    if (connection.stream != nullptr) send_comment(connection);
  }
  // Nothing tells that an adapter has gone, nor of changes for want of descriptors for instance.
  look_for_adapter();
  on_change();
}

// Nobody reads what was on its way at the last comment already, and a login may be over.
void Server::Loop::send_comment(Connection& connection) {
  if (connection.has_waited) return evhttp_connection_free(connection.http);
  connection.has_waited = connection.is_sending;
  if (cut_if_over(connection)) return;
  if (!connection.is_sending) send_part(connection, kComment);
}

// A stream whose login is over, or whose token was revoked, tells nothing more.
bool Server::Loop::cut_if_over(const Connection& connection) {
  if (is_open(app_, connection.stream->session())) return false;
  evhttp_connection_free(connection.http);
  return true;
}

Server::Server(App& app, const std::vector<Listen>& places, const Limits& limits)
    : loop_(std::make_unique<Loop>(app, places, limits)) {}

Server::~Server() = default;

std::vector<std::string> Server::addresses() const { return loop_->addresses(); }

void Server::run() { loop_->run(); }

}  // namespace tools::web
