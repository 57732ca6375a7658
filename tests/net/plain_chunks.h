// The stream's wire format once more, written from its table without the library, on strings: both sides of a peer, and
// what the reads of a stream must give for any bytes. In one source file of a program, as scripted_connection.h.
#ifndef KIV_TESTS_NET_PLAIN_CHUNKS_H
#define KIV_TESTS_NET_PLAIN_CHUNKS_H

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>

#include "tests/net/scripted_connection.h"
#include "tests/support/random.h"

namespace kiv::test {

/// The piggyback character of an empty text stands for a stream without secondary channel.
inline std::string chunk(const std::string &piggyback, char type, const std::string &payload) {
  char count[16] = "";
  const size_t length = piggyback.size() + 1 + 4 + payload.size();
  if (type == '*') std::snprintf(count, sizeof count, "%04d", static_cast<int>(length));
  return piggyback + type + count + payload;
}

/// What a writer sends.
class PlainWriter {
 public:
  explicit PlainWriter(const std::string &piggyback) : piggyback_(piggyback) {}

  void write(const std::string &bytes) {
    buffer_ += bytes;
    for (; buffer_.size() > capacity(); buffer_.erase(0, capacity())) {
      wire += chunk(piggyback_, '+', buffer_.substr(0, capacity()));
    }
  }
  void flush() {
    if (buffer_.empty()) return;
    const size_t length = piggyback_.size() + 1 + buffer_.size();
    wire += chunk(piggyback_, length <= 1015 ? '*' : static_cast<char>('0' + (length - 1015)), buffer_);
    buffer_.clear();
  }

  std::string wire;

 private:
  size_t capacity() const { return 1023 - piggyback_.size(); }

  std::string piggyback_;
  std::string buffer_;
};

/// What a reader gets out of a connection that ends behind the incoming bytes.
class PlainReader {
 public:
  PlainReader(const ScriptedConnection &script, bool secondary)
      : wire_(script.incoming), base_(secondary ? 2 : 1), most_acknowledgements_(script.send_limit / 3) {}

  std::string read(size_t n, int terminator = -1) {
    std::string out;
    while (!error && out.size() < n) {
      if (remaining_ == 0 && !header()) return "";
      if (remaining_ == 0 || at_ == wire_.size()) break;
      out += wire_[at_++];
      --remaining_;
      if (static_cast<unsigned char>(out.back()) == terminator) break;
    }
    return out;
  }

  bool error = false;
  std::string piggybacked;  // the characters that stand for values from 1 to 61
  size_t acknowledgements = 0;

 private:
  bool header() {
    error = true;
    if (std::exchange(owes_, false) && ++acknowledgements > most_acknowledgements_) return false;
    if (wire_.size() - at_ < base_) return false;
    const char character = wire_[at_], type = wire_[at_ + base_ - 1];
    at_ += base_;
    if (base_ == 2 && character != '0' && std::isalnum(static_cast<unsigned char>(character))) piggybacked += character;
    if (type == '+') {
      remaining_ = 1024 - base_;
      owes_ = true;
    } else if (type >= '0' && type <= '9') {
      remaining_ = 1015 + static_cast<size_t>(type - '0') - base_;
    } else {
      const std::string count = wire_.substr(at_, 4);
      if (type != '*' || count.size() < 4 || count.find_first_not_of("0123456789") != std::string::npos) return false;
      const size_t total = std::stoul(count);
      if (total < base_ + 4) return false;
      at_ += 4;
      remaining_ = total - base_ - 4;
    }
    error = false;
    return true;
  }

  std::string wire_;
  size_t base_, most_acknowledgements_;
  size_t at_ = 0, remaining_ = 0;
  bool owes_ = false;
};

/// The most that one call of the following function reads.
inline constexpr size_t kMostRead = 3000;

/// Reads a scripted connection to its end, with random calls into the memory before `end`, and holds each against the
/// plain reader. What differs; "" when nothing does.
inline std::string difference_to_plain(std::mt19937_64 *random, const ScriptedConnection &script, bool secondary,
                                       char *end) {
  std::string piggybacked;
  PlainReader plain(script, secondary);
  const auto stream = scripted_stream(script, secondary);
  const auto append = [](void *context, int32_t value) {
    const char *alphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    *static_cast<std::string *>(context) += value >= 1 && value <= 61 ? alphabet[value] : '?';
  };
  kiv_socket_process_piggybacked_value(stream.get(), append, &piggybacked);
  for (int32_t count = 1; count != 0 || (stream->error == 0 && !connection.has_ended);) {
    const auto n = static_cast<int32_t>(1 + below(*random, below(*random, 2) != 0 ? kMostRead : 40));
    const bool lines = below(*random, 3) == 0, terminated = lines || below(*random, 2) != 0;
    char *buffer = end - n;
    std::string expected = plain.read(static_cast<size_t>(lines ? n - 1 : n), terminated ? '\n' : -1);
    if (lines && !expected.empty() && expected.back() == '\n') expected.pop_back();
    count = lines        ? kiv_socket_read_line(stream.get(), buffer, n)
            : terminated ? kiv_socket_terminated_read(stream.get(), buffer, n, '\n')
                         : kiv_socket_read(stream.get(), buffer, n);
    if (count != static_cast<int32_t>(expected.size())) return "count";
    if (std::memcmp(buffer, expected.data(), expected.size()) != 0) return "bytes";
    if (lines && buffer[count] != '\0') return "end of line";
    if ((stream->error != 0) != plain.error) return "error flag";
  }
  if (piggybacked != plain.piggybacked) return "piggybacked values";
  if (connection.sent.size() != std::min(3 * plain.acknowledgements, script.send_limit)) return "acknowledgements";
  return stream->header_room[0] == 0xA5 ? "" : "overrun of the receive buffer";
}

}  // namespace kiv::test

#endif
