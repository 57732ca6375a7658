// Formatting of messages.
//
// A first pass reads the whole message, so that a message that fails does so before anything is written or allocated,
// and keeps what it has read: the second pass goes through the kept items and parses again only what has followed on
// them. Both use constant space.

#include "kiv_i18n.h"

#include "base/alias.h"
#include "base/record_layout.h"
#include "text/message_values.h"

KIV_LAYOUT_32(sizeof(KIV_I18N_OUTPUT) == 16 && offsetof(KIV_I18N_OUTPUT, count) == 12);

namespace {

using namespace kiv::message;

/// A message as the first pass leaves it.
template <class Unit>
class Plan {
 public:
  /// *needed receives the number of argument words that the message needs, or -1.
  Plan(const Unit *message, int32_t *needed) : rest_(message) { *needed = survey(); }

  bool has_conflict() const { return conflict_; }

  /// Writes what was surveyed.
  [[gnu::flatten]] bool write(Output *output, const void *const *words) const {
    for (const Item<Unit> *item = items_; item != items_ + count_; item += size_of(*item)) {
      if (!write_item(output, item, words)) return false;
    }
    Item<Unit> items[kItemsPerStep];
    Parser<Unit> parser(rest_);
    while (!is_complete_ && (parser.next(items), items->kind != Kind::end)) {
      if (!write_item(output, items, words)) return false;
    }
    return true;
  }

 private:
  static constexpr size_t kKeptItems = 32;
  static constexpr TypeCode kNotUsed = 0xFF;

  static size_t size_of(const Item<Unit> &item) {
    return item.kind == Kind::plural ? size_t{1} + item.plural->arguments : 1;
  }

  // Flattened, as write(): the parser's position and the output's count stay in registers, which saves a fifth.
  [[gnu::flatten]] int32_t survey() {
    std::memset(types_, kNotUsed, sizeof types_);
    Parser<Unit> parser(rest_);
    Item<Unit> overflow[kItemsPerStep];
    for (bool keeps = true;;) {
      keeps = keeps && count_ <= kKeptItems - kItemsPerStep;
      Item<Unit> *items = keeps ? items_ + count_ : overflow;
      const size_t step = parser.next(items);
      if (items->kind == Kind::malformed) return -1;
      if (items->kind == Kind::end) {
        is_complete_ = keeps;
        return needed_;
      }
      if (keeps) {
        count_ += step;
        rest_ = parser.position();
      }
      for (size_t i = 0; i < step; ++i) {
        if (items[i].kind == Kind::placeholder) note(items[i].placeholder);
      }
    }
  }

  void note(const Placeholder &p) {
    needed_ = std::max(needed_, p.argument < INT32_MAX ? static_cast<int32_t>(p.argument + 1) : INT32_MAX);
    if (p.argument >= KIV_I18N_MOST_ARGUMENTS) return;
    TypeCode &type = types_[p.argument];
    conflict_ = conflict_ || (type != kNotUsed && type != p.code);
    type = p.code;
  }

  static bool write_item(Output *output, const Item<Unit> *item, const void *const *words) {
    switch (item->kind) {
      case Kind::text:
        return output->append(item->text.units, item->text.length);
      case Kind::character:
        return output->append(item->character);
      case Kind::placeholder:
        return append_argument(output, item->placeholder, words[item->placeholder.argument]);
      case Kind::plural:
        return write_plural(output, item, words);
      case Kind::end:
      case Kind::malformed:
        break;
    }
    return false;
  }

  [[gnu::noinline]] static bool write_plural(Output *output, const Item<Unit> *item, const void *const *words) {
    const PluralWord &word = *item->plural;
    const Placeholder &number = item[1].placeholder;
    const bool changes = is_one(number.code, words[number.argument]) == word.when_one;
    const uint32_t start = output->count();
    if (word.plural == Plural::choose) return write_item(output, changes ? item + 2 : item + 3, words);
    if (!write_item(output, item + 2, words)) return false;
    if (!changes) return true;
    switch (word.plural) {
      case Plural::append_s:
        return output->append('s');
      case Plural::append_es:
        return output->append("es", 2);
      case Plural::y_to_ies:
        return !output->drop_last(start, 'y') || output->append("ies", 3);
      case Plural::choose:
        break;
    }
    return false;
  }

  Item<Unit> items_[kKeptItems];
  size_t count_ = 0;
  const Unit *rest_;          ///< what follows on the kept items
  bool is_complete_ = false;  ///< nothing does
  bool conflict_ = false;
  int32_t needed_ = 0;
  TypeCode types_[KIV_I18N_MOST_ARGUMENTS];
};

bool write_to_buffer(const auto &plan, const void *const *words, KIV_I18N_OUTPUT *result) {
  if (result->buffer == nullptr || result->capacity == 0) return false;
  Output output(result->buffer, result->capacity);
  const bool success = plan.write(&output, words);
  output.terminate();
  result->count = output.count();
  return success;
}

bool write_to_block(const auto &plan, const void *const *words, KIV_I18N_OUTPUT *result) {
  Output output(result->allocator);
  if (output.buffer() == nullptr) return false;
  if (!plan.write(&output, words)) {
    result->allocator->free(result->allocator, output.buffer());
    return false;
  }
  output.terminate();
  *result = {result->allocator, output.buffer(), output.capacity(), output.count()};
  return true;
}

/// Formats message with so many words. On failure a block is null and a buffer has what fits.
template <class Unit>
bool format(const Unit *message, uint32_t count, const void *const *words, KIV_I18N_OUTPUT *output, int32_t *needed) {
  output->count = 0;
  if (output->allocator != nullptr) {
    output->buffer = nullptr;
    output->capacity = 0;
  } else if (output->buffer != nullptr && output->capacity != 0) {
    output->buffer[0] = 0;
  }
  *needed = -1;
  if (message == nullptr) return false;
  const Plan<Unit> plan(message, needed);
  if (*needed < 0 || plan.has_conflict()) return false;
  if (static_cast<uint32_t>(*needed) > std::min<uint32_t>(count, KIV_I18N_MOST_ARGUMENTS)) return false;
  return output->allocator != nullptr ? write_to_block(plan, words, output) : write_to_buffer(plan, words, output);
}

template <uint32_t kCount>
KIV_STRING format_new(KIV_ALLOCATOR *allocator, const char *message, const void *const (&words)[kCount]) {
  if (allocator == nullptr) return nullptr;
  KIV_I18N_OUTPUT output = {allocator, nullptr, 0, 0};
  int32_t needed = 0;
  (void)format(message, kCount, words, &output, &needed);
  return output.buffer;
}

template <uint32_t kCount>
int format_into(KIV_STRING buffer, uint32_t capacity, uint32_t *count, const char *message,
                const void *const (&words)[kCount]) {
  KIV_I18N_OUTPUT output = {nullptr, buffer, capacity, 0};
  int32_t needed = 0;
  const bool success = format(message, kCount, words, &output, &needed);
  if (count != nullptr) *count = output.count;
  return success ? 0 : 1;
}

}  // namespace

extern "C" {

KIV_STRING kiv_i18n_prna2(KIV_I18N *, KIV_ALLOCATOR *allocator, const char *message, const void *a0, const void *a1) {
  return format_new(allocator, message, {a0, a1});
}

KIV_STRING kiv_i18n_prna8(KIV_I18N *, KIV_ALLOCATOR *allocator, const char *message, const void *a0, const void *a1,
                          const void *a2, const void *a3, const void *a4, const void *a5, const void *a6,
                          const void *a7) {
  return format_new(allocator, message, {a0, a1, a2, a3, a4, a5, a6, a7});
}

KIV_STRING kiv_i18n_prnd8(KIV_I18N *handle, const char *message, const void *a0, const void *a1, const void *a2,
                          const void *a3, const void *a4, const void *a5, const void *a6, const void *a7) {
  if (handle == nullptr) return nullptr;
  return format_new(handle->allocator, message, {a0, a1, a2, a3, a4, a5, a6, a7});
}

int kiv_i18n_prn2(KIV_I18N *, KIV_STRING buffer, uint32_t capacity, uint32_t *count, const char *message,
                  const void *a0, const void *a1) {
  return format_into(buffer, capacity, count, message, {a0, a1});
}

int kiv_i18n_prn8(KIV_I18N *, KIV_STRING buffer, uint32_t capacity, uint32_t *count, const char *message,
                  const void *a0, const void *a1, const void *a2, const void *a3, const void *a4, const void *a5,
                  const void *a6, const void *a7) {
  return format_into(buffer, capacity, count, message, {a0, a1, a2, a3, a4, a5, a6, a7});
}

int kiv_i18n_prn_do(KIV_I18N *, const char *message, const KIV_UNICHAR *string_message, uint32_t argument_count,
                    const void *const *arguments, KIV_I18N_OUTPUT *output, int32_t *arguments_needed) {
  if (output == nullptr) return 1;
  if (arguments == nullptr) argument_count = 0;
  int32_t needed = 0;
  const bool success = message != nullptr ? format(message, argument_count, arguments, output, &needed)
                                          : format(string_message, argument_count, arguments, output, &needed);
  if (arguments_needed != nullptr) *arguments_needed = needed;
  return success ? 0 : 1;
}

}  // extern "C"

KIV_ALIAS(kiv_i18n_prna8_en, kiv_i18n_prna8);
KIV_ALIAS(kiv_i18n_prnd8_en, kiv_i18n_prnd8);
KIV_ALIAS(kiv_i18n_prn8_en, kiv_i18n_prn8);
