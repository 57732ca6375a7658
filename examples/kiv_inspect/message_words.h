// The argument words of a message, of any values that kiv_message.h takes.
#ifndef KIV_INSPECT_MESSAGE_WORDS_H
#define KIV_INSPECT_MESSAGE_WORDS_H

#include <cstddef>

#include "kiv_message.h"

namespace kiv::inspect {

/// KIV_ARGS for a template's pack, which a macro cannot count. Strings are not copied.
template <size_t kCount>
class MessageWords {
 public:
  static constexpr size_t kMost = 8;
  static_assert(kCount <= kMost);

  template <class... Values>
  explicit MessageWords(const Values &...values) : values_{MessageValue(values)..., MessageValue(0)} {
    for (size_t i = 0; i < kCount; ++i) words_[i] = values_[i].word();
  }
  MessageWords(const MessageWords &) = delete;  // the words point into this
  MessageWords &operator=(const MessageWords &) = delete;

  /// Eight of them; null ones behind the values.
  const void *const *words() const { return words_; }

 private:
  MessageValue values_[kCount + 1];
  const void *words_[kMost] = {};
};

template <class... Values>
MessageWords(const Values &...) -> MessageWords<sizeof...(Values)>;

}  // namespace kiv::inspect

#endif
