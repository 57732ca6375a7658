// The stream's wire format once more, written from its table without the library, on strings: both sides of a peer, and
// what the reads of a stream must give for any bytes.
#ifndef KIV_TESTS_NET_PLAIN_CHUNKS_H
#define KIV_TESTS_NET_PLAIN_CHUNKS_H

#include <cctype>
#include <cstdio>
#include <string>
#include <utility>

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
    for (; buffer_.size() > capacity(); buffer_.erase(0, capacity()), ++chunks) {
      wire += chunk(piggyback_, '+', buffer_.substr(0, capacity()));
    }
  }
  void flush() {
    if (buffer_.empty()) return;
    const size_t length = piggyback_.size() + 1 + buffer_.size();
    wire += chunk(piggyback_, length <= 1015 ? '*' : static_cast<char>('0' + (length - 1015)), buffer_);
    buffer_.clear();
    ++chunks;
  }

  std::string wire;
  size_t chunks = 0;

 private:
  size_t capacity() const { return 1023 - piggyback_.size(); }

  std::string piggyback_;
  std::string buffer_;
};

/// What a reader gets out of a connection that ends behind the given bytes.
class PlainReader {
 public:
  PlainReader(std::string wire, bool secondary) : wire_(std::move(wire)), base_(secondary ? 2 : 1) {}

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
    if (owes_) ++acknowledgements;
    owes_ = false;
    error = true;
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
  size_t base_;
  size_t at_ = 0;
  size_t remaining_ = 0;
  bool owes_ = false;
};

}  // namespace kiv::test

#endif
