#include "examples/kiv_inspect/server.h"

#include <cstdlib>

#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/reply.h"
#include "examples/kiv_inspect/request_line.h"
#include "examples/kiv_inspect/socket_system.h"

namespace kiv::inspect {
namespace {

/// Reads a line; its size, or 0 when there is no more. A line without its line feed is longer than a request may be.
/// A client may send chunks without anything in them: there is an end to them, too.
int read_request(KIV_STREAM *stream, char (&line)[kRequestSize]) {
  int size = 0;
  for (int reads = 0; reads < kRequestSize && size < kRequestSize; ++reads) {
    size += kiv_socket_terminated_read(stream, line + size, kRequestSize - size, '\n');
    if (stream->error != 0) return 0;
    if (size > 0 && line[size - 1] == '\n') return size;
  }
  return size;
}

}  // namespace

Status socket_failure(const Errors &errors, const Message &message) {
  char *words = kiv_socket_error_message();
  const Status status = words != nullptr ? errors.failure(message, words) : errors.out_of_memory();
  std::free(words);
  return status;
}

Server::~Server() {
  if (is_open_) (void)kiv_stop_server(&server_);
}

Status Server::open(uint16_t port) {
  is_open_ = kiv_start_server(&server_, port) == 0;
  return is_open_ ? Status{} : socket_failure(errors_, "nothing can be served there: [0_s][|]");
}

uint16_t Server::port() const { return port_of(server_); }

void Server::serve(KIV_STREAM *stream) const {
  if (set_up_connection(stream) && set_time_limit(*stream, patience_)) {
    while (answer_request(stream)) {
    }
  }
  (void)kiv_close_stream(stream);
}

/// False when the client has to say no more, or nothing that makes sense.
bool Server::answer_request(KIV_STREAM *stream) const {
  char line[kRequestSize];
  const int size = read_request(stream, line);
  if (size == 0) return false;
  char *words[kMostWords];
  const int count = line[size - 1] == '\n' ? split_request(line, size, words) : -1;
  Reply reply(stream);
  if (count < 0) {
    constexpr char kWords[] = "the request is no line of words, or too long\n";
    reply.err().write(kWords, sizeof kWords - 1);
    reply.end(exit_status(Outcome::wrong_usage));
    return false;
  }
  reply.end(exit_status(handler_.answer(count, words, reply.out(), reply.err())));
  return stream->error == 0;
}

}  // namespace kiv::inspect
