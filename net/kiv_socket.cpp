// Setting up: the process's sockets, the server, connections and their options.

#include "kiv_socket.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/record_layout.h"
#include "os/platform.h"
#include "os/socket.h"

namespace os = kiv::os;

KIV_LAYOUT_32(sizeof(KIV_SERVER) == 8 && offsetof(KIV_SERVER, port) == 4);
KIV_LAYOUT_32(offsetof(KIV_STREAM, is_open) == 4 && offsetof(KIV_STREAM, error) == 8);
KIV_LAYOUT_32(offsetof(KIV_STREAM, receive_fill) == 12 && offsetof(KIV_STREAM, receive_position) == 16);
KIV_LAYOUT_32(offsetof(KIV_STREAM, chunk_remaining) == 20 && offsetof(KIV_STREAM, acknowledgement_owed) == 24);
KIV_LAYOUT_32(offsetof(KIV_STREAM, send_fill) == 28 && offsetof(KIV_STREAM, no_delay) == 32);
KIV_LAYOUT_32(offsetof(KIV_STREAM, secondary_channel) == 36 && offsetof(KIV_STREAM, get_piggyback) == 40);
KIV_LAYOUT_32(offsetof(KIV_STREAM, get_piggyback_context) == 44 && offsetof(KIV_STREAM, process_piggyback) == 48);
KIV_LAYOUT_32(offsetof(KIV_STREAM, process_piggyback_context) == 52 && offsetof(KIV_STREAM, receive_buffer) == 56);
KIV_LAYOUT_32(offsetof(KIV_STREAM, header_room) == 1086 && offsetof(KIV_STREAM, send_buffer) == 1092);
KIV_LAYOUT_32(sizeof(KIV_STREAM) == 2116);

namespace kiv {
namespace {

/// The socket message buffer. One for the process, unlocked.
char socket_message[1024];

constexpr int kBacklog = 5;
constexpr size_t kNameSize = 256;

/// Stores "WHAT NUMBER". 1, the status of what has failed.
int set_up_failed(const char *what, int number) {
  std::snprintf(socket_message, sizeof socket_message, "%s %d", what, number);
  return 1;
}
int set_up_failed(const char *what) { return set_up_failed(what, os::socket_last_error()); }

int server_failed(KIV_SERVER *server, const char *what) {
  set_up_failed(what);  // first: closing has an error number of its own
  os::socket_close(server->socket);
  server->socket = os::kNoSocket;
  return 1;
}

void print_peer(char *text, os::Endpoint peer) {
  char name[kNameSize];
  static_assert(sizeof name + sizeof ":65535" - 1 == KIV_SOCKET_PEER_SIZE);
  if (os::host_name(peer.address, name, sizeof name)) {
    std::snprintf(text, KIV_SOCKET_PEER_SIZE, "%s:%d", name, peer.port);
  } else {
    const uint8_t *bytes = peer.address.bytes;
    std::snprintf(text, KIV_SOCKET_PEER_SIZE, "%03d.%03d.%03d.%03d:%d", bytes[0], bytes[1], bytes[2], bytes[3],
                  peer.port);
  }
}

}  // namespace
}  // namespace kiv

int kiv_socket_init(void) { return os::sockets_start() ? 0 : kiv::set_up_failed("Error WSAStartup"); }

int kiv_socket_finalize(void) {
  os::sockets_stop();
  return 0;
}

char *kiv_socket_error_message(void) {
  const size_t size = strnlen(kiv::socket_message, sizeof kiv::socket_message - 1) + 1;
  auto *copy = static_cast<char *>(os::heap_alloc(size));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, kiv::socket_message, size);
  copy[size - 1] = '\0';
  return copy;
}

void kiv_socket_die(const char *text, int exit_code) {
  os::sockets_stop();
  std::printf("%s: %s\n", text, kiv::socket_message);
  std::exit(exit_code);
}

int kiv_get_host_ip_address(char *buffer, int32_t size) {
  char name[kiv::kNameSize - 1];
  os::IPv4Address address{};
  if (buffer == nullptr || !os::this_host_name(name, sizeof name) || !os::host_address(name, &address)) return 1;
  char text[sizeof "255.255.255.255"];
  const uint8_t *bytes = address.bytes;
  const int length = std::snprintf(text, sizeof text, "%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
  if (length >= size) return 1;
  std::memcpy(buffer, text, static_cast<size_t>(length) + 1);
  return 0;
}

int kiv_start_server(KIV_SERVER *server, uint16_t port) {
  int protocol = 0;
  server->socket = os::kNoSocket;
  server->port = port;
  if (!os::tcp_protocol(&protocol)) return kiv::set_up_failed("getprotobyname(\"tcp\")");
  server->socket = os::socket_create(protocol);
  if (server->socket == os::kNoSocket) return kiv::set_up_failed("socket()");
  if (!os::socket_bind(server->socket, port)) return kiv::server_failed(server, "bind()");
  if (!os::socket_listen(server->socket, kiv::kBacklog)) return kiv::server_failed(server, "listen()");
  return 0;
}

int kiv_stop_server(KIV_SERVER *server) {
  // Another socket may get the number; a second call must not close that.
  const os::Socket socket = server->socket;
  server->socket = os::kNoSocket;
  return os::socket_close(socket);
}

int kiv_socket_accept(const KIV_SERVER *server, KIV_STREAM *stream, char *peer) {
  os::Endpoint client{};
  kiv_init_stream(stream);
  stream->socket = os::socket_accept(server->socket, &client);
  if (stream->socket == os::kNoSocket) return 1;
  if (peer != nullptr) kiv::print_peer(peer, client);
  stream->is_open = 1;
  return 0;
}

KIV_STREAM *kiv_init_stream(KIV_STREAM *stream) {
  constexpr size_t kBegin = offsetof(KIV_STREAM, is_open);
  std::memset(reinterpret_cast<char *>(stream) + kBegin, 0, offsetof(KIV_STREAM, receive_buffer) - kBegin);
  return stream;
}

int kiv_open_stream(KIV_STREAM *stream, const char *host, uint16_t port) {
  int protocol = 0;
  kiv_init_stream(stream);
  stream->socket = os::kNoSocket;
  if (!os::tcp_protocol(&protocol)) return kiv::set_up_failed("Error getprotobyname(tcp)");
  stream->socket = os::socket_create(protocol);
  if (stream->socket == os::kNoSocket) return kiv::set_up_failed("Error socket", static_cast<int>(stream->socket));
  // From here on a failure leaves the socket open: callers look at it, and close it themselves.
  os::Endpoint server{{}, port};
  // An empty name would be this host to some resolvers.
  if (host == nullptr || *host == '\0' || !os::host_address(host, &server.address)) {
    std::snprintf(kiv::socket_message, sizeof kiv::socket_message, "gethostbyname");
    return 1;
  }
  if (!os::socket_connect(stream->socket, server)) return kiv::set_up_failed("Connect");
  stream->is_open = 1;
  return 0;
}

int kiv_close_stream(KIV_STREAM *stream) {
  if (stream->is_open == 0) return 0;
  stream->is_open = 0;
  return os::socket_close(stream->socket);
}

int kiv_socket_set_tcp_nodelay(KIV_STREAM *stream) {
  if (stream->is_open == 0 || !os::socket_set_no_delay(stream->socket)) return 1;
  stream->no_delay = 1;
  return 0;
}

void kiv_socket_enable_secondary_channel(KIV_STREAM *stream) { stream->secondary_channel = 1; }

void kiv_socket_set_get_piggyback_value(KIV_STREAM *stream, KIV_PIGGYBACK_GETTER getter, void *context) {
  stream->get_piggyback = getter;
  stream->get_piggyback_context = context;
}

void kiv_socket_process_piggybacked_value(KIV_STREAM *stream, KIV_PIGGYBACK_PROCESSOR processor, void *context) {
  stream->process_piggyback = processor;
  stream->process_piggyback_context = context;
}
