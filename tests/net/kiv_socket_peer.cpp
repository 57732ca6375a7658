// One of two processes that talk over streams, in every mode, each built for its own system: "serve" prints its port
// and answers, "ask PORT" asks and checks. interop.sh brings two together.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kiv_socket.h"
#include "tests/net/raw_socket.h"

namespace {

constexpr int32_t kSize = 30000;

void require(bool holds, const char *what) {
  if (!holds) kiv_socket_die(what, 1);
}

int32_t next_value(void *context) { return ++*static_cast<int32_t *>(context); }
void add_value(void *context, int32_t value) { *static_cast<int32_t *>(context) += value; }

/// Sends a line and a block, whose chunks bring the values 1, 2, ...
void say(KIV_STREAM *stream, char first) {
  int32_t last = 0;
  std::string block(kSize, '\0');
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(first + i * i / 7);
  kiv_socket_set_get_piggyback_value(stream, next_value, &last);
  require(kiv_socket_write(stream, "a line\n", 7) == 7, "write a line");
  require(kiv_socket_write(stream, block.data(), kSize) == kSize && stream->error == 0, "write a block");
}

/// Hears what say() says.
void hear(KIV_STREAM *stream, char first) {
  int32_t sum = 0;
  char line[16];
  std::string block(kSize, '\0');
  kiv_socket_process_piggybacked_value(stream, add_value, &sum);
  require(kiv_socket_read_line(stream, line, sizeof line) == 6 && std::strcmp(line, "a line") == 0, "read a line");
  require(kiv_socket_read(stream, block.data(), kSize) == kSize, "read a block");
  for (size_t i = 0; i < block.size(); ++i) require(block[i] == static_cast<char>(first + i * i / 7), "what was read");
  // The line, 29 full chunks, the rest.
  require(sum == (stream->secondary_channel != 0 ? 31 * 32 / 2 : 0), "values of the secondary channel");
}

void talk(KIV_STREAM *stream, int mode, bool speaks_first) {
  if ((mode & 1) != 0) kiv_socket_enable_secondary_channel(stream);
  if ((mode & 2) != 0) require(kiv_socket_set_tcp_nodelay(stream) == 0, "no-delay");
  if (speaks_first) say(stream, 'q');
  hear(stream, speaks_first ? 'a' : 'q');
  if (!speaks_first) say(stream, 'a');
  // Whoever spoke first closes; the other sees the connection end.
  if (!speaks_first) require(kiv_socket_read(stream, stream->send_buffer, 1) == 0, "end of the connection");
  require(kiv_close_stream(stream) == 0, "close");
}

}  // namespace

int main(int argc, char **argv) {
  require(kiv_socket_init() == 0, "init");
  const bool serves = argc == 2 && std::strcmp(argv[1], "serve") == 0;
  KIV_SERVER server{};
  if (serves) {
    require(kiv_start_server(&server, 0) == 0, "start");
    std::printf("%d\n", kiv::test::port_of(server.socket));
    std::fflush(stdout);
  }
  for (int mode = 0; mode < 4; ++mode) {
    KIV_STREAM stream;
    if (serves) {
      require(kiv_socket_accept(&server, &stream, nullptr) == 0, "accept");
    } else {
      require(argc == 3, "which port?");
      require(kiv_open_stream(&stream, "127.0.0.1", static_cast<uint16_t>(std::atoi(argv[2]))) == 0, "open");
    }
    talk(&stream, mode, !serves);
  }
  if (serves) require(kiv_stop_server(&server) == 0, "stop");
  return kiv_socket_finalize();
}
