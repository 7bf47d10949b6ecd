// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "client.h"

#include <dirent.h>
#include <fcntl.h>
#include <mqtt_protocol.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "text.h"

namespace tools::mqtt {
namespace {

constexpr int kQos = 1;

// How long the broker keeps our subscription, and commands for us, after a connection is lost; then
// the will's delay is over as well.
constexpr uint32_t kSessionSeconds = 300;
constexpr uint32_t kWillDelaySeconds = 30;
constexpr uint32_t kMaxPacket = 131072;
constexpr int kInFlight = 20;

// The library waits for a connection as long as the kernel tries, which is minutes where packets
// are swallowed. A signal without SA_RESTART ends that, again and again for a name with many
// addresses.
class ConnectLimit {
 public:
  explicit ConnectLimit(int seconds) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before_);
    const itimerval timer{{1, 0}, {seconds, 0}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  ~ConnectLimit() {
    const itimerval none{};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }
  ConnectLimit(const ConnectLimit&) = delete;
  ConnectLimit& operator=(const ConnectLimit&) = delete;

 private:
  struct sigaction before_ {};
};

// A list of properties of a packet.
class Properties {
 public:
  Properties() = default;
  ~Properties() { mosquitto_property_free_all(&list_); }
  Properties(const Properties&) = delete;
  Properties& operator=(const Properties&) = delete;

  void add_number(int name, uint32_t value) { mosquitto_property_add_int32(&list_, name, value); }
  void add_bytes(int name, const std::string& bytes) {
    mosquitto_property_add_binary(&list_, name, bytes.data(), static_cast<uint16_t>(bytes.size()));
  }
  void add_text(int name, const char* text) { mosquitto_property_add_string(&list_, name, text); }
  const mosquitto_property* get() const { return list_; }
  mosquitto_property* release() { return std::exchange(list_, nullptr); }

 private:
  mosquitto_property* list_ = nullptr;
};

struct Freer {
  void operator()(void* memory) const { free(memory); }
};

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

std::string text_property(const mosquitto_property* list, int name) {
  char* text = nullptr;
  if (mosquitto_property_read_string(list, name, &text, false) == nullptr) return "";
  const std::unique_ptr<char, Freer> owner(text);
  return text != nullptr ? text : "";
}

std::string bytes_property(const mosquitto_property* list, int name) {
  void* bytes = nullptr;
  uint16_t size = 0;
  if (mosquitto_property_read_binary(list, name, &bytes, &size, false) == nullptr) return "";
  const std::unique_ptr<void, Freer> owner(bytes);
  return bytes != nullptr ? std::string(static_cast<const char*>(bytes), size) : "";
}

std::string broker_reason(int reason, const mosquitto_property* properties) {
  const std::string more = text_property(properties, MQTT_PROP_REASON_STRING);
  return std::string(mosquitto_reason_string(reason)) +
         (more.empty() ? "" : " (" + printable(more) + ")");
}

// A passphrase would be asked for on a terminal that nobody sees.
int refuse_passphrase(char*, int, int, void*) { return 0; }

std::string password_in(const std::string& path) {
  std::string text = read_file(path);
  text.resize(std::min(text.find_first_of("\r\n"), text.size()));
  return text;
}

// The library's sockets would be those of the tools that are run, too, and one that hangs would
// hold the connection open. It tells only of one of them; all else is closed there anyway.
void close_at_exec() {
  const int error = errno;
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir("/proc/self/fd"));
  while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
    const int fd = atoi(entry->d_name);
    if (fd > STDERR_FILENO) fcntl(fd, F_SETFD, FD_CLOEXEC);
  }
  errno = error;
}

const char* or_null(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

}  // namespace

Client::Client(const Options& options, const std::string& id, Listener& listener)
    : options_(options), listener_(listener), client_(mosquitto_new(id.c_str(), false, this)) {
  if (!client_) throw Failure(std::string("there can be no client: ") + strerror(errno));
  mosquitto* client = client_.get();
  mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_int_option(client, MOSQ_OPT_RECEIVE_MAXIMUM, kInFlight);
  mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
  mosquitto_connect_v5_callback_set(client, take_connect);
  mosquitto_disconnect_v5_callback_set(client, take_disconnect);
  mosquitto_publish_v5_callback_set(client, take_publish);
  mosquitto_subscribe_v5_callback_set(client, take_subscribe);
  mosquitto_message_v5_callback_set(client, take_message);
  mosquitto_log_callback_set(client, take_log);
  secure();
}

void Client::secure() {
  if (options_.has_tls()) {
    const int result =
        mosquitto_tls_set(client_.get(), options_.cafile.c_str(), nullptr, or_null(options_.cert),
                          or_null(options_.key), refuse_passphrase);
    if (result != MOSQ_ERR_SUCCESS) {
      throw Failure("TLS cannot be used: " + options_.cafile + ", the certificate or its key " +
                    "cannot be read: " + reason_of(result));
    }
    mosquitto_tls_opts_set(client_.get(), 1, "tlsv1.2", nullptr);
  }
  if (options_.user.empty()) return;
  const std::string password =
      options_.password_file.empty() ? "" : password_in(options_.password_file);
  mosquitto_username_pw_set(client_.get(), options_.user.c_str(), or_null(password));
}

bool Client::set_will(const std::string& topic, const std::string& payload) {
  Properties properties;
  properties.add_number(MQTT_PROP_WILL_DELAY_INTERVAL, kWillDelaySeconds);
  properties.add_text(MQTT_PROP_CONTENT_TYPE, "application/json");
  const int result = mosquitto_will_set_v5(client_.get(), topic.c_str(),
                                           static_cast<int>(payload.size()), payload.data(), kQos,
                                           true, const_cast<mosquitto_property*>(properties.get()));
  if (result == MOSQ_ERR_SUCCESS) properties.release();
  return is_well(result);
}

bool Client::connect(const std::string& will_topic, const std::string& will) {
  constexpr int kSeconds = 10;
  if (!set_will(will_topic, will)) return false;
  Properties properties;
  properties.add_number(MQTT_PROP_SESSION_EXPIRY_INTERVAL, kSessionSeconds);
  properties.add_number(MQTT_PROP_MAXIMUM_PACKET_SIZE, kMaxPacket);
  const ConnectLimit limit(kSeconds);
  const int result =
      mosquitto_connect_bind_v5(client_.get(), options_.host.c_str(), options_.port_to_use(),
                                options_.keepalive, nullptr, properties.get());
  close_at_exec();
  return is_well(result);
}

bool Client::service(bool is_readable, bool is_writable) {
  if (is_readable && !is_well(mosquitto_loop_read(client_.get(), 1))) return false;
  if (is_writable && !is_well(mosquitto_loop_write(client_.get(), 1))) return false;
  return is_well(mosquitto_loop_misc(client_.get())) && trouble_.empty();
}

bool Client::subscribe(const std::string& filter) {
  constexpr int kOptions = MQTT_SUB_OPT_RETAIN_AS_PUBLISHED | MQTT_SUB_OPT_SEND_RETAIN_NEVER;
  return is_well(
      mosquitto_subscribe_v5(client_.get(), nullptr, filter.c_str(), kQos, kOptions, nullptr));
}

int Client::publish(const Message& message) {
  Properties properties;
  if (!message.payload.empty()) {
    properties.add_text(MQTT_PROP_CONTENT_TYPE, "application/json");
  }
  if (!message.correlation.empty()) {
    properties.add_bytes(MQTT_PROP_CORRELATION_DATA, message.correlation);
  }
  int number = -1;
  const int result = mosquitto_publish_v5(
      client_.get(), &number, message.topic.c_str(), static_cast<int>(message.payload.size()),
      message.payload.data(), kQos, message.is_retained, properties.get());
  if (result == MOSQ_ERR_OVERSIZE_PACKET) return kTooLarge;
  return result == MOSQ_ERR_SUCCESS ? number : kNotSent;
}

void Client::disconnect() {
  mosquitto_disconnect_v5(client_.get(), MQTT_RC_NORMAL_DISCONNECTION, nullptr);
}

bool Client::is_well(int result) {
  if (result == MOSQ_ERR_SUCCESS) return true;
  if (trouble_.empty()) trouble_ = reason_of(result);
  return false;
}

std::string Client::reason_of(int result) const {
  if (!tls_trouble_.empty()) return tls_trouble_;
  if (result == MOSQ_ERR_ERRNO) {
    return errno == EINTR ? "nobody answers" : strerror(errno);
  }
  return mosquitto_strerror(result);
}

void Client::take_connect(mosquitto*, void* object, int reason, int,
                          const mosquitto_property* properties) {
  Client& client = self(object);
  uint16_t keepalive = 0;
  if (mosquitto_property_read_int16(properties, MQTT_PROP_SERVER_KEEP_ALIVE, &keepalive, false) !=
          nullptr &&
      keepalive != 0) {
    client.keepalive_ = std::min<int>(client.keepalive_, keepalive);
  }
  if (reason == 0) return client.listener_.on_connected();
  client.trouble_ = "the broker refuses it: " + broker_reason(reason, properties);
}

void Client::take_disconnect(mosquitto*, void* object, int reason,
                             const mosquitto_property* properties) {
  Client& client = self(object);
  if (!client.trouble_.empty()) return;
  if (reason >= 128) {
    client.trouble_ = "the broker ended it: " + broker_reason(reason, properties);
  }
}

void Client::take_publish(mosquitto*, void* object, int message, int reason,
                          const mosquitto_property* properties) {
  self(object).listener_.on_acknowledged(message,
                                         reason >= 128 ? broker_reason(reason, properties) : "");
}

void Client::take_subscribe(mosquitto*, void* object, int, int count, const int* granted,
                            const mosquitto_property* properties) {
  Client& client = self(object);
  if (count == 1 && granted[0] < 128) return client.listener_.on_subscribed();
  client.trouble_ = "the broker lets it have no commands: " +
                    broker_reason(count == 1 ? granted[0] : MQTT_RC_UNSPECIFIED, properties);
}

void Client::take_message(mosquitto*, void* object, const mosquitto_message* message,
                          const mosquitto_property* properties) {
  const auto* payload = static_cast<const char*>(message->payload);
  self(object).listener_.on_message(
      {message->topic,
       {payload != nullptr ? payload : "", static_cast<size_t>(message->payloadlen)},
       message->retain,
       text_property(properties, MQTT_PROP_RESPONSE_TOPIC),
       bytes_property(properties, MQTT_PROP_CORRELATION_DATA)});
}

// The only way in which the library tells what is wrong with a certificate:
// "OpenSSL Error[0]: error:0A000086:SSL routines::certificate verify failed".
void Client::take_log(mosquitto*, void* object, int level, const char* text) {
  Client& client = self(object);
  const std::string line = text;
  if (level != MOSQ_LOG_ERR || line.find("OpenSSL Error") == std::string::npos) return;
  const std::string what = line.substr(line.rfind(':') + 1);
  client.tls_trouble_ = "TLS: " + printable(what);
  if (what.find("certificate verify failed") != std::string::npos) {
    client.tls_trouble_ += ": the broker's certificate is not from who " + client.options_.cafile +
                           " names, not for \"" + client.options_.host + "\", or out of date";
  }
}

}  // namespace tools::mqtt
