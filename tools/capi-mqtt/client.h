// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// One connection to the broker. What the library would keep of it for a next one is gone with the
// object: nothing is ever queued while there is no connection.
#pragma once

#include <mosquitto.h>

#include <memory>
#include <string>

#include "options.h"

namespace tools::mqtt {

struct Message {
  std::string topic;
  std::string payload;
  bool is_retained = false;
  std::string response_topic = {};
  std::string correlation = {};
};

// What a connection tells, from within service().
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void on_connected() = 0;
  virtual void on_subscribed() = 0;
  // Of a message that was published; the reason is why the broker did not take it, or empty.
  virtual void on_acknowledged(int message, const std::string& reason) = 0;
  virtual void on_message(Message message) = 0;
};

class Client {
 public:
  Client(const Options& options, const std::string& id, Listener& listener);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // Begins to connect; the will is published for us when the connection is lost. Waits for the
  // network for some seconds at most. False when that fails.
  bool connect(const std::string& will_topic, const std::string& will);

  // For poll(); afterwards what is readable or writable. False when the connection is lost.
  int socket() const { return mosquitto_socket(client_.get()); }
  bool wants_write() const { return mosquitto_want_write(client_.get()); }
  bool service(bool is_readable, bool is_writable);

  // How long may be silent: the broker may want less than the options say.
  int keepalive() const { return keepalive_; }

  bool subscribe(const std::string& filter);

  // With QoS 1. Returns the number by which it is acknowledged, or one of these: the broker takes
  // none of that size, or it cannot be sent.
  static constexpr int kTooLarge = -2;
  static constexpr int kNotSent = -1;
  int publish(const Message& message);

  // Says goodbye: the will is not published.
  void disconnect();

  // Why connect() or service() was false.
  std::string trouble() const { return trouble_; }

 private:
  struct Deleter {
    void operator()(mosquitto* client) const { mosquitto_destroy(client); }
  };

  bool is_well(int result);
  void secure();
  bool set_will(const std::string& topic, const std::string& payload);
  std::string reason_of(int result) const;

  static Client& self(void* object) { return *static_cast<Client*>(object); }
  static void take_connect(mosquitto*, void*, int, int, const mosquitto_property*);
  static void take_disconnect(mosquitto*, void*, int, const mosquitto_property*);
  static void take_publish(mosquitto*, void*, int, int, const mosquitto_property*);
  static void take_subscribe(mosquitto*, void*, int, int, const int*, const mosquitto_property*);
  static void take_message(mosquitto*, void*, const mosquitto_message*, const mosquitto_property*);
  static void take_log(mosquitto*, void*, int, const char*);

  const Options& options_;
  Listener& listener_;
  int keepalive_ = options_.keepalive;
  std::string trouble_;
  std::string tls_trouble_;
  std::unique_ptr<mosquitto, Deleter> client_;
};

// The library, as long as there are clients.
class Library {
 public:
  Library() { mosquitto_lib_init(); }
  ~Library() { mosquitto_lib_cleanup(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

}  // namespace tools::mqtt
