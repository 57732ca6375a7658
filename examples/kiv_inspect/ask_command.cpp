// kiv_inspect ask HOST PORT [REQUEST...]: sends a request to a server, and prints the reply as if the request had been
// run here: both of its outputs and its exit status. While standard error is a terminal, it shows how far a long one
// is. Without a request it takes requests from standard input, a line each, and sends them ahead as far as they are
// there; the exit status is the worst.

#include <algorithm>
#include <optional>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/conversation.h"
#include "examples/kiv_inspect/line_input.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/reply.h"
#include "examples/kiv_inspect/server.h"

namespace kiv::inspect {
namespace {

struct Request {
  uint16_t port;
  int size;  // 0: requests come from standard input
  char line[kRequestSize];
};

std::optional<Request> parse(const Arguments &arguments) {
  Request request = {};
  const uint64_t port = parse_count(arguments.values[1]).value_or(0);
  if (port < 1 || port > UINT16_MAX) return std::nullopt;
  request.port = static_cast<uint16_t>(port);
  if (arguments.count == 2) return request;
  request.size = join_request(1, arguments.count - 2, arguments.values + 2, request.line);
  if (request.size == 0) return std::nullopt;
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

/// The requests of standard input, numbered by their lines.
class InputRequests {
 public:
  explicit InputRequests(const Arguments &arguments)
      : arguments_(arguments), lines_(arguments.errors, arguments.allocator) {}

  bool has_ended() const { return has_ended_; }
  bool is_ready() const { return lines_.is_ready(); }
  int size() const { return size_; }  // of the request at hand; 0: there is none
  Outcome worst() const { return worst_; }

  /// Goes on by a line, which may be none. What is too long for a request is told.
  Status read() {
    const char *words = lines_.next();
    if (words == nullptr) {
      bool any = false;
      const Status status = lines_.fill(&any);
      has_ended_ = !any;
      return status;
    }
    if (*words == '\0') return {};
    size_ = number_request(lines_.number(), words, line_);
    if (size_ != 0) return {};
    worst_ = Outcome::refused;
    return Output(arguments_.err, arguments_.errors, arguments_.allocator)
        .line("line [0_u64] is too long for a request[|]", lines_.number());
  }

  Status send_to(Conversation &conversation) {
    const int size = size_;
    size_ = 0;
    return conversation.send(lines_.number(), line_, size);
  }

 private:
  const Arguments &arguments_;
  LineInput lines_;
  bool has_ended_ = false;
  int size_ = 0;
  Outcome worst_ = Outcome::done;
  char line_[kRequestSize];
};

/// Reads ahead what is there, but waits for replies rather than for input: whoever writes the requests may be waiting
/// for a reply, too.
Status converse(const Arguments &arguments, Conversation &conversation, InputRequests &requests) {
  Status status;
  while (status.ok() && !arguments.out.has_failed()) {
    if (!conversation.is_waiting()) (void)arguments.out.flush();
    if (requests.size() > 0 && conversation.has_room(requests.size())) {
      status = requests.send_to(conversation);
    } else if (requests.size() == 0 && !requests.has_ended() && (!conversation.is_waiting() || requests.is_ready())) {
      status = requests.read();
    } else if (conversation.is_waiting()) {
      status = conversation.receive();
    } else {
      break;
    }
  }
  return status;
}

Status ask(const Arguments &arguments, const Request &request, KIV_STREAM *stream, Outcome *outcome) {
  Conversation conversation(arguments, stream);
  Output output(arguments.out, arguments.errors, arguments.allocator);
  Status status = conversation.greet();
  if (request.size == 0) {
    InputRequests requests(arguments);
    if (status.ok()) status = converse(arguments, conversation, requests);
    *outcome = std::max(conversation.worst(), requests.worst());
  } else {
    if (status.ok()) status = conversation.send(1, request.line, request.size);
    while (status.ok() && conversation.is_waiting() && !output.has_failed()) status = conversation.receive();
    *outcome = conversation.worst();
  }
  return status.ok() ? output.finish() : status;
}

Status connect_and_ask(const Arguments &arguments, const Request &request, Outcome *outcome) {
  const Errors &errors = arguments.errors;
  KIV_STREAM stream;
  if (kiv_open_stream(&stream, arguments.values[0], request.port) != 0) {
    return socket_failure(errors, {"there is no connection: [0_s][|]", U"Is there a server, and is it at that port?"});
  }
  const Status status = set_up_connection(&stream) ? ask(arguments, request, &stream, outcome)
                                                   : errors.failure("the connection cannot be set up[|]");
  (void)kiv_close_stream(&stream);
  return status;
}

}  // namespace

Outcome run_ask(Arguments arguments) {
  const auto request = parse(arguments);
  if (!request) return Outcome::wrong_usage;
  Outcome outcome = Outcome::done;
  Status status =
      kiv_socket_init() == 0 ? Status{} : socket_failure(arguments.errors, "there are no sockets: [0_s][|]");
  if (status.ok()) {
    status = connect_and_ask(arguments, *request, &outcome);
    (void)kiv_socket_finalize();
  }
  if (status.ok()) return outcome;
  return std::max(outcome, fail(arguments, status, "the server at \"[0_S]\" cannot be asked[|]"));
}

}  // namespace kiv::inspect
