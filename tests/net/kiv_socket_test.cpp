// Streams over real connections. With "--child=serve" and "--child=ask" the program is one of two that talk:
// interop.sh.

#include "kiv_socket.h"

#include <algorithm>
#include <cctype>
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
using SocketSize = int;
#else
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <csignal>
using SocketSize = socklen_t;
#endif

namespace {

using namespace kiv::test;

class Socket : public testing::Test {
 protected:
  Socket() { EXPECT_EQ(kiv_socket_init(), 0); }
  ~Socket() override { EXPECT_EQ(kiv_socket_finalize(), 0); }
};

using SystemSocket = decltype(::socket(0, 0, 0));

uint16_t port_of(uint32_t socket) {
  sockaddr_in name{};
  SocketSize size = sizeof name;
  EXPECT_EQ(getsockname(static_cast<SystemSocket>(socket), reinterpret_cast<sockaddr *>(&name), &size), 0);
  return ntohs(name.sin_port);
}

struct Server : KIV_SERVER {
  Server() {
    EXPECT_EQ(kiv_start_server(this, 0), 0);
    number = port_of(socket);
  }
  ~Server() {
    EXPECT_EQ(kiv_stop_server(this), 0);
    EXPECT_EQ(socket, UINT32_MAX);
  }
  uint16_t number = 0;
};

std::string message() {
  char *copy = kiv_socket_error_message();
  std::string text = copy;
  kiv_ipc_free(copy);
  return text;
}

// --- A conversation --------------------------------------------------------------------------------------------------

constexpr int32_t kSize = 30000;

int32_t next_value(void *context) { return ++*static_cast<int32_t *>(context); }
void add_value(void *context, int32_t value) { *static_cast<int32_t *>(context) += value; }

std::string block(char first) {
  std::string bytes(kSize, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(static_cast<size_t>(first) + i * i / 7);
  return bytes;
}

/// A line and a block, whose chunks bring the values 1, 2, ...
void say(KIV_STREAM *stream, char first) {
  int32_t last = 0;
  kiv_socket_set_get_piggyback_value(stream, next_value, &last);
  ASSERT_EQ(kiv_socket_write(stream, "a line\n", 7), 7);
  ASSERT_EQ(kiv_socket_write(stream, block(first).data(), kSize), kSize);
  ASSERT_EQ(stream->error, 0);
}

void hear(KIV_STREAM *stream, char first) {
  int32_t sum = 0;
  char line[16];
  std::string bytes(kSize, '\0');
  kiv_socket_process_piggybacked_value(stream, add_value, &sum);
  ASSERT_EQ(kiv_socket_read_line(stream, line, sizeof line), 6);
  ASSERT_STREQ(line, "a line");
  ASSERT_EQ(kiv_socket_read(stream, bytes.data(), kSize), kSize);
  ASSERT_TRUE(bytes == block(first));
  // The line, 29 full chunks, the rest.
  ASSERT_EQ(sum, stream->secondary_channel != 0 ? 31 * 32 / 2 : 0);
}

void talk(KIV_STREAM *stream, int mode, bool speaks_first, size_t rounds = 1) {
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

void ask_in_every_mode(uint16_t port) {
  for (int mode = 0; mode < 4; ++mode) {
    KIV_STREAM stream;
    ASSERT_EQ(kiv_open_stream(&stream, "127.0.0.1", port), 0) << message();
    talk(&stream, mode, true);
  }
}

void serve_every_mode(const KIV_SERVER *server) {
  for (int mode = 0; mode < 4; ++mode) {
    KIV_STREAM stream;
    ASSERT_EQ(kiv_socket_accept(server, &stream, nullptr), 0);
    talk(&stream, mode, false);
  }
}

KIV_CHILD(serve) {
  kiv_socket_init();
  const Server server;
  std::printf("%d\n", server.number);
  std::fflush(stdout);
  serve_every_mode(&server);
}

KIV_CHILD(ask) {
  kiv_socket_init();
  ask_in_every_mode(static_cast<uint16_t>(std::atoi(std::getenv("KIV_TEST_PORT"))));
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
TEST_F(Socket, EveryModeInterrupted) {
  interrupt_every(300);
  const Server server;
  std::thread client(ask_in_every_mode, server.number);
  serve_every_mode(&server);
  client.join();
  std::thread other(serve_every_mode, &server);
  ask_in_every_mode(server.number);
  other.join();
  interrupt_every(0);
}

// KIV_TEST_STREAM_MEGABYTES travel in each direction, all clients together.
TEST_F(Socket, ManyClients) {
  constexpr size_t kClients = 200, kMegabytes = 16;
  const char *given = std::getenv("KIV_TEST_STREAM_MEGABYTES");
  const size_t megabytes = given != nullptr ? std::strtoul(given, nullptr, 10) : kMegabytes;
  const size_t rounds = megabytes * 1000000 / kClients / kSize + 1;
  const Server server;
  std::vector<KIV_STREAM> clients(kClients), accepted(kClients);
  for (size_t i = 0; i < kClients; ++i) {
    // One after the other: few can wait to be accepted.
    ASSERT_EQ(kiv_open_stream(&clients[i], "127.0.0.1", server.number), 0) << message();
    ASSERT_EQ(kiv_socket_accept(&server, &accepted[i], nullptr), 0);
  }
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kClients; ++i) {
    threads.emplace_back(talk, &accepted[i], i % 4, false, rounds);
    threads.emplace_back(talk, &clients[i], i % 4, true, rounds);
  }
  for (std::thread &thread : threads) thread.join();
}

TEST_F(Socket, PeerText) {
  const Server server;
  const SystemSocket client = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(0x7F010203);
  ASSERT_EQ(bind(client, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  address.sin_port = htons(server.number);
  ASSERT_EQ(connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  KIV_STREAM stream, other{static_cast<uint32_t>(client), 1};
  char peer[KIV_SOCKET_PEER_SIZE] = "";
  ASSERT_EQ(kiv_socket_accept(&server, &stream, peer), 0);
  const std::string text = peer, host = text.substr(0, text.find(':'));
  EXPECT_EQ(text, host + ":" + std::to_string(port_of(other.socket)));
  EXPECT_TRUE(host == "127.001.002.003" || std::any_of(host.begin(), host.end(), ::isalpha)) << host;
  kiv_close_stream(&other);
  kiv_close_stream(&stream);
}

// --- Failures --------------------------------------------------------------------------------------------------------

TEST_F(Socket, Resets) {
  const Server server;
  const std::string text(1 << 20, 'x');
  KIV_STREAM client, stream;
  for (const bool writes : {true, false}) {
    ASSERT_EQ(kiv_open_stream(&client, "localhost", server.number), 0) << message();
    ASSERT_EQ(kiv_socket_accept(&server, &stream, nullptr), 0);
    stream.no_delay = 1;
    const linger at_once{1, 0};
    setsockopt(static_cast<SystemSocket>(client.socket), SOL_SOCKET, SO_LINGER,
               reinterpret_cast<const char *>(&at_once), sizeof at_once);
    kiv_close_stream(&client);
    // The first writes may go into the void; a write that fails raises no signal.
    for (int i = 0; writes && i < 1000 && stream.error == 0; ++i) kiv_socket_write(&stream, text.data(), 1 << 20);
    char byte = 0;
    EXPECT_EQ(kiv_socket_read(&stream, &byte, 1), 0);
    EXPECT_EQ(stream.error, 1);
    kiv_close_stream(&stream);
  }
}

TEST_F(Socket, FailuresToSetUp) {
  KIV_STREAM stream;
  KIV_SERVER second{};
  uint16_t free_port = 0;
  {
    const Server server;
    free_port = server.number;
    EXPECT_EQ(kiv_start_server(&second, server.number), 1);
    EXPECT_EQ(message().substr(0, 7), "bind() ");
    EXPECT_GT(std::atoi(message().c_str() + 7), 0);
  }
  EXPECT_EQ(kiv_socket_accept(&second, &stream, nullptr), 1);
  for (const std::string &host : {std::string(), std::string(300, 'x')}) {
    EXPECT_EQ(kiv_open_stream(&stream, host.c_str(), free_port), 1);
    EXPECT_EQ(message(), "gethostbyname");
  }
  EXPECT_EQ(kiv_open_stream(&stream, "localhost", free_port), 1);
  EXPECT_EQ(message().substr(0, 8), "Connect ");
  EXPECT_GT(std::atoi(message().c_str() + 8), 0);
  EXPECT_EQ(stream.is_open, 0);
  EXPECT_EQ(kiv_socket_set_tcp_nodelay(&stream), 1);  // although there is a socket
  stream.socket = UINT32_MAX;
  stream.is_open = 1;
  EXPECT_EQ(kiv_socket_set_tcp_nodelay(&stream), 1);
  EXPECT_EQ(stream.no_delay, 0);
}

TEST_F(Socket, HostAddress) {
  char text[17] = "";
  if (kiv_get_host_ip_address(text, 16) != 0) GTEST_SKIP() << "this host's name has no address";
  const auto length = static_cast<int32_t>(std::strlen(text));
  EXPECT_EQ(kiv_get_host_ip_address(text + 1, length), 1);
  EXPECT_EQ(kiv_get_host_ip_address(text + 1, length + 1), 0);
}

KIV_CHILD(socket_die) {
  KIV_STREAM stream;
  kiv_socket_init();
  kiv_open_stream(&stream, nullptr, 1);
  kiv_socket_die("cannot go on", 7);
}

KIV_CHILD(damaged_stream) {
  KIV_STREAM stream;
  kiv_init_stream(&stream)->send_fill = 1025;
  kiv_socket_write(&stream, "x", 1);
}

TEST_F(Socket, FatalPaths) {
  const ProcessResult died = run_child("socket_die"), stopped = run_child("damaged_stream");
  EXPECT_EQ(died.exit_code, 7);
  EXPECT_EQ(died.out, "cannot go on: gethostbyname\n");
  EXPECT_EQ(stopped.exit_code, 1);
  EXPECT_EQ(stopped.out, "stream buffer size inconsistency: \n");
}

}  // namespace
