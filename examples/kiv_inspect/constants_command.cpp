// kiv_inspect constants PROGRAM [PATTERN]: a line "KIND NAME = VALUE" for each constant of the debug information, in
// its order: E enumerator, C constant, V variable, M member. Constants that several units have are shown once.

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_pattern.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

constexpr char kKindLetters[] = {'E', 'C', 'V', 'M'};  // by ConstantKind

/// What turns bytes of the file and texts of objects into the strings of a line.
struct Texts {
  NameText name, value;
};

Status print_constant(const Constant &constant, const NamePattern &pattern, const Errors &errors, Texts &texts,
                      Output &output) {
  const KIV_UNICHAR *name = texts.name.decode(constant.name);
  if (name == nullptr) return errors.out_of_memory();
  if (!pattern.chooses(name)) return {};
  char *text = constant.value->type->to_char_s(constant.value);
  if (text == nullptr) return errors.out_of_memory();
  const KIV_UNICHAR *value = texts.value.decode(text);
  KIV_ALLOCATOR *allocator = obj_vector_get_alloc(constant.value);
  allocator->free(allocator, text);
  if (value == nullptr) return errors.out_of_memory();
  return output.line("[0_c] [1_S] = [2_S][|]", kKindLetters[static_cast<int>(constant.kind)], name, value);
}

Status list(const Arguments &arguments) {
  const Errors &errors = arguments.errors;
  Status status = arguments.load({&Program::load_constants});
  if (!status.ok()) return status;
  const Program &program = arguments.program();
  Texts texts = {NameText(arguments.allocator), NameText(arguments.allocator)};
  NamePattern pattern(arguments.allocator);
  if (!pattern.set(arguments.count > 0 ? arguments.values[0] : nullptr, false)) return errors.out_of_memory();
  Output output(arguments.out, errors, arguments.allocator);
  const Constant *constant = program.constants().first();
  uint64_t done = 0;
  for (; constant != nullptr && status.ok() && !output.has_failed(); constant = constant->next) {
    output.progress(done++, program.constants().count());
    status = print_constant(*constant, pattern, errors, texts, output);
  }
  return status.ok() ? output.finish() : status;
}

}  // namespace

Outcome run_constants(Arguments arguments) {
  if (!arguments.take_path()) return Outcome::wrong_usage;
  return finish(arguments, list(arguments), "the constants of \"[0_S]\" cannot be listed[|]");
}

}  // namespace kiv::inspect
