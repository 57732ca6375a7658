// The lines of standard input, as many at a time as there are.
//
// Representation. A buffer with the bytes that were read, which grows when a line does not fit. What is behind the last
// whole line moves to the front before more is read.
// Cost. O(1) a byte.
#ifndef KIV_INSPECT_LINE_INPUT_H
#define KIV_INSPECT_LINE_INPUT_H

#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

class LineInput {
 public:
  /// REQUIRES: errors and allocator outlive this.
  LineInput(const Errors &errors, KIV_ALLOCATOR *allocator) : errors_(errors), allocator_(allocator) {}
  ~LineInput() { allocator_->free(allocator_, buffer_); }
  LineInput(const LineInput &) = delete;
  LineInput &operator=(const LineInput &) = delete;

  /// Waits for at least one line, and makes those that there are by then the ones that next() gives. *any is false at
  /// the end of the input. A last line needs no end. REQUIRES: next() has given null, or was never called.
  Status fill(bool *any);

  /// The next line, without blanks around it and its end, which may be a zero byte, too; null when fill() is to be
  /// called. Valid until then.
  char *next();

  /// Whether next(), or fill() in its place, need not wait for a byte, or the end. Of some kinds of input, as a console
  /// of Windows, that is not known, and false.
  bool is_ready() const;

  /// The number of the line that next() gave, from 1 on.
  uint64_t number() const { return number_; }

 private:
  bool grow();

  static constexpr uint32_t kFirstSize = 1u << 16;

  const Errors &errors_;
  KIV_ALLOCATOR *allocator_;
  char *buffer_ = nullptr;
  uint32_t size_ = 0;   // of the buffer
  uint32_t count_ = 0;  // bytes in it
  uint32_t lines_ = 0;  // bytes of whole lines, each with a zero in place of its end
  uint32_t place_ = 0;  // of the next line
  uint64_t number_ = 0;
};

}  // namespace kiv::inspect

#endif
