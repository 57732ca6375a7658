#include "examples/kiv_inspect/server.h"

#include <cstdlib>
#include <cstring>
#include <optional>

#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/reply.h"
#include "examples/kiv_inspect/request_line.h"
#include "examples/kiv_inspect/socket_system.h"
#include "examples/kiv_inspect/version_id.h"

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

bool refuse(KIV_STREAM *stream, uint64_t number, const char *words) {
  Reply reply(stream, number);
  reply.err().write(words, std::strlen(words));
  reply.end(exit_status(Outcome::wrong_usage));
  return stream->error == 0;
}

/// Reads a request, and its number. False when there is none that makes sense, about which the client is then told.
bool read_numbered(KIV_STREAM *stream, char (&line)[kRequestSize], int *size, uint64_t *number) {
  *size = read_request(stream, line);
  if (*size == 0) return false;
  const auto found = line[*size - 1] == '\n' ? take_request_number(line, size) : std::nullopt;
  if (!found) return (void)refuse(stream, 0, "the request has no number, or is too long\n"), false;
  *number = *found;
  return true;
}

/// The beginning of a conversation. False when the two ends do not understand each other.
bool greet(KIV_STREAM *stream) {
  char line[kRequestSize];
  char *words[kMostWords];
  int size;
  uint64_t number;
  if (!read_numbered(stream, line, &size, &number)) return false;
  const bool is_greeting =
      number == 0 && split_request(line, size, words) == 2 && std::strcmp(words[0], kProtocol) == 0;
  const auto version = is_greeting ? parse_version(words[1]) : std::nullopt;
  if (!version) return (void)refuse(stream, 0, "the client does not tell the version of its protocol\n"), false;
  Reply(stream, 0).send_line(kVersionLine, VersionText(kProtocolVersion).text);
  return are_compatible(kProtocolVersion, *version) && stream->error == 0;
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
  if (set_up_connection(stream) && set_time_limit(*stream, patience_) && greet(stream)) {
    while (answer_request(stream)) {
    }
  }
  (void)kiv_close_stream(stream);
}

/// False when the client has to say no more, or nothing that makes sense.
bool Server::answer_request(KIV_STREAM *stream) const {
  char line[kRequestSize];
  char *words[kMostWords];
  int size;
  uint64_t number;
  if (!read_numbered(stream, line, &size, &number)) return false;
  if (number == 0) return (void)refuse(stream, 0, "number 0 is for no request\n"), false;
  const int count = split_request(line, size, words);
  if (count < 0) return refuse(stream, number, "the request is no line of words\n");
  Reply reply(stream, number);
  reply.end(exit_status(handler_.answer(count, words, reply.out(), reply.err())));
  return stream->error == 0;
}

}  // namespace kiv::inspect
