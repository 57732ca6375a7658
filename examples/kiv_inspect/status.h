// How readers report what is wrong: by error records, which are made where it is found and get an entry from each layer
// on the way out that has something to add. Readers never print; only the program does, in one place.
#ifndef KIV_INSPECT_STATUS_H
#define KIV_INSPECT_STATUS_H

#include "examples/kiv_inspect/message_words.h"
#include "kiv_allocator.h"
#include "kiv_error.h"

namespace kiv::inspect {

/// What an operation came to. A record belongs to the Errors that made it: a failure that nobody wants to hear of may
/// be dropped.
struct [[nodiscard]] Status {
  KIV_ERROR *error = nullptr;  // null: success

  bool ok() const { return error == nullptr; }
};

/// What the user is told, in the syntax of kiv_i18n.h, and what may help. It remembers where it was written, so that a
/// record tells the place of the failure: compilers evaluate these default arguments there.
struct Message {
  Message(const char *words, const char32_t *advice = U"", const char *in_file = __builtin_FILE(),
          uint32_t at_line = __builtin_LINE(), const char *in_function = __builtin_FUNCTION())
      : text(words), help(advice), file(in_file), line(at_line), function(in_function) {}

  const char *text;
  const char32_t *help;
  const char *file;
  uint32_t line;
  const char *function;
};

/// Makes the records of failures. They live as long as this does.
class Errors {
 public:
  /// REQUIRES: the parent outlives this. Without memory for it all failures become that of having none.
  explicit Errors(KIV_ALLOCATOR *parent);
  ~Errors();
  Errors(const Errors &) = delete;
  Errors &operator=(const Errors &) = delete;

  template <class... Values>
  Status failure(const Message &message, const Values &...values) const {
    return add_entry({}, message, values...);
  }

  /// Tells what a failure further in means here; success stays success. It takes the place of the status that it was
  /// given.
  template <class... Values>
  Status add(Status status, const Message &message, const Values &...values) const {
    return status.ok() ? status : add_entry(status, message, values...);
  }

  /// A failure of the system's. Its words for its last error are the argument [0_S]. To be called at once.
  Status system_failure(const Message &message) const;

  /// A failure of other Errors as one of these; success stays success. The other record is only read.
  Status copy(Status status) const;

  /// Always the library's static record.
  Status out_of_memory() const;

 private:
  template <class... Values>
  Status add_entry(Status status, const Message &message, const Values &...values) const {
    if constexpr (sizeof...(values) == 0) return add_words(status, message, nullptr);
    return add_words(status, message, MessageWords(values...).words());
  }

  /// Null words: the message has no arguments.
  Status add_words(Status status, const Message &message, const void *const *words) const;

  KIV_ALLOCATOR storage_ = {};
  KIV_ERROR_CONTEXT context_ = {};  // no allocator: there is no memory
};

}  // namespace kiv::inspect

#endif
