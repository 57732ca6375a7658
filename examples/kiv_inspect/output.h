// How the program prints: lines are messages of kiv_i18n.h. Those of which there may be millions are put together from
// their pieces as long as these are plain, which takes a quarter of the time.
#ifndef KIV_INSPECT_OUTPUT_H
#define KIV_INSPECT_OUTPUT_H

#include <initializer_list>
#include <string_view>

#include "examples/kiv_inspect/message_words.h"
#include "examples/kiv_inspect/sink.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_types.h"

namespace kiv::inspect {

/// Prints a text as the locale shows it. What has no shape becomes visible: control characters as ^A, others that are
/// not printable as \x and their number. A name from a hostile file cannot play with a terminal.
void print_visible(const KIV_UNICHAR *text, Sink &sink);

/// A message that shows an address in all of its digits, for programs of either width.
struct AddressMessage {
  const char *with_8_digits, *with_16_digits;

  const char *of(int digits) const { return digits == 8 ? with_8_digits : with_16_digits; }
};

/// Lines of a sink. One that does not fit in the buffer takes its memory from the allocator, and gives it back.
class Output {
 public:
  /// REQUIRES: sink, errors and allocator outlive this.
  Output(Sink &sink, const Errors &errors, KIV_ALLOCATOR *allocator)
      : sink_(sink), errors_(errors), allocator_(allocator) {}
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  /// Prints a message with its values, and a line end. Whether it could be written, finish() tells.
  template <class... Values>
  Status line(const char *message, const Values &...values) {
    return print(message, MessageWords(values...).words());
  }

  /// Prints a line that is made of pieces, when all of them are printable ASCII and it is not very long. False: nothing
  /// is printed, and the line has to be a message.
  [[nodiscard]] bool plain_line(std::initializer_list<std::string_view> pieces);

  /// Whether the sink has failed, so that further lines are of no use.
  bool has_failed() const { return sink_.has_failed(); }

  /// How far the output has come.
  void progress(uint64_t done, uint64_t total) { sink_.progress(done, total); }

  /// Ends the output: a failure when it could not be written.
  Status finish();

 private:
  Status print(const char *message, const void *const *words);

  static constexpr uint32_t kBufferSize = 512;

  Sink &sink_;
  const Errors &errors_;
  KIV_ALLOCATOR *allocator_;
  KIV_UNICHAR buffer_[kBufferSize];
  char line_[kBufferSize];  // of printable ASCII
};

/// Prints the record of a failure.
void print_error(Status status, Sink &sink);

}  // namespace kiv::inspect

#endif
