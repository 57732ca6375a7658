#include "examples/kiv_inspect/conversation.h"

#include <algorithm>
#include <cstdio>

#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/reply.h"
#include "examples/kiv_inspect/version_id.h"

namespace kiv::inspect {
namespace {

constexpr char kNonsense[] = "the reply makes no sense[|]";

uint32_t low_word(uint64_t number) { return static_cast<uint32_t>(number); }
uint32_t high_word(uint64_t number) { return static_cast<uint32_t>(number >> 32); }

}  // namespace

/// A line as a message: the third and fourth word are its key.
struct Conversation::Line {
  uint32_t letter;
  uint32_t unused;
  uint32_t number_low, number_high;
};

Conversation::Conversation(const Arguments &arguments, KIV_STREAM *stream)
    : arguments_(arguments),
      stream_(stream),
      handlers_(kiv_msg_handler_list_new(arguments.allocator)),
      reader_(stream, arguments.errors, arguments.allocator),
      bar_(arguments.err, is_terminal(stderr)),
      is_out_terminal_(is_terminal(stdout)) {
  kiv_socket_process_piggybacked_value(stream, take_progress, this);
}

Conversation::~Conversation() {
  kiv_socket_process_piggybacked_value(stream_, nullptr, nullptr);
  kiv_msg_handler_list_del(handlers_);
}

Status Conversation::greet() {
  const VersionText version(kProtocolVersion);
  const char *words[] = {kProtocol, version.text};
  char line[kRequestSize];
  Status status = add_handler(0, take_version, 0, false);
  if (status.ok()) status = write(line, join_request(0, 2, words, line));
  if (status.ok()) status = receive();
  return status.ok() ? add_handler(0, take_notice, 0, true) : status;
}

Status Conversation::send(uint64_t number, const char *line, int size) {
  const Status status = add_handler(number, take_reply, size, true);
  if (!status.ok()) return status;
  bytes_ahead_ += size;
  return write(line, size);
}

Status Conversation::receive() {
  const Status status = reader_.read();
  if (!status.ok()) return status;
  const uint64_t number = reader_.number();
  Line line = {static_cast<uint32_t>(reader_.letter()), 0, low_word(number), high_word(number)};
  // The line that ends a reply is the last one for its handler.
  if (reader_.letter() == kReplyEnd) {
    (void)kiv_msg_handler_set_remove(handlers_, line.number_low, line.number_high, 1);
  }
  status_ = {};
  if (kiv_msg_handler_invoke_callback(handlers_, &line) != 0) {
    return arguments_.errors.failure("a reply came for request [0_u64], which is not under way[|]", number);
  }
  return status_;
}

Status Conversation::add_handler(uint64_t number, KIV_MSG_CALLBACK callback, int size, bool stays) {
  void *const bytes = reinterpret_cast<void *>(static_cast<uintptr_t>(size));
  if (kiv_msg_handler_add(handlers_, low_word(number), high_word(number), callback, this, bytes) != 0) {
    return arguments_.errors.out_of_memory();
  }
  if (stays) (void)kiv_msg_handler_set_remove(handlers_, low_word(number), high_word(number), 0);
  return {};
}

Status Conversation::write(const char *line, int size) {
  return kiv_socket_write(stream_, line, size) == size ? Status{}
                                                       : arguments_.errors.failure("the request cannot be sent[|]");
}

Status Conversation::print(Sink &sink, bool is_terminal) {
  if (is_terminal) bar_.hide();
  return reader_.print(sink);
}

void Conversation::take_version(void *line, void *conversation, void *) {
  auto &its = *static_cast<Conversation *>(conversation);
  const Errors &errors = its.arguments_.errors;
  const bool is_version = static_cast<Line *>(line)->letter == kVersionLine;
  const auto version = is_version ? parse_version(its.reader_.text()) : std::nullopt;
  if (!version) {
    its.status_ = errors.failure("the server does not tell the version of its protocol[|]");
    return;
  }
  if (are_compatible(kProtocolVersion, *version)) return;
  const VersionText ours(kProtocolVersion), theirs(*version);
  const int32_t order = compare(kProtocolVersion, *version);
  its.status_ = order == KIV_SCCS_UNRELATED
                    ? errors.failure({"its protocol [0_s] has gone another way than [1_s], which is spoken here[|]"},
                                     theirs.text, ours.text)
                : order < 0 ? errors.failure({"its protocol [0_s] is newer than [1_s], which is spoken here[|]",
                                              U"Is there a newer kiv_inspect?"},
                                             theirs.text, ours.text)
                            : errors.failure({"its protocol [0_s] is older than [1_s], which is spoken here[|]",
                                              U"Is there a newer kiv_inspect at the server?"},
                                             theirs.text, ours.text);
}

/// What is about no request in particular is the end of the conversation.
void Conversation::take_notice(void *line, void *conversation, void *) {
  auto &its = *static_cast<Conversation *>(conversation);
  const uint32_t letter = static_cast<Line *>(line)->letter;
  if (letter == kErrorLine) {
    (void)its.arguments_.out.flush();
    its.status_ = its.print(its.arguments_.err, true);
  } else {
    its.status_ =
        its.arguments_.errors.failure(letter == kReplyEnd ? "the server has ended the conversation[|]" : kNonsense);
  }
}

void Conversation::take_reply(void *line, void *conversation, void *size) {
  auto &its = *static_cast<Conversation *>(conversation);
  const uint32_t letter = static_cast<Line *>(line)->letter;
  if (letter == kOutputLine) {
    its.status_ = its.print(its.arguments_.out, its.is_out_terminal_);
  } else if (letter == kErrorLine) {
    (void)its.arguments_.out.flush();
    its.status_ = its.print(its.arguments_.err, true);
  } else {
    const uint64_t exit_status = letter == kReplyEnd ? parse_decimal(its.reader_.text()).value_or(3) : 3;
    if (exit_status > 2) {
      its.status_ = its.arguments_.errors.failure(kNonsense);
      return;
    }
    its.bar_.hide();
    its.bytes_ahead_ -= static_cast<int>(reinterpret_cast<uintptr_t>(size));
    constexpr Outcome kOutcomes[] = {Outcome::done, Outcome::failed, Outcome::refused};
    its.worst_ = std::max(its.worst_, kOutcomes[exit_status]);
  }
}

void Conversation::take_progress(void *conversation, int32_t value) {
  // A reply that comes in one piece is no long one: its end is the first that is heard of it.
  if (value >= kMostProgress) return;
  static_cast<Conversation *>(conversation)->bar_.show((value - 1) * 100 / (kMostProgress - 1));
}

}  // namespace kiv::inspect
