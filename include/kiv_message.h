/** @file
 * Message arguments by value: KIV_ARGS(name, 3, 2.5) stands for the eight argument words of the functions of kiv_i18n.h
 * and of all others that take a message with eight words.
 *
 *     KIV_STRING text = kiv_i18n_prna8(handle, allocator, "[0_s]: [1_u32] [PLURAL_S([1_u32], 'error')][|]",
 *                                      KIV_ARGS(file_name, error_count));
 *
 * KIV_ARG(value) is one such word. Values and the placeholders they are for:
 *
 *     | value                                    | placeholder                      |
 *     |------------------------------------------|----------------------------------|
 *     | any integer type of C, character types   | s8 to s64, u8 to u64, b, c, C    |
 *     | bool                                     | b, or an integer                 |
 *     | KIV_S128, KIV_U128                       | s128, u128                       |
 *     | float, double                            | d                                |
 *     | bigflt                                   | F, or any other letter           |
 *     | char *, const char *                     | s                                |
 *     | KIV_STRING, const KIV_UNICHAR *          | S                                |
 *
 * Values of all other types are refused by the compiler: other pointers (nullptr among them, but NULL is an integer in
 * C++: write (const char *)nullptr), records, long double. Whether a value is what its placeholder wants, only the
 * author of the message can say; but integers may have any width up to 64 bits on either side, and no more than the
 * value itself is read for any placeholder of a number. Placeholders of 8 and 16 bits print the whole of the lower 32
 * bits. A char is its unsigned value, as in a text; a number kept in a char is a signed char. In C a bit-field needs a
 * + in front of it.
 *
 * A word points to a copy of the value, except for strings. In C the copy lives until the end of the enclosing block,
 * in C++ until the end of the full expression: words are made in the call that uses them. At least one and at most
 * eight values.
 *
 * For C11 and C++11 upwards; in C99 this header declares nothing. */
#ifndef KIV_MESSAGE_H
#define KIV_MESSAGE_H

#include "kiv_bigflt.h"
#include "kiv_types.h"
#include "kiv_u128.h"

#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L)

/* KIV_ARGS: each value, then null words up to eight. The last parameter of KIV_MESSAGE_NINTH exists for C before C23,
 * where "..." stands for one argument at least. */
#define KIV_MESSAGE_NINTH(a, b, c, d, e, f, g, h, ninth, ...) ninth
#define KIV_MESSAGE_EXPAND(x) x
#define KIV_MESSAGE_NONE ((const void *)0)
#define KIV_MESSAGE_1(a)                                                                                \
  KIV_ARG(a), KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, \
      KIV_MESSAGE_NONE, KIV_MESSAGE_NONE
#define KIV_MESSAGE_2(a, b)                                                                                         \
  KIV_ARG(a), KIV_ARG(b), KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, \
      KIV_MESSAGE_NONE
#define KIV_MESSAGE_3(a, b, c)                                                                                \
  KIV_ARG(a), KIV_ARG(b), KIV_ARG(c), KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, \
      KIV_MESSAGE_NONE
#define KIV_MESSAGE_4(a, b, c, d) \
  KIV_ARG(a), KIV_ARG(b), KIV_ARG(c), KIV_ARG(d), KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE
#define KIV_MESSAGE_5(a, b, c, d, e) \
  KIV_ARG(a), KIV_ARG(b), KIV_ARG(c), KIV_ARG(d), KIV_ARG(e), KIV_MESSAGE_NONE, KIV_MESSAGE_NONE, KIV_MESSAGE_NONE
#define KIV_MESSAGE_6(a, b, c, d, e, f) \
  KIV_ARG(a), KIV_ARG(b), KIV_ARG(c), KIV_ARG(d), KIV_ARG(e), KIV_ARG(f), KIV_MESSAGE_NONE, KIV_MESSAGE_NONE
#define KIV_MESSAGE_7(a, b, c, d, e, f, g) \
  KIV_ARG(a), KIV_ARG(b), KIV_ARG(c), KIV_ARG(d), KIV_ARG(e), KIV_ARG(f), KIV_ARG(g), KIV_MESSAGE_NONE
#define KIV_MESSAGE_8(a, b, c, d, e, f, g, h) \
  KIV_ARG(a), KIV_ARG(b), KIV_ARG(c), KIV_ARG(d), KIV_ARG(e), KIV_ARG(f), KIV_ARG(g), KIV_ARG(h)

/** One to eight values as eight argument words. */
#define KIV_ARGS(...)                                                                                           \
  KIV_MESSAGE_EXPAND(KIV_MESSAGE_NINTH(__VA_ARGS__, KIV_MESSAGE_8, KIV_MESSAGE_7, KIV_MESSAGE_6, KIV_MESSAGE_5, \
                                       KIV_MESSAGE_4, KIV_MESSAGE_3, KIV_MESSAGE_2, KIV_MESSAGE_1, 0)(__VA_ARGS__))

#ifdef __cplusplus

#define KIV_ARG(value) (::kiv::MessageValue(value).word())

namespace kiv {

/** True for bool alone: pointers to members and lambdas would become truth values. */
template <class T>
struct MessageTruth {};
template <>
struct MessageTruth<bool> {
  typedef int type;
};

/** A copy of a value, as large as any value that a placeholder may read, and its argument word. */
class MessageValue {
 public:
  template <class T, typename MessageTruth<T>::type = 0>
  MessageValue(T value) : MessageValue(static_cast<long long>(value)) {}
  MessageValue(char value) : MessageValue(static_cast<unsigned long long>(static_cast<unsigned char>(value))) {}
  MessageValue(signed char value) : MessageValue(static_cast<long long>(value)) {}
  MessageValue(short value) : MessageValue(static_cast<long long>(value)) {}
  MessageValue(int value) : MessageValue(static_cast<long long>(value)) {}
  MessageValue(long value) : MessageValue(static_cast<long long>(value)) {}
  MessageValue(long long value) : value_() { value_.integer[0] = static_cast<uint64_t>(value); }
  MessageValue(unsigned char value) : MessageValue(static_cast<unsigned long long>(value)) {}
  MessageValue(unsigned short value) : MessageValue(static_cast<unsigned long long>(value)) {}
  MessageValue(unsigned int value) : MessageValue(static_cast<unsigned long long>(value)) {}
  MessageValue(unsigned long value) : MessageValue(static_cast<unsigned long long>(value)) {}
  MessageValue(unsigned long long value) : value_() { value_.integer[0] = value; }
  MessageValue(char32_t value) : MessageValue(static_cast<unsigned long long>(value)) {}
  MessageValue(double value) : value_() { value_.real = value; }
  MessageValue(float value) : MessageValue(static_cast<double>(value)) {}
  MessageValue(const KIV_S128 &value) : value_() { value_.s128 = value; }
  MessageValue(const KIV_U128 &value) : value_() { value_.u128 = value; }
  MessageValue(const bigflt &value) : value_() { value_.big = value; }
  MessageValue(const char *value) : value_(), string_(value), is_string_(true) {}
  MessageValue(char *value) : value_(), string_(value), is_string_(true) {}
  MessageValue(const KIV_UNICHAR *value) : value_(), string_(value), is_string_(true) {}
  MessageValue(KIV_UNICHAR *value) : value_(), string_(value), is_string_(true) {}
  /** Other pointers, which would be truth values. */
  template <class T>
  MessageValue(T *value) = delete;

  const void *word() const { return is_string_ ? string_ : &value_; }

 private:
  union {
    uint64_t integer[6];
    double real;
    KIV_S128 s128;
    KIV_U128 u128;
    bigflt big;
  } value_;
  const void *string_ = nullptr;
  bool is_string_ = false;
};

}  // namespace kiv

#else

/** A copy of a value, as large as any value that a placeholder may read. */
typedef union KIV_MESSAGE_VALUE {
  uint64_t integer[6];
  double real;
  KIV_S128 s128;
  KIV_U128 u128;
  bigflt big;
  const void *string;
} KIV_MESSAGE_VALUE;

static inline KIV_MESSAGE_VALUE kiv_message_signed(long long value) {
  KIV_MESSAGE_VALUE result = {{(uint64_t)value, 0, 0, 0, 0, 0}};
  return result;
}
static inline KIV_MESSAGE_VALUE kiv_message_unsigned(unsigned long long value) {
  KIV_MESSAGE_VALUE result = {{value, 0, 0, 0, 0, 0}};
  return result;
}
static inline KIV_MESSAGE_VALUE kiv_message_char(char value) { return kiv_message_unsigned((unsigned char)value); }
static inline KIV_MESSAGE_VALUE kiv_message_double(double value) {
  KIV_MESSAGE_VALUE result = {{0, 0, 0, 0, 0, 0}};
  result.real = value;
  return result;
}
static inline KIV_MESSAGE_VALUE kiv_message_s128(KIV_S128 value) {
  KIV_MESSAGE_VALUE result = {{0, 0, 0, 0, 0, 0}};
  result.s128 = value;
  return result;
}
static inline KIV_MESSAGE_VALUE kiv_message_u128(KIV_U128 value) {
  KIV_MESSAGE_VALUE result = {{0, 0, 0, 0, 0, 0}};
  result.u128 = value;
  return result;
}
static inline KIV_MESSAGE_VALUE kiv_message_bigflt(bigflt value) {
  KIV_MESSAGE_VALUE result = {{0, 0, 0, 0, 0, 0}};
  result.big = value;
  return result;
}
static inline KIV_MESSAGE_VALUE kiv_message_string(const void *value) {
  KIV_MESSAGE_VALUE result = {{0, 0, 0, 0, 0, 0}};
  result.string = value;
  return result;
}
static inline const void *kiv_message_value_word(const KIV_MESSAGE_VALUE *value) { return value; }
static inline const void *kiv_message_string_word(const KIV_MESSAGE_VALUE *value) { return value->string; }

/* Two selections by the value's type: how it is copied, and what its word is. */
/* clang-format off */
#define KIV_MESSAGE_COPY(value)                                                                                      \
  _Generic((value),                                                                                                  \
      _Bool: kiv_message_unsigned, char: kiv_message_char, signed char: kiv_message_signed,                          \
      short: kiv_message_signed, int: kiv_message_signed, long: kiv_message_signed, long long: kiv_message_signed,   \
      unsigned char: kiv_message_unsigned, unsigned short: kiv_message_unsigned, unsigned: kiv_message_unsigned,     \
      unsigned long: kiv_message_unsigned, unsigned long long: kiv_message_unsigned,                                 \
      float: kiv_message_double, double: kiv_message_double,                                                         \
      KIV_S128: kiv_message_s128, KIV_U128: kiv_message_u128, bigflt: kiv_message_bigflt,                            \
      char *: kiv_message_string, const char *: kiv_message_string,                                                  \
      KIV_UNICHAR *: kiv_message_string, const KIV_UNICHAR *: kiv_message_string)(value)
#define KIV_MESSAGE_WORD(value)                                                                                      \
  _Generic((value),                                                                                                  \
      char *: kiv_message_string_word, const char *: kiv_message_string_word,                                        \
      KIV_UNICHAR *: kiv_message_string_word, const KIV_UNICHAR *: kiv_message_string_word,                          \
      default: kiv_message_value_word)
/* clang-format on */

#define KIV_ARG(value) (KIV_MESSAGE_WORD(value)((const KIV_MESSAGE_VALUE[1]){KIV_MESSAGE_COPY(value)}))

#endif

#endif

#endif
