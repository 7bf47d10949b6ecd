// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/ipc.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>

#include "capi/signal.h"
#include "foundation/json.h"
#include "support/process.h"

namespace capi::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using testing::MatchesRegex;

constexpr char kHandle[] = "handle=0x[0-9a-f]+ ";

std::string printed(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  body();
  fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

sockaddr_in local_address(int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
  return address;
}

void bind_to_any_port(int fd) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
}

// A port that nobody else gets meanwhile; shareable, where that is asked for.
class ReservedPort {
 public:
  explicit ReservedPort(bool shareable) : fd_(socket(AF_INET, SOCK_DGRAM, 0)) {
    const int on = shareable ? 1 : 0;
    setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    bind_to_any_port(fd_);
    number = ntohs(local_address(fd_).sin_port);
  }
  ~ReservedPort() { close(fd_); }
  ReservedPort(const ReservedPort&) = delete;
  ReservedPort& operator=(const ReservedPort&) = delete;

  uint16_t number = 0;

 private:
  int fd_;
};

bool is_blocking(int fd) { return (fcntl(fd, F_GETFL) & O_NONBLOCK) == 0; }

timeval receive_timeout(int fd) {
  timeval time{};
  socklen_t size = sizeof time;
  EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &time, &size), 0);
  return time;
}

// A receiver on this device and a sender that is connected to it.
class Ipc : public testing::Test {
 protected:
  void SetUp() override {
    receiver_ = ipc_open(0, 0);
    sender_ = ipc_open(0, 0);
    bind_to_any_port(receiver_);
    port_ = ntohs(static_cast<uint16_t>(ipc_getLocalPort(receiver_)));
    ASSERT_EQ(ipc_connect_port(sender_, port_), 0);
  }
  void TearDown() override {
    EXPECT_EQ(ipc_close(receiver_), 0);
    EXPECT_EQ(ipc_close(sender_), 0);
  }

  void send(const std::string& message) const {
    ASSERT_EQ(::send(sender_, message.data(), message.size(), 0),
              static_cast<ssize_t>(message.size()));
  }

  int receiver_ = -1;
  int sender_ = -1;
  uint16_t port_ = 0;
};

TEST_F(Ipc, AnUnboundSocketDoesNotBlockAndIsNotInherited) {
  const int fd = ipc_open(0, 0);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(local_address(fd).sin_port, 0);
  EXPECT_EQ(ipc_getLocalPort(fd), 0);
  EXPECT_FALSE(is_blocking(fd));
  EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
  int type = 0;
  socklen_t size = sizeof type;
  EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size), 0);
  EXPECT_EQ(type, SOCK_DGRAM);
  EXPECT_EQ(ipc_close(fd), 0);
}

TEST_F(Ipc, OpenBindsToThisDeviceUnlessAskedForAllInterfaces) {
  const ReservedPort port(true);
  for (const int flags : {0, 1, 2, 3}) {
    const int fd = ipc_open(flags, port.number);
    ASSERT_GE(fd, 0);
    const sockaddr_in address = local_address(fd);
    EXPECT_EQ(address.sin_port, htons(port.number));
    EXPECT_EQ(address.sin_addr.s_addr, htonl((flags & 1) != 0 ? INADDR_ANY : INADDR_LOOPBACK));
    EXPECT_FALSE(is_blocking(fd));
    int reuse = 0;
    socklen_t size = sizeof reuse;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, &size), 0);
    EXPECT_EQ(reuse, 1);
    EXPECT_EQ(ipc_close(fd), 0);
  }
}

TEST_F(Ipc, TheLocalPortIsInNetworkByteOrder) {
  const ReservedPort port(true);
  const int fd = ipc_open(0, port.number);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(ipc_getLocalPort(fd), htons(port.number));
  ipc_close(fd);
}

TEST_F(Ipc, APortThatIsTakenIsToldAndLeavesNoSocket) {
  const ReservedPort port(false);
  const int next = dup(receiver_);
  close(next);
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_open(0, port.number), -1); }),
            "ipc_open: bind failed! errno=98\n");
  EXPECT_EQ(fcntl(next, F_GETFD), -1);
}

TEST_F(Ipc, WithoutADescriptorThereIsNoSocket) {
  in_other_process([] {
    EXPECT_EQ(printed([] {
                rlimit limit{};
                getrlimit(RLIMIT_NOFILE, &limit);
                const rlimit none{0, limit.rlim_max};
                setrlimit(RLIMIT_NOFILE, &none);
                EXPECT_EQ(ipc_open(0, 0), -1);
                setrlimit(RLIMIT_NOFILE, &limit);
              }),
              "ipc_open: socket failed! errno=24\n");
  });
}

TEST_F(Ipc, CloseRefusesWhatIsNoDescriptor) {
  EXPECT_EQ(ipc_close(-1), -1);
  const int fd = ipc_open(0, 0);
  EXPECT_EQ(ipc_close(fd), 0);
  EXPECT_EQ(ipc_close(fd), -1);
}

TEST_F(Ipc, ConnectTellsItsFailuresInOneText) {
  sockaddr_in none{};
  none.sin_family = AF_INET;
  EXPECT_EQ(printed([&] {
              EXPECT_EQ(ipc_connect_port(-1, 5), -1);
              EXPECT_EQ(ipc_connect_remote(-1, none), -1);
            }),
            "ipc_connect_remote: connect failed! errno=9\n"
            "ipc_connect_remote: connect failed! errno=9\n");
}

TEST_F(Ipc, ConnectRemoteTakesAnyAddress) {
  const int fd = ipc_open(0, 0);
  sockaddr_in address{};
  ipc_connectionInit(&address, port_);
  EXPECT_EQ(ipc_connect_remote(fd, address), 0);
  EXPECT_EQ(ipc_send(fd, "abc", 3), 3);
  char buf[3];
  EXPECT_EQ(recv(receiver_, buf, sizeof buf, 0), 3);
  ipc_close(fd);
}

TEST_F(Ipc, MessagesArriveWhole) {
  EXPECT_EQ(ipc_send(sender_, "abcd", 4), 4);
  char buf[5] = {};
  EXPECT_THAT(printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 4, 0), 4); }),
              MatchesRegex(std::string("ipc_recv: ") + kHandle +
                           "client=NULL:0 numBytes=4 preLoadBufSize=4 data=0x6463626100000000\n"));
  EXPECT_STREQ(buf, "abcd");
}

TEST_F(Ipc, SendtoNeedsNoConnection) {
  const int fd = ipc_open(0, 0);
  bind_to_any_port(fd);
  sockaddr_in to{};
  ipc_connectionInit(&to, port_);
  EXPECT_EQ(ipc_sendto(fd, "12345678", 8, &to), 8);

  char buf[8];
  sockaddr_in from{};
  const std::string client = "127\\.0\\.0\\.1:" + std::to_string(ntohs(local_address(fd).sin_port));
  EXPECT_THAT(printed([&] { EXPECT_EQ(ipc_recvfrom(receiver_, buf, 8, 0, &from), 8); }),
              MatchesRegex(std::string("ipc_recv: ") + kHandle + "client=" + client +
                           " numBytes=8 preLoadBufSize=8 data=0x3433323138373635\n"));
  const sockaddr_in expected = local_address(fd);
  EXPECT_EQ(ipc_connections_equal(&from, &expected), 1);
  ipc_close(fd);
}

TEST_F(Ipc, ATimeoutIsTracedAndTakenAwayAfterwards) {
  send("ab");
  char buf[2];
  EXPECT_THAT(printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 2, 1500), 2); }),
              MatchesRegex(std::string("ipc_recv: ") + kHandle +
                           "client=NULL:0 numBytes=2 preLoadBufSize=2 data=0x0000626100000000\n"
                           "ipc_recv: " +
                           kHandle + "rc=2 len=2 timeout=1500 data=0x0000626100000000\n"));
  EXPECT_EQ(receive_timeout(receiver_).tv_sec, 0);
  EXPECT_EQ(receive_timeout(receiver_).tv_usec, 0);
}

TEST_F(Ipc, ATimeoutIsInForceWhileReceiving) {
  ASSERT_EQ(fcntl(receiver_, F_SETFL, 0), 0);  // where it counts: on a socket that blocks
  char byte;
  const auto start = Clock::now();
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(receiver_, &byte, 1, 20), -1); }),
            "Ipc_SocketRecv write error 11 (timeout)\n");
  EXPECT_GE(Clock::now() - start, milliseconds(17 * 20 + 16 * 10));
}

TEST_F(Ipc, MinusOneTakesAnEarlierTimeoutAway) {
  const timeval earlier{5, 0};
  ASSERT_EQ(setsockopt(receiver_, SOL_SOCKET, SO_RCVTIMEO, &earlier, sizeof earlier), 0);
  char byte;
  for (const int leaves_it : {0, -2}) {
    printed([&] { EXPECT_EQ(ipc_recv(receiver_, &byte, 1, leaves_it), -1); });
    EXPECT_EQ(receive_timeout(receiver_).tv_sec, 5);
  }
  const auto start = Clock::now();
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(receiver_, &byte, 1, -1), -1); }),
            "Ipc_SocketRecv write error 11 (timeout)\n");
  EXPECT_EQ(receive_timeout(receiver_).tv_sec, 0);
  EXPECT_GE(Clock::now() - start, milliseconds(160));
}

TEST_F(Ipc, AnEmptyQueueIsTriedSixteenTimesMore) {
  char byte;
  sockaddr_in from{};
  const auto start = Clock::now();
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recvfrom(receiver_, &byte, 1, 0, &from), -1); }),
            "Ipc_SocketRecvFrom write error 11 (timeout)\n");
  EXPECT_GE(Clock::now() - start, milliseconds(160));
  EXPECT_EQ(from.sin_family, 0);
}

TEST_F(Ipc, AShortMessageIsReturnedWhenNoOtherFollows) {
  send("abc");
  char buf[8] = "-------";
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 8, 0), 3); }),
            "Ipc_SocketRecv write error 11 (timeout)\n");
  EXPECT_STREQ(buf, "abc----");
}

TEST_F(Ipc, ShortMessagesFillTheBufferTogether) {
  send("abc");
  send("de");
  char buf[6] = {};
  printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 5, 0), 5); });
  EXPECT_STREQ(buf, "abcde");
}

TEST_F(Ipc, ALongMessageIsCut) {
  send("abcdef");
  send("gh");
  char buf[3] = {};
  printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 2, 0), 2); });
  EXPECT_STREQ(buf, "ab");
  printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 2, 0), 2); });
  EXPECT_STREQ(buf, "gh");
}

TEST_F(Ipc, AnEmptyMessageEndsTheCallWithZero) {
  send("");
  char buf[4] = {};
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 3, 0), 0); }), "");
  send("ab");
  send("");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(receiver_, buf, 3, 0), 0); }), "");
}

TEST_F(Ipc, NothingIsSentForNoBytes) {
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_send(sender_, "a", 0), 0); }), "");
  char byte;
  EXPECT_EQ(recv(receiver_, &byte, 1, MSG_DONTWAIT), -1);
}

TEST_F(Ipc, AFullQueueIsTriedSixteenTimesMore) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0, ends), 0);
  while (::send(ends[0], "x", 1, 0) == 1) continue;
  const auto start = Clock::now();
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_send(ends[0], "abc", 3), -1); }),
            "Ipc_SocketSend write error 11 (timeout)\n"
            "ipc_send: send returned -1, errno=11\n"
            "ipc_send failed! numBytes=0 len=3 errno=11\n");
  EXPECT_GE(Clock::now() - start, milliseconds(160));
  close(ends[0]);
  close(ends[1]);
}

TEST_F(Ipc, SendingGoesOnBehindWhatWasSent) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
  const std::string much(4 << 20, 'x');
  const std::string told = printed(
      [&] { EXPECT_EQ(ipc_send(ends[0], much.data(), static_cast<int>(much.size())), -1); });
  EXPECT_THAT(told, MatchesRegex("Ipc_SocketSend write error 11 \\(timeout\\)\n"
                                 "ipc_send: send returned -1, errno=11\n"
                                 "ipc_send failed! numBytes=[1-9][0-9]+ len=4194304 errno=11\n"));
  close(ends[0]);
  close(ends[1]);
}

TEST_F(Ipc, OtherFailuresEndSendingAtOnce) {
  EXPECT_EQ(printed([&] {
              EXPECT_EQ(ipc_send(receiver_, "abc", 3), -1);  // not connected
            }),
            "ipc_send: send returned -1, errno=89\n"
            "ipc_send failed! numBytes=0 len=3 errno=89\n");
}

TEST_F(Ipc, APeerThatIsGoneDoesNotEndTheProcess) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  close(ends[1]);
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_send(ends[0], "abc", 3), -1); }),
            "ipc_send: send returned -1, errno=32\n"
            "ipc_send failed! numBytes=0 len=3 errno=32\n");
  close(ends[0]);
}

TEST_F(Ipc, BadArgumentsAreRefused) {
  char byte = 0;
  sockaddr_in address{};
  EXPECT_EQ(printed([&] {
              EXPECT_EQ(ipc_send(-1, &byte, 1), -1);
              EXPECT_EQ(ipc_send(sender_, nullptr, 1), -1);
              EXPECT_EQ(ipc_send(sender_, &byte, -1), -1);
              EXPECT_EQ(ipc_sendto(-1, &byte, 1, &address), -1);
              EXPECT_EQ(ipc_sendto(sender_, nullptr, 1, &address), -1);
              EXPECT_EQ(ipc_sendto(sender_, &byte, 1, nullptr), -1);
              EXPECT_EQ(ipc_recv(-1, &byte, 1, 0), -1);
              EXPECT_EQ(ipc_recv(receiver_, nullptr, 1, 0), -1);
              EXPECT_EQ(ipc_recv(receiver_, &byte, 0, 0), -1);
              EXPECT_EQ(ipc_recv(receiver_, &byte, -1, 0), -1);
              EXPECT_EQ(ipc_recv(receiver_, nullptr, 1, 700), -1);
            }),
            "");
  EXPECT_EQ(receive_timeout(receiver_).tv_usec, 0);
}

TEST_F(Ipc, WhatIsNoSocketIsTold) {
  const int file = open("/dev/null", O_RDWR | O_CLOEXEC);
  char byte = 0;
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(file, &byte, 1, 0), -1); }), "");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(file, &byte, 1, 250), -1); }),
            "ipc_recv: can't set timeout 250 ms\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(file, &byte, 1, -1), -1); }),
            "ipc_recv: setsockopt failed 1, errno=88\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_send(file, &byte, 1), -1); }),
            "ipc_send: send returned -1, errno=88\n"
            "ipc_send failed! numBytes=0 len=1 errno=88\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_getLocalPort(file), -1); }),
            "ipc_getLocalPort: getsockname failed! errno=88\n");
  close(file);
  constexpr int kClosed = 900;
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_getLocalPort(kClosed), -1); }),
            "ipc_getLocalPort: getsockname failed! errno=9\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_recv(kClosed, &byte, 1, 0), -1); }), "");
  EXPECT_EQ(printed([&] { EXPECT_EQ(ipc_send(kClosed, &byte, 1), -1); }),
            "ipc_send: send returned -1, errno=9\n"
            "ipc_send failed! numBytes=0 len=1 errno=9\n");
}

TEST_F(Ipc, ASocketOfAnotherFamilyHasNoPort) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  EXPECT_THAT(printed([&] { EXPECT_EQ(ipc_getLocalPort(fd), -1); }),
              MatchesRegex("ipc_getLocalPort: getsockname failed! errno=[0-9]+\n"));
  close(fd);
}

TEST_F(Ipc, AddressesAreCopiedAndComparedWhole) {
  sockaddr_in address;
  memset(&address, 0xff, sizeof address);
  EXPECT_EQ(ipc_connectionInit(&address, 5060), 0);
  sockaddr_in expected{};
  expected.sin_family = AF_INET;
  expected.sin_port = htons(5060);
  inet_pton(AF_INET, "127.0.0.1", &expected.sin_addr);
  EXPECT_EQ(memcmp(&address, &expected, 16), 0);  // padding too

  sockaddr_in connection{};
  EXPECT_EQ(ipc_connections_equal(&connection, &address), 0);
  EXPECT_EQ(ipc_setConnRemoteAddr(&connection, &address), 0);
  EXPECT_EQ(ipc_connections_equal(&connection, &address), 1);
  sockaddr_in copy{};
  EXPECT_EQ(ipc_getConnRemoteAddr(&connection, &copy), 0);
  EXPECT_EQ(ipc_connections_equal(&copy, &address), 1);
  copy.sin_zero[7] = 1;
  EXPECT_EQ(ipc_connections_equal(&copy, &address), 0);

  EXPECT_EQ(ipc_connectionInit(nullptr, 1), -1);
  EXPECT_EQ(ipc_setConnRemoteAddr(nullptr, &address), -1);
  EXPECT_EQ(ipc_setConnRemoteAddr(&connection, nullptr), -1);
  EXPECT_EQ(ipc_getConnRemoteAddr(nullptr, &address), -1);
  EXPECT_EQ(ipc_getConnRemoteAddr(&connection, nullptr), -1);
  EXPECT_EQ(ipc_connections_equal(nullptr, &address), 0);
  EXPECT_EQ(ipc_connections_equal(&address, nullptr), 0);
}

// Sends a signal as a message of a size that both sides know.
constexpr int kMessageSize = 1024;

void send_signal(int fd, const char* name, const capi_signal_info& info) {
  const Json json(ctrlv2_siginfo_to_json(name, &info));
  char message[kMessageSize] = {};
  ASSERT_TRUE(cJSON_PrintPreallocated(json.get(), message, kMessageSize, false));
  EXPECT_EQ(ipc_send(fd, message, kMessageSize), kMessageSize);
}

std::string receive_signal(int fd, capi_signal_info& info) {
  pollfd ready{fd, POLLIN, 0};
  EXPECT_EQ(poll(&ready, 1, -1), 1);
  char message[kMessageSize];
  sockaddr_in from{};
  EXPECT_EQ(ipc_recvfrom(fd, message, kMessageSize, 0, &from), kMessageSize);
  EXPECT_EQ(ipc_connect_remote(fd, from), 0);  // where answers go
  char name[CAPI_SIGNAL_NAME_SIZE];
  EXPECT_EQ(ctrlv2_json_to_siginfo(Json(cJSON_Parse(message)).get(), name, &info), 0);
  return name;
}

TEST_F(Ipc, SignalsTravelBetweenProcessesAndBack) {
  Process other([&] {
    capi_signal_info info{};
    info.call_state = {2, {{5, "100", "Ann"}, {}, {4, "300", "Eve"}}};
    send_signal(sender_, "vop_sig_voip_call_state_change", info);
    EXPECT_EQ(receive_signal(sender_, info), "vop_sig_voip_sms_send");
    EXPECT_EQ(info.sms_send.MsgId, UINT64_MAX - 1);
  });
  capi_signal_info info{};
  EXPECT_EQ(receive_signal(receiver_, info), "vop_sig_voip_call_state_change");
  EXPECT_EQ(info.call_state.line, 2);
  EXPECT_EQ(info.call_state.callinfo[0].callstate, 5);
  EXPECT_STREQ(info.call_state.callinfo[2].callpartyname, "Eve");
  memset(&info, 0, sizeof info);
  info.sms_send.MsgId = UINT64_MAX - 1;
  send_signal(receiver_, "vop_sig_voip_sms_send", info);
  EXPECT_TRUE(other.succeeded());
}

}  // namespace
}  // namespace capi::test
