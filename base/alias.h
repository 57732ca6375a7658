// KIV_ALIAS(name, target): `name`, declared in a public header, is the function `target` of this source file under
// another name. One address, also in the DLL. The two may be declared with different arguments when the function
// ignores them.
#ifndef KIV_BASE_ALIAS_H
#define KIV_BASE_ALIAS_H

#include <cstdint>

#define KIV_ALIAS(name, target)                                                                     \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wattribute-alias\"")            \
      _Pragma("GCC diagnostic ignored \"-Wmissing-attributes\"") extern "C"                         \
      __attribute__((alias(#target))) decltype(name) name; /* NOLINT(bugprone-macro-parentheses) */ \
  _Pragma("GCC diagnostic pop") static_assert(true)

// KIV_ALIAS_32(name, target, definition): the same where a word is as wide as a pointer. Elsewhere the two cannot be
// one function, because one takes or gives a pointer where the other has a 32-bit word; `definition` is then what
// `name` does. The manifest says `name = target (32-bit)`.
#if UINTPTR_MAX == UINT32_MAX
#define KIV_ALIAS_32(name, target, ...) KIV_ALIAS(name, target)
#else
#define KIV_ALIAS_32(name, target, ...) \
  __VA_ARGS__                           \
  static_assert(true)
#endif

#endif
