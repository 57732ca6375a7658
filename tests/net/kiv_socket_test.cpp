// Streams over real connections. With "--child=serve" and "--child=ask" the program is one of two that talk:
// interop.sh.

#include "kiv_socket.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_stubs.h"
#include "tests/support/process.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <csignal>
#endif

namespace {

using namespace kiv::test;

const int started = kiv_socket_init();

using SystemSocket = decltype(::socket(0, 0, 0));

uint16_t port_of(uint32_t socket) {
  sockaddr_in name{};
  socklen_t size = sizeof name;
  EXPECT_EQ(getsockname(static_cast<SystemSocket>(socket), reinterpret_cast<sockaddr *>(&name), &size), 0);
  return ntohs(name.sin_port);
}

struct Server : KIV_SERVER {
  Server() { EXPECT_EQ(kiv_start_server(this, 0), 0); }
  ~Server() { EXPECT_EQ(kiv_stop_server(this), 0); }
};

std::string message() {
  char *copy = kiv_socket_error_message();
  std::string text = copy;
  kiv_ipc_free(copy);
  return text;
}

constexpr int32_t kSize = 30000;

int32_t next_value(void *context) { return ++*static_cast<int32_t *>(context); }
void add_value(void *context, int32_t value) { *static_cast<int32_t *>(context) += value; }

std::string block(char first) {
  std::string bytes(kSize, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(static_cast<size_t>(first) + i * i / 7);
  return bytes;
}

/// A block, whose chunks bring the values 1, 2, ...
void say(KIV_STREAM *stream, char first) {
  int32_t last = 0;
  kiv_socket_set_get_piggyback_value(stream, next_value, &last);
  ASSERT_EQ(kiv_socket_write(stream, block(first).data(), kSize), kSize);
}

void hear(KIV_STREAM *stream, char first) {
  int32_t sum = 0;
  std::string bytes(kSize, '\0');
  kiv_socket_process_piggybacked_value(stream, add_value, &sum);
  ASSERT_EQ(kiv_socket_read(stream, bytes.data(), kSize), kSize);
  ASSERT_TRUE(bytes == block(first));
  ASSERT_EQ(sum, stream->secondary_channel != 0 ? 30 * 31 / 2 : 0);  // 29 full chunks and the rest
}

void talk(KIV_STREAM *stream, int mode, bool speaks_first, size_t rounds) {
  if ((mode & 1) != 0) kiv_socket_enable_secondary_channel(stream);
  if ((mode & 2) != 0) ASSERT_EQ(kiv_socket_set_tcp_nodelay(stream), 0);
  for (size_t i = 0; i < rounds && stream->error == 0; ++i) {
    if (speaks_first) say(stream, static_cast<char>(i));
    hear(stream, static_cast<char>(speaks_first ? ~i : i));
    if (!speaks_first) say(stream, static_cast<char>(~i));
  }
  // Whoever spoke first closes; the other sees the connection end.
  if (!speaks_first) EXPECT_EQ(kiv_socket_read(stream, stream->send_buffer, 1), 0);
  EXPECT_EQ(kiv_close_stream(stream), 0);
  EXPECT_EQ(kiv_close_stream(stream), 0);
}

/// As server, or as client (null) of the one at that port.
void talk_in_every_mode(const KIV_SERVER *server, uint16_t port) {
  for (int mode = 0; mode < 4; ++mode) {
    KIV_STREAM stream;
    const bool opens = server == nullptr;
    ASSERT_EQ(opens ? kiv_open_stream(&stream, "127.0.0.1", port) : kiv_socket_accept(server, &stream, nullptr), 0);
    talk(&stream, mode, opens, 10);
  }
}

KIV_CHILD(serve) {
  const Server server;
  std::printf("%d\n", port_of(server.socket));
  std::fflush(stdout);
  talk_in_every_mode(&server, 0);
}

KIV_CHILD(ask) {
  talk_in_every_mode(nullptr, static_cast<uint16_t>(std::atoi(std::getenv("KIV_TEST_PORT"))));
  std::puts(testing::Test::HasFailure() ? "failed" : "all was heard");
}

/// Interrupts a thread in its calls of the system.
void interrupt_every([[maybe_unused]] int microseconds) {
#ifndef _WIN32
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval period{{0, microseconds}, {0, microseconds}};
  setitimer(ITIMER_REAL, &period, nullptr);
#endif
}

// Signals go to the first thread, which is both ends in turn.
TEST(Socket, EveryModeInterrupted) {
  interrupt_every(100);
  const Server server;
  for (const bool serves : {true, false}) {
    std::thread other(talk_in_every_mode, serves ? nullptr : &server, port_of(server.socket));
    talk_in_every_mode(serves ? &server : nullptr, port_of(server.socket));
    other.join();
  }
  interrupt_every(0);
}

// KIV_TEST_STREAM_MEGABYTES travel in each direction, all clients together.
TEST(Socket, ManyClients) {
  constexpr size_t kClients = 200, kMegabytes = 16;
  const char *given = std::getenv("KIV_TEST_STREAM_MEGABYTES");
  const size_t megabytes = given != nullptr ? std::strtoul(given, nullptr, 10) : kMegabytes;
  const size_t rounds = megabytes * 1000000 / kClients / kSize + 1;
  const Server server;
  std::vector<KIV_STREAM> clients(kClients), accepted(kClients);
  for (size_t i = 0; i < kClients; ++i) {
    // One after the other: few can wait to be accepted.
    ASSERT_EQ(kiv_open_stream(&clients[i], "127.0.0.1", port_of(server.socket)), 0) << message();
    ASSERT_EQ(kiv_socket_accept(&server, &accepted[i], nullptr), 0);
  }
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kClients; ++i) {
    threads.emplace_back(talk, &accepted[i], i % 4, false, rounds);
    threads.emplace_back(talk, &clients[i], i % 4, true, rounds);
  }
  for (std::thread &thread : threads) thread.join();
}

TEST(Socket, PeerText) {
  const Server server;
  const SystemSocket client = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(0x7F010203);
  ASSERT_EQ(bind(client, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  address.sin_port = htons(port_of(server.socket));
  ASSERT_EQ(connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  KIV_STREAM stream, other{static_cast<uint32_t>(client), 1};
  char peer[KIV_SOCKET_PEER_SIZE] = "";
  ASSERT_EQ(kiv_socket_accept(&server, &stream, peer), 0);
  const std::string text = peer, host = text.substr(0, text.find(':'));
  EXPECT_EQ(text, host + ":" + std::to_string(port_of(other.socket)));
  EXPECT_TRUE(host == "127.001.002.003" || host.find_first_not_of("0123456789.") != std::string::npos) << host;
  kiv_close_stream(&other);
  kiv_close_stream(&stream);
}

TEST(Socket, Resets) {
  const Server server;
  const std::string text(1 << 20, 'x');
  KIV_STREAM client, stream;
  for (const bool writes : {true, false}) {
    ASSERT_EQ(kiv_open_stream(&client, "localhost", port_of(server.socket)), 0) << message();
    ASSERT_EQ(kiv_socket_accept(&server, &stream, nullptr), 0);
    stream.no_delay = 1;
    const linger at_once{1, 0};
    setsockopt(static_cast<SystemSocket>(client.socket), SOL_SOCKET, SO_LINGER,
               reinterpret_cast<const char *>(&at_once), sizeof at_once);
    kiv_close_stream(&client);
    // The first writes may go into the void; a write that fails raises no signal.
    for (int i = 0; writes && i < 1000 && stream.error == 0; ++i) kiv_socket_write(&stream, text.data(), 1 << 20);
    EXPECT_EQ(kiv_socket_read(&stream, stream.send_buffer, 1), 0);
    EXPECT_EQ(stream.error, 1);
    kiv_close_stream(&stream);
  }
}

TEST(Socket, FailuresToSetUp) {
  const auto expect_number = [](const std::string &what) {
    EXPECT_EQ(message().substr(0, what.size()), what);
    EXPECT_GT(std::atoi(message().substr(what.size()).c_str()), 0);
  };
  KIV_STREAM stream;
  KIV_SERVER server, second;
  ASSERT_EQ(started + kiv_socket_init() + kiv_socket_finalize() + kiv_start_server(&server, 0), 0);
  const uint16_t port = port_of(server.socket);
  EXPECT_EQ(kiv_start_server(&second, port), 1);
  expect_number("bind() ");
  EXPECT_EQ(kiv_stop_server(&server), 0);
  EXPECT_EQ(server.socket, UINT32_MAX);
  EXPECT_EQ(kiv_socket_accept(&server, &stream, nullptr), 1);
  for (const std::string &host : {std::string(), std::string(300, 'x')}) {
    EXPECT_EQ(kiv_open_stream(&stream, host.c_str(), port), 1);
    EXPECT_EQ(message(), "gethostbyname");
  }
  EXPECT_EQ(kiv_open_stream(&stream, "localhost", port), 1);
  expect_number("Connect ");
  EXPECT_EQ(kiv_socket_set_tcp_nodelay(&stream), 1);  // although there is a socket
  stream = {UINT32_MAX, 1};
  EXPECT_EQ(kiv_socket_set_tcp_nodelay(&stream), 1);
  EXPECT_EQ(stream.no_delay, 0);
}

TEST(Socket, HostAddress) {
  char first[16] = "", second[16] = "";
  if (kiv_get_host_ip_address(first, sizeof first) != 0) GTEST_SKIP() << "this host's name has no address";
  EXPECT_EQ(kiv_get_host_ip_address(second, static_cast<int32_t>(std::strlen(first))), 1);
  EXPECT_EQ(kiv_get_host_ip_address(second, static_cast<int32_t>(std::strlen(first)) + 1), 0);
  EXPECT_STREQ(first, second);
}

KIV_CHILD(socket_die) {
  KIV_STREAM stream;
  kiv_open_stream(&stream, nullptr, 1);
  kiv_socket_die("cannot go on", 7);
}

KIV_CHILD(damaged_stream) {
  KIV_STREAM stream;
  kiv_init_stream(&stream)->send_fill = 1025;
  kiv_socket_write(&stream, "x", 1);
}

TEST(Socket, FatalPaths) {
  const ProcessResult died = run_child("socket_die"), stopped = run_child("damaged_stream");
  EXPECT_EQ(died.exit_code, 7);
  EXPECT_EQ(stopped.exit_code, 1);
  EXPECT_EQ(died.out + stopped.out, "cannot go on: gethostbyname\nstream buffer size inconsistency: \n");
}

}  // namespace
