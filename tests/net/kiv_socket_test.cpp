#include "kiv_socket.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <latch>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_stubs.h"
#include "tests/net/plain_chunks.h"
#include "tests/net/raw_socket.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

#ifndef _WIN32
#include <sys/time.h>
#include <csignal>
#endif

namespace {

using namespace kiv::test;

class Socket : public testing::Test {
 protected:
  Socket() { EXPECT_EQ(kiv_socket_init(), 0); }
  ~Socket() override { EXPECT_EQ(kiv_socket_finalize(), 0); }
};

struct Server : KIV_SERVER {
  Server() {
    EXPECT_EQ(kiv_start_server(this, 0), 0);
    number = port_of(socket);
  }
  ~Server() { EXPECT_EQ(kiv_stop_server(this), 0); }
  uint16_t number = 0;
};

std::string message() {
  char *copy = kiv_socket_error_message();
  std::string text = copy;
  kiv_ipc_free(copy);
  return text;
}

/// Signals all the time, so that calls of the system are interrupted.
class Interruptions {
 public:
#ifdef _WIN32
  Interruptions() {}
  ~Interruptions() {}
#else
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    set(300);
  }
  ~Interruptions() { set(0); }

 private:
  static void set(int microseconds) {
    const itimerval interval{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &interval, nullptr);
  }
#endif
};

struct Options {
  bool secondary, no_delay;
  void apply_to(KIV_STREAM *stream) const {
    if (secondary) kiv_socket_enable_secondary_channel(stream);
    if (no_delay) EXPECT_EQ(kiv_socket_set_tcp_nodelay(stream), 0);
  }
};

/// The other end: sends a text in chunks, and gets it back in chunks.
void raw_talk(RawSocket raw, const std::string &text, const Options &options) {
  PlainWriter plain(options.secondary ? "0" : "");
  plain.write(text);
  plain.flush();
  for (size_t at = 0; at < plain.wire.size(); at += 1024) {
    raw_send(raw, plain.wire.substr(at, 1024));
    if (at + 1024 < plain.wire.size() && !options.no_delay) EXPECT_EQ(raw_receive(raw, 3), "ACK");
  }
  for (size_t at = 0; at < plain.wire.size(); at += 1024) {
    const std::string expected = plain.wire.substr(at, 1024);
    ASSERT_EQ(raw_receive(raw, expected.size()), expected);
    if (at + 1024 < plain.wire.size() && !options.no_delay) raw_send(raw, "ACK");
  }
  raw_close(raw);
}

/// This end: sends back what has come, and meets the end of the connection.
void echo(KIV_STREAM *stream, size_t size) {
  std::string text(size, '\0');
  const auto n = static_cast<int32_t>(size);
  EXPECT_EQ(kiv_socket_read(stream, text.data(), n), n);
  EXPECT_EQ(kiv_socket_write(stream, text.data(), n), n);
  EXPECT_EQ(kiv_socket_read(stream, text.data(), 1), 0);
  EXPECT_EQ(stream->error, 1);
  EXPECT_EQ(kiv_close_stream(stream), 0);
  EXPECT_EQ(kiv_close_stream(stream), 0);
}

TEST_F(Socket, RawPeersOnBothSides) {
  const Interruptions interruptions;
  auto random = make_random();
  std::string text(100000, '\0');
  for (char &byte : text) byte = static_cast<char>(random());
  for (const Options options : {Options{false, false}, {true, false}, {false, true}, {true, true}}) {
    KIV_STREAM stream;
    char peer[KIV_SOCKET_PEER_SIZE] = "";
    const Server server;
    std::string port;
    std::thread client([&] {
      const RawSocket raw = raw_connect(server.number);
      port = ":" + std::to_string(port_of(static_cast<uint32_t>(raw)));
      raw_talk(raw, text, options);
    });
    ASSERT_EQ(kiv_socket_accept(&server, &stream, peer), 0);
    options.apply_to(&stream);
    echo(&stream, text.size());
    client.join();
    const std::string host(peer, strlen(peer) - port.size());
    EXPECT_EQ(host + port, peer);
    EXPECT_TRUE(host == "127.000.000.001" || host.find_first_not_of("0123456789.") != std::string::npos) << peer;

    std::thread listener(
        [&] { raw_talk(accept(static_cast<RawSocket>(server.socket), nullptr, nullptr), text, options); });
    ASSERT_EQ(kiv_open_stream(&stream, "127.0.0.1", server.number), 0) << message();
    options.apply_to(&stream);
    echo(&stream, text.size());
    listener.join();
  }
}

TEST_F(Socket, Resets) {
  const Server server;
  const std::string text(1 << 20, 'x');
  KIV_STREAM stream;
  for (const bool writes : {true, false}) {
    const RawSocket raw = raw_connect(server.number);
    ASSERT_EQ(kiv_socket_accept(&server, &stream, nullptr), 0);
    stream.no_delay = 1;
    raw_reset(raw);
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
  EXPECT_EQ(stream.is_open, 0);
  for (const std::string &host : {std::string(300, 'x'), std::string(2000, '.')}) {
    EXPECT_EQ(kiv_open_stream(&stream, host.c_str(), free_port), 1);
    EXPECT_EQ(message(), "gethostbyname");
    raw_close(static_cast<RawSocket>(stream.socket));
  }
  EXPECT_EQ(kiv_open_stream(&stream, "localhost", free_port), 1);
  EXPECT_EQ(message().substr(0, 8), "Connect ");
  EXPECT_GT(std::atoi(message().c_str() + 8), 0);
  raw_close(static_cast<RawSocket>(stream.socket));
  EXPECT_EQ(kiv_socket_set_tcp_nodelay(&stream), 1);
  EXPECT_EQ(stream.no_delay, 0);
  EXPECT_EQ(kiv_close_stream(&stream), 0);
  EXPECT_EQ(kiv_socket_write(&stream, "x", 1), 1);
  EXPECT_EQ(stream.error, 1);
}

TEST_F(Socket, HostAddress) {
  char whole[16] = "";
  if (kiv_get_host_ip_address(whole, sizeof whole) != 0) GTEST_SKIP() << "this host's name has no address";
  const auto length = static_cast<int32_t>(strlen(whole));
  char text[16] = "as it was";
  EXPECT_EQ(kiv_get_host_ip_address(text, length), 1);
  EXPECT_STREQ(text, "as it was");
  EXPECT_EQ(kiv_get_host_ip_address(text, length + 1), 0);
  EXPECT_STREQ(text, whole);
}

KIV_CHILD(socket_die) {
  KIV_STREAM stream;
  kiv_socket_init();
  kiv_open_stream(&stream, nullptr, 1);
  kiv_socket_die("cannot go on", 7);
}

TEST_F(Socket, Die) {
  const ProcessResult result = run_child("socket_die");
  EXPECT_EQ(result.exit_code, 7);
  EXPECT_EQ(result.out, "cannot go on: gethostbyname\n");
}

// --- Many at once ----------------------------------------------------------------------------------------------------

constexpr size_t kClients = 200;
constexpr int32_t kBlock = 20000;

/// Megabytes in each direction, all clients together.
size_t megabytes() {
  const char *given = std::getenv("KIV_TEST_STREAM_MEGABYTES");
#if defined(_WIN32) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return given != nullptr ? std::strtoul(given, nullptr, 10) : 8;
#else
  return given != nullptr ? std::strtoul(given, nullptr, 10) : 64;
#endif
}

/// The first byte of a client says how both are to go on.
void apply_mode(KIV_STREAM *stream, char mode) { Options{(mode & 1) != 0, (mode & 2) != 0}.apply_to(stream); }

void serve(KIV_STREAM *stream) {
  std::string block(kBlock, '\0');
  char mode = 0;
  EXPECT_EQ(kiv_socket_read(stream, &mode, 1), 1);
  apply_mode(stream, mode);
  while (kiv_socket_read(stream, block.data(), kBlock) == kBlock) {
    for (char &byte : block) byte = static_cast<char>(byte ^ mode);
    if (kiv_socket_write(stream, block.data(), kBlock) != kBlock) break;
  }
  kiv_close_stream(stream);
}

bool use_server(uint16_t port, char mode, size_t blocks, std::latch *all_connected) {
  KIV_STREAM stream;
  const bool connected = kiv_open_stream(&stream, "127.0.0.1", port) == 0;
  all_connected->arrive_and_wait();
  if (!connected || kiv_socket_write(&stream, &mode, 1) != 1) return false;
  apply_mode(&stream, mode);
  std::minstd_rand random(static_cast<unsigned>(mode) + 1);
  std::string block(kBlock, '\0'), answer = block;
  for (size_t i = 0; i < blocks; ++i) {
    for (char &byte : block) byte = static_cast<char>(random());
    if (kiv_socket_write(&stream, block.data(), kBlock) != kBlock) return false;
    if (kiv_socket_read(&stream, answer.data(), kBlock) != kBlock) return false;
    for (char &byte : answer) byte = static_cast<char>(byte ^ mode);
    if (answer != block) return false;
  }
  return kiv_close_stream(&stream) == 0;
}

TEST_F(Socket, ManyClients) {
  const Server server;
  const size_t blocks = megabytes() * 1000000 / kClients / kBlock + 1;
  std::atomic<size_t> successes{0};
  std::latch all_connected(kClients);
  std::vector<KIV_STREAM> streams(kClients);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kClients; ++i) {
    // One after the other: few can wait to be accepted.
    threads.emplace_back(
        [&, i] { successes += use_server(server.number, static_cast<char>(i), blocks, &all_connected); });
    ASSERT_EQ(kiv_socket_accept(&server, &streams[i], nullptr), 0);
    threads.emplace_back(serve, &streams[i]);
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(successes, kClients);
}

}  // namespace
