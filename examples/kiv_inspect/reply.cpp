#include "examples/kiv_inspect/reply.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace kiv::inspect {
namespace {

int32_t get_progress(void *context) { return *static_cast<const int32_t *>(context); }

}  // namespace

bool set_up_connection(KIV_STREAM *stream) {
  kiv_socket_enable_secondary_channel(stream);
  return kiv_socket_set_tcp_nodelay(stream) == 0;
}

Reply::Reply(KIV_STREAM *stream, uint64_t number) : stream_(stream) {
  number_size_ = static_cast<size_t>(std::snprintf(number_, sizeof number_, "%" PRIu64 " ", number));
  kiv_socket_set_get_piggyback_value(stream, get_progress, &progress_);
}

Reply::~Reply() { kiv_socket_set_get_piggyback_value(stream_, nullptr, nullptr); }

void Reply::end(int status) {
  progress_ = kMostProgress;
  char text[16];
  (void)std::snprintf(text, sizeof text, "%d", status);
  send_line(kReplyEnd, text);
}

void Reply::send_line(char letter, const char *text) {
  begin_line(letter);
  send(text, std::strlen(text));
  send("\n", 1);
  (void)kiv_socket_flush(stream_);
}

void Reply::begin_line(char letter) {
  send(number_, number_size_);
  send(&letter, 1);
}

void Reply::send(const char *bytes, size_t size) {
  constexpr size_t kMost = 1 << 30;
  for (size_t part; size > 0; bytes += part, size -= part) {
    part = std::min(size, kMost);
    (void)kiv_socket_buffered_write(stream_, bytes, static_cast<int32_t>(part));
  }
}

void Reply::LineSink::write(const char *text, size_t size) {
  while (size > 0) {
    if (!in_line_) reply_.begin_line(letter_);
    const auto *feed = static_cast<const char *>(std::memchr(text, '\n', size));
    const size_t length = feed != nullptr ? static_cast<size_t>(feed - text) + 1 : size;
    reply_.send(text, length);
    in_line_ = feed == nullptr;
    text += length;
    size -= length;
  }
}

void Reply::LineSink::progress(uint64_t done, uint64_t total) {
  const double part = static_cast<double>(done) / static_cast<double>(total);
  reply_.progress_ = 1 + static_cast<int32_t>((kMostProgress - 1) * std::min(part, 1.0));
}

}  // namespace kiv::inspect
