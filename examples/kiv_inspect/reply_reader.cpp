#include "examples/kiv_inspect/reply_reader.h"

#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kLeastRoom = 1024;
constexpr uint32_t kLongestLine = 1u << 28;

}  // namespace

Status ReplyReader::read() {
  Status status = read_line();
  if (!status.ok()) return status;
  const std::string_view line(room_, size_);
  const size_t blank = line.find(' ');
  const auto number = parse_decimal(line.substr(0, blank));
  if (!number || blank >= line.size() - 1) return errors_.failure("the reply makes no sense[|]");
  number_ = *number;
  text_at_ = blank + 2;
  return {};
}

Status ReplyReader::read_line() {
  for (size_ = 0;;) {
    if (size_ == room_size_) {
      if (size_ >= kLongestLine) return errors_.failure("the reply has too long a line[|]");
      const uint32_t more = room_size_ > 0 ? 2 * room_size_ : kLeastRoom;
      auto *room = static_cast<char *>(allocator_->realloc(allocator_, room_, more));
      if (room == nullptr) return errors_.out_of_memory();
      room_ = room;
      room_size_ = more;
    }
    const auto most = static_cast<int32_t>(room_size_ - size_);
    const int32_t count = kiv_socket_terminated_read(stream_, room_ + size_, most, '\n');
    if (count < 1) return errors_.failure("the connection ended before the reply did[|]");
    size_ += static_cast<uint32_t>(count);
    if (room_[size_ - 1] != '\n') continue;
    --size_;
    return {};
  }
}

Status ReplyReader::print(Sink &sink) {
  const KIV_UNICHAR *text = text_.decode(this->text());
  if (text == nullptr) return errors_.out_of_memory();
  print_visible(text, sink);
  sink.write("\n", 1);
  return {};
}

}  // namespace kiv::inspect
