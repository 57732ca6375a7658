// Streams beside plain send and recv over the same kind of connection, on the loopback, two threads: what framing,
// buffering and acknowledgements cost. Times are of the clock on the wall: most of the work is the system's.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "kiv_socket.h"

using kiv::bench::name;
using kiv::bench::require;

namespace {

constexpr size_t kNoDelaySize = 64 << 20;
constexpr size_t kAcknowledgedSize = 16 << 20;
constexpr size_t kRequest = 16;
constexpr size_t kRequestChunk = kRequest + 5;  // with its header
constexpr int kRounds = 5000;
constexpr int kConnections = 500;

class WallClock {
 public:
  double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start_ = Clock::now();
};

struct Server : KIV_SERVER {
  Server() {
    require(kiv_start_server(this, 0) == 0, "server", "start");
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(static_cast<int>(socket), reinterpret_cast<sockaddr *>(&address), &size);
    number = ntohs(address.sin_port);
  }
  ~Server() { kiv_stop_server(this); }
  uint16_t number = 0;
};

/// Both ends of a connection: all contestants use the same.
struct Connection {
  explicit Connection(bool no_delay) {
    const Server server;
    require(kiv_open_stream(&client, "127.0.0.1", server.number) == 0, "connection", "open");
    require(kiv_socket_accept(&server, &accepted, nullptr) == 0, "connection", "accept");
    if (!no_delay) return;
    require(kiv_socket_set_tcp_nodelay(&client) + kiv_socket_set_tcp_nodelay(&accepted) == 0, "connection", "no-delay");
  }
  Connection(const Connection &) = delete;
  ~Connection() {
    kiv_close_stream(&client);
    kiv_close_stream(&accepted);
  }

  KIV_STREAM client, accepted;
};

void send_all(const KIV_STREAM *stream, const char *bytes, size_t n) {
  for (size_t sent = 0; sent < n;) {
    const ssize_t more = send(static_cast<int>(stream->socket), bytes + sent, n - sent, MSG_NOSIGNAL);
    require(more > 0, "plain", "send");
    sent += static_cast<size_t>(more);
  }
}

void receive_all(const KIV_STREAM *stream, char *bytes, size_t n) {
  for (size_t received = 0; received < n;) {
    const ssize_t more = recv(static_cast<int>(stream->socket), bytes + received, n - received, 0);
    require(more > 0, "plain", "recv");
    received += static_cast<size_t>(more);
  }
}

struct Ours {
  static constexpr const char *kName = "ours";
  static void write(KIV_STREAM *stream, const char *bytes, size_t n) {
    const auto count = static_cast<int32_t>(n);
    require(kiv_socket_write(stream, bytes, count) == count && stream->error == 0, kName, "write");
  }
  static void read(KIV_STREAM *stream, char *bytes, size_t n) {
    const auto count = static_cast<int32_t>(n);
    require(kiv_socket_read(stream, bytes, count) == count, kName, "read");
  }
};

/// A send and a receive for each `size` bytes; with kAnswers each receive is answered by three bytes, which the sender
/// waits for unless they are the last.
template <size_t kSize, bool kAnswers>
struct Plain {
  static constexpr const char *kName = kSize == 1024 ? "send+recv" : "hand";
  static void write(KIV_STREAM *stream, const char *bytes, size_t n) {
    char answer[3];
    for (size_t at = 0; at < n; at += kSize) {
      send_all(stream, bytes + at, std::min(kSize, n - at));
      if (kAnswers && at + kSize < n) receive_all(stream, answer, sizeof answer);
    }
  }
  static void read(KIV_STREAM *stream, char *bytes, size_t n) {
    for (size_t at = 0; at < n; at += kSize) {
      receive_all(stream, bytes + at, std::min(kSize, n - at));
      if (kAnswers && at + kSize < n) send_all(stream, "ACK", 3);
    }
  }
};

/// A request and its reply have no header here, but its length.
struct PlainRequest {
  static constexpr const char *kName = "send+recv";
  static void write(KIV_STREAM *stream, const char *bytes, size_t) { send_all(stream, bytes, kRequestChunk); }
  static void read(KIV_STREAM *stream, char *bytes, size_t) { receive_all(stream, bytes, kRequestChunk); }
};

template <class Contestant>
double time_transfer(bool no_delay, size_t size) {
  std::string out(size, '\0'), in(size, '\0');
  for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>(i * i / 5);
  Connection connection(no_delay);
  const WallClock clock;
  std::thread writer([&] { Contestant::write(&connection.client, out.data(), size); });
  Contestant::read(&connection.accepted, in.data(), size);
  const double seconds = clock.seconds();
  writer.join();
  require(in == out, Contestant::kName, "transfer");
  return seconds;
}

template <class Contestant>
double time_requests() {
  Connection connection(true);
  std::thread server([&] {
    char request[kRequestChunk];
    for (int i = 0; i < kRounds; ++i) {
      Contestant::read(&connection.accepted, request, kRequest);
      ++request[kRequest - 1];
      Contestant::write(&connection.accepted, request, kRequest);
    }
  });
  char request[kRequestChunk] = "fifteen letters";
  const WallClock clock;
  for (int i = 0; i < kRounds; ++i) {
    Contestant::write(&connection.client, request, kRequest);
    Contestant::read(&connection.client, request, kRequest);
  }
  const double seconds = clock.seconds();
  server.join();
  require(request[kRequest - 1] == static_cast<char>(kRounds), Contestant::kName, "requests");
  return seconds;
}

double time_our_connections() {
  const Server server;
  const WallClock clock;
  for (int i = 0; i < kConnections; ++i) {
    KIV_STREAM client, accepted;
    require(kiv_open_stream(&client, "127.0.0.1", server.number) == 0, "ours", "open");
    require(kiv_socket_accept(&server, &accepted, nullptr) == 0, "ours", "accept");
    require(kiv_close_stream(&client) + kiv_close_stream(&accepted) == 0, "ours", "close");
  }
  return clock.seconds();
}

double time_plain_connections() {
  const Server server;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(server.number);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const WallClock clock;
  for (int i = 0; i < kConnections; ++i) {
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    require(connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0, "plain", "connect");
    const int accepted = accept(static_cast<int>(server.socket), nullptr, nullptr);
    require(accepted >= 0 && close(client) + close(accepted) == 0, "plain", "accept and close");
  }
  return clock.seconds();
}

/// One large write. Figures are for a KiB.
template <class Contestant>
void add_transfer(const char *operation, bool no_delay, size_t size) {
  kiv::bench::add(name("socket", operation, 1024, Contestant::kName), 1, size / 1024,
                  [=] { return time_transfer<Contestant>(no_delay, size); });
}

template <class Contestant>
void add_requests() {
  kiv::bench::add(name("socket", "request+reply", kRequest, Contestant::kName), 1, kRounds, time_requests<Contestant>);
}

}  // namespace

int main(int argc, char **argv) {
  require(kiv_socket_init() == 0, "ours", "init");
  add_transfer<Ours>("no-delay", true, kNoDelaySize);
  add_transfer<Plain<1024, false>>("no-delay", true, kNoDelaySize);
  add_transfer<Plain<65536, false>>("no-delay", true, kNoDelaySize);
  add_transfer<Ours>("acknowledged", false, kAcknowledgedSize);
  add_transfer<Plain<1024, true>>("acknowledged", false, kAcknowledgedSize);
  add_requests<Ours>();
  add_requests<PlainRequest>();
  kiv::bench::add(name("socket", "connect", 1, "ours"), 1, kConnections, time_our_connections);
  kiv::bench::add(name("socket", "connect", 1, "send+recv"), 1, kConnections, time_plain_connections);
  return kiv::bench::run(argc, argv);
}
