// kiv_inspect constants PROGRAM [PATTERN]: a line "KIND NAME = VALUE" for each constant of the debug information, in
// its order: E enumerator, C constant, V variable, M member. Constants that several units have are shown once.

#include <cstdio>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program.h"
#include "kiv_string_pattern.h"

namespace kiv::inspect {
namespace {

constexpr char kKindLetters[] = {'E', 'C', 'V', 'M'};  // by ConstantKind

Status print_value(const ConstantValue &value, NameText &text) {
  if (value.kind == ConstantValue::text) {
    const KIV_UNICHAR *contents = text.decode(value.contents);
    if (contents == nullptr) return kOutOfMemory;
    std::putchar('"');
    print_name(contents);
    std::putchar('"');
  } else if (value.kind == ConstantValue::bytes) {
    std::fputs("bytes", stdout);
    for (const char byte : value.contents) std::printf(" %02x", static_cast<uint8_t>(byte));
  } else {
    char number[kFloatTextSize];
    format_number(value, number);
    std::fputs(number, stdout);
  }
  return {};
}

Status print_constant(const Constant &constant, const KIV_UNICHAR *pattern, NameText &text) {
  const KIV_UNICHAR *name = text.decode(constant.name);
  if (name == nullptr) return kOutOfMemory;
  if (pattern != nullptr && kiv_string_matches_using_wildcards(name, pattern) == 0) return {};
  std::printf("%c ", kKindLetters[static_cast<int>(constant.kind)]);
  print_name(name);
  std::fputs(" = ", stdout);
  const Status status = print_value(constant.value, text);
  std::putchar('\n');
  return status;
}

}  // namespace

Outcome run_constants(Arguments arguments) {
  const char *path = arguments.values[0];
  Program program(arguments.allocator);
  Status status = program.load(path);
  if (status.ok()) status = program.load_constants();
  if (!status.ok()) return fail(path, status);
  NameText pattern_text(arguments.allocator), text(arguments.allocator);
  const KIV_UNICHAR *pattern = nullptr;
  if (arguments.count > 1) {
    pattern = pattern_text.decode(arguments.values[1]);
    if (pattern == nullptr) return fail(path, kOutOfMemory);
  }
  const Constant *constant = program.constants().first();
  for (; constant != nullptr && status.ok() && std::ferror(stdout) == 0; constant = constant->next) {
    status = print_constant(*constant, pattern, text);
  }
  return status.ok() ? finish_output() : fail(path, status);
}

}  // namespace kiv::inspect
