// kiv_inspect ask HOST PORT REQUEST...: sends a request to a server, and prints the reply as if the request had been
// run here: both of its outputs and its exit status. While standard error is a terminal, it shows how far a long one
// is.

#include <cstdio>
#include <optional>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/progress_bar.h"
#include "examples/kiv_inspect/reply.h"
#include "examples/kiv_inspect/reply_reader.h"
#include "examples/kiv_inspect/request_line.h"
#include "examples/kiv_inspect/server.h"

namespace kiv::inspect {
namespace {

struct Request {
  uint16_t port;
  int size;
  char line[kRequestSize];
};

std::optional<Request> parse(const Arguments &arguments) {
  Request request;
  const uint64_t port = parse_count(arguments.values[1]).value_or(0);
  request.size = join_request(arguments.count - 2, arguments.values + 2, request.line);
  if (port < 1 || port > UINT16_MAX || request.size == 0) return std::nullopt;
  request.port = static_cast<uint16_t>(port);
  return request;
}

/// The end of a conversation that did not get to its own. The message's argument [0_S] is the host.
Outcome fail(const Arguments &arguments, Status status, const Message &message) {
  NameText text(arguments.allocator);
  const KIV_UNICHAR *host = text.decode(arguments.values[0]);
  (void)arguments.out.flush();
  print_error(host != nullptr ? arguments.errors.add(status, message, host) : arguments.errors.out_of_memory(),
              arguments.err);
  return Outcome::failed;
}

void take_progress(void *context, int32_t value) {
  // A reply that comes in one piece is no long one: its end is the first that is heard of it.
  if (value < kMostProgress) static_cast<ProgressBar *>(context)->show((value - 1) * 100 / (kMostProgress - 1));
}

Status print_line(ReplyReader &reader, Sink &sink, bool is_on_terminal, ProgressBar &bar) {
  if (is_on_terminal) bar.hide();
  return reader.print(sink);
}

/// Prints lines up to the end of the reply, and gives what it tells.
Status print_reply(const Arguments &arguments, KIV_STREAM *stream, Outcome *outcome) {
  const Errors &errors = arguments.errors;
  ProgressBar bar(arguments.err, is_terminal(stderr));
  kiv_socket_process_piggybacked_value(stream, take_progress, &bar);
  const bool is_out_terminal = is_terminal(stdout);
  ReplyReader reader(stream, errors, arguments.allocator);
  Output output(arguments.out, errors, arguments.allocator);
  Status status = reader.read();
  while (status.ok() && reader.letter() != kReplyEnd && !output.has_failed()) {
    if (reader.letter() == kOutputLine) {
      status = print_line(reader, arguments.out, is_out_terminal, bar);
    } else if (reader.letter() == kErrorLine) {
      (void)arguments.out.flush();
      status = print_line(reader, arguments.err, true, bar);
    } else {
      status = errors.failure("the reply makes no sense[|]");
    }
    if (status.ok()) status = reader.read();
  }
  kiv_socket_process_piggybacked_value(stream, nullptr, nullptr);
  if (status.ok()) status = output.finish();
  if (!status.ok()) return status;
  constexpr Outcome kOutcomes[] = {Outcome::done, Outcome::failed, Outcome::refused};
  const uint64_t end = parse_count(reader.text()).value_or(3);
  if (end > 2) return errors.failure("the reply makes no sense[|]");
  *outcome = kOutcomes[end];
  return {};
}

Status ask(const Arguments &arguments, const Request &request, Outcome *outcome) {
  const Errors &errors = arguments.errors;
  KIV_STREAM stream;
  if (kiv_open_stream(&stream, arguments.values[0], request.port) != 0) {
    return socket_failure(errors, {"there is no connection: [0_s][|]", U"Is there a server, and is it at that port?"});
  }
  Status status;
  if (!set_up_connection(&stream) || kiv_socket_write(&stream, request.line, request.size) != request.size) {
    status = errors.failure("the request cannot be sent[|]");
  }
  if (status.ok()) status = print_reply(arguments, &stream, outcome);
  (void)kiv_close_stream(&stream);
  return status;
}

}  // namespace

Outcome run_ask(Arguments arguments) {
  const auto request = parse(arguments);
  if (!request) return Outcome::wrong_usage;
  Outcome outcome = Outcome::failed;
  Status status =
      kiv_socket_init() == 0 ? Status{} : socket_failure(arguments.errors, "there are no sockets: [0_s][|]");
  if (status.ok()) {
    status = ask(arguments, *request, &outcome);
    (void)kiv_socket_finalize();
  }
  return status.ok() ? outcome : fail(arguments, status, "the server at \"[0_S]\" cannot be asked[|]");
}

}  // namespace kiv::inspect
