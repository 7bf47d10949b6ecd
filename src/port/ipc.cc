// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/ipc.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "capi/thread.h"
#include "port/retries.h"

static_assert(sizeof(sockaddr_in) == 16);

namespace capi {
namespace {

constexpr int kRetries = 16;  // in a call

sockaddr_in address_of(in_addr_t host, uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(host);
  return address;
}

const sockaddr* generic(const sockaddr_in& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

int connect_to(int fd, const sockaddr_in& address) {
  const int result = connect(fd, generic(address), sizeof address);
  if (result != 0) printf("ipc_connect_remote: connect failed! errno=%d\n", errno);
  return result;
}

int send_all(int fd, const void* buf, int len, const sockaddr_in* to) {
  if (buf == nullptr || fd < 0 || len < 0) return -1;
  const auto size = static_cast<size_t>(len);
  const sockaddr* address = to != nullptr ? generic(*to) : nullptr;
  const socklen_t address_size = to != nullptr ? sizeof *to : 0;
  Retries retries(kRetries);
  size_t sent = 0;
  ssize_t last = 0;
  int error = 0;
  while (sent < size) {
    last = sendto(fd, static_cast<const char*>(buf) + sent, size - sent, MSG_NOSIGNAL, address,
                  address_size);
    if (last > 0) {
      sent += static_cast<size_t>(last);
      continue;
    }
    error = errno;
    if (last < 0 && retries.again(error)) continue;
    break;
  }
  if (sent == size) return len;
  if (retries.used_up(error)) printf("Ipc_SocketSend write error %d (timeout)\n", error);
  printf("ipc_send: send returned %zd, errno=%d\n", last, error);
  printf("ipc_send failed! numBytes=%zd len=%zu errno=%d\n", static_cast<ssize_t>(sent), size,
         error);
  return -1;
}

bool set_receive_timeout(int fd, int milliseconds) {
  timeval time{};
  time.tv_sec = milliseconds / 1000;
  time.tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
  return setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time) == 0;
}

// The receive timeout of a call, which is taken away when the call ends.
class ReceiveTimeout {
 public:
  ReceiveTimeout(int fd, int milliseconds) : fd_(fd), given_(milliseconds > 0) {
    if (given_ && !set_receive_timeout(fd, milliseconds)) {
      printf("ipc_recv: can't set timeout %d ms\n", milliseconds);
      given_ = false;
      failed_ = true;
    }
    if (milliseconds == -1 && !set_receive_timeout(fd, 0)) {
      printf("ipc_recv: setsockopt failed 1, errno=%d\n", errno);
    }
  }
  ~ReceiveTimeout() {
    if (given_ && !set_receive_timeout(fd_, 0)) {
      printf("ipc_recv: setsockopt failed 2, errno=%d\n", errno);
    }
  }
  ReceiveTimeout(const ReceiveTimeout&) = delete;
  ReceiveTimeout& operator=(const ReceiveTimeout&) = delete;

  bool failed() const { return failed_; }

 private:
  int fd_;
  bool given_;
  bool failed_ = false;
};

// The first bytes of a message as two words, as far as there are such.
struct Words {
  Words(const void* buf, size_t size) { memcpy(word, buf, std::min(size, sizeof word)); }

  uint32_t word[2] = {};
};

struct Message {
  void* buf;
  size_t size;
  sockaddr_in* from;
};

void trace_receive(int fd, const Message& message, int timeout_ms) {
  char client[INET_ADDRSTRLEN] = "NULL";
  int port = 0;
  if (message.from != nullptr) {
    inet_ntop(AF_INET, &message.from->sin_addr, client, sizeof client);
    port = ntohs(message.from->sin_port);
  }
  const Words data(message.buf, message.size);
  const auto received = static_cast<ssize_t>(message.size);
  printf("ipc_recv: handle=0x%x client=%s:%d numBytes=%zd preLoadBufSize=%zu data=0x%08x%08x\n",
         static_cast<unsigned>(fd), client, port, received, message.size, data.word[0],
         data.word[1]);
  if (timeout_ms <= 0) return;
  printf("ipc_recv: handle=0x%x rc=%zd len=%zu timeout=%d data=0x%08x%08x\n",
         static_cast<unsigned>(fd), received, message.size, timeout_ms, data.word[0], data.word[1]);
}

ssize_t receive_once(int fd, char* to, size_t size, sockaddr_in* from) {
  if (from == nullptr) return recvfrom(fd, to, size, 0, nullptr, nullptr);
  sockaddr_in sender{};
  socklen_t sender_size = sizeof sender;
  const ssize_t received =
      recvfrom(fd, to, size, 0, reinterpret_cast<sockaddr*>(&sender), &sender_size);
  if (received >= 0) *from = sender;
  return received;
}

// Fills the buffer of a message as far as possible. Returns the number of bytes, 0 for an empty
// message, or -1 when there was none.
ssize_t receive_all(int fd, const Message& message) {
  Retries retries(kRetries);
  size_t total = 0;
  while (total < message.size) {
    const ssize_t received = receive_once(fd, static_cast<char*>(message.buf) + total,
                                          message.size - total, message.from);
    if (received == 0) return 0;
    if (received > 0) {
      total += static_cast<size_t>(received);
      continue;
    }
    const int error = errno;
    if (retries.again(error)) continue;
    if (retries.used_up(error)) {
      printf("Ipc_SocketRecv%s write error %d (timeout)\n", message.from != nullptr ? "From" : "",
             error);
    }
    break;
  }
  return total > 0 ? static_cast<ssize_t>(total) : -1;
}

}  // namespace
}  // namespace capi

using namespace capi;

int ipc_open(int flags, uint16_t port) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd == -1) {
    printf("ipc_open: socket failed! errno=%d\n", errno);
    return -1;
  }
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const bool everywhere = (flags & CAPI_IPC_ALL_INTERFACES) != 0;
  const sockaddr_in address = address_of(everywhere ? INADDR_ANY : INADDR_LOOPBACK, port);
  if (port != 0 && bind(fd, generic(address), sizeof address) != 0) {
    printf("ipc_open: bind failed! errno=%d\n", errno);
    close(fd);
    return -1;
  }
  setSocketNonBlocking(fd);
  return fd;
}

int ipc_close(int fd) { return fd >= 0 ? close(fd) : -1; }

int ipc_connect_port(int fd, uint16_t port) {
  return connect_to(fd, address_of(INADDR_LOOPBACK, port));
}

int ipc_connect_remote(int fd, sockaddr_in address) { return connect_to(fd, address); }

int ipc_send(int fd, const void* buf, int len) { return send_all(fd, buf, len, nullptr); }

int ipc_sendto(int fd, const void* buf, int len, const sockaddr_in* to) {
  return to != nullptr ? send_all(fd, buf, len, to) : -1;
}

int ipc_recv(int fd, void* buf, int len, int timeout_ms) {
  return ipc_recvfrom(fd, buf, len, timeout_ms, nullptr);
}

int ipc_recvfrom(int fd, void* buf, int len, int timeout_ms, sockaddr_in* from) {
  const ReceiveTimeout timeout(fd, timeout_ms);
  if (timeout.failed() || fd < 0 || buf == nullptr || len <= 0) return -1;
  const Message message{buf, static_cast<size_t>(len), from};
  const ssize_t received = receive_all(fd, message);
  if (received == len) trace_receive(fd, message, timeout_ms);
  return static_cast<int>(received);
}

int ipc_getLocalPort(int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  const int result = getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  if (result != 0 || address.sin_family != AF_INET) {
    printf("ipc_getLocalPort: getsockname failed! errno=%d\n", errno);
    return -1;
  }
  return address.sin_port;
}

int ipc_connectionInit(sockaddr_in* connection, uint16_t port) {
  if (connection == nullptr) return -1;
  *connection = address_of(INADDR_LOOPBACK, port);
  return 0;
}

int ipc_setConnRemoteAddr(sockaddr_in* connection, const sockaddr_in* address) {
  if (connection == nullptr || address == nullptr) return -1;
  *connection = *address;
  return 0;
}

int ipc_getConnRemoteAddr(const sockaddr_in* connection, sockaddr_in* address) {
  return ipc_setConnRemoteAddr(address, connection);
}

int ipc_connections_equal(const sockaddr_in* a, const sockaddr_in* b) {
  return a != nullptr && b != nullptr && memcmp(a, b, sizeof *a) == 0 ? 1 : 0;
}
