// KIV_ALIAS(name, target): `name`, declared in a public header, is the function `target` of this source file under
// another name. One address, also in the DLL. The two may be declared with different arguments when the function
// ignores them.
#ifndef KIV_BASE_ALIAS_H
#define KIV_BASE_ALIAS_H

#define KIV_ALIAS(name, target)                                                                     \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wattribute-alias\"")            \
      _Pragma("GCC diagnostic ignored \"-Wmissing-attributes\"") extern "C"                         \
      __attribute__((alias(#target))) decltype(name) name; /* NOLINT(bugprone-macro-parentheses) */ \
  _Pragma("GCC diagnostic pop") static_assert(true)

#endif
