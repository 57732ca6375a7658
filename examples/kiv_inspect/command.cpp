#include "examples/kiv_inspect/command.h"

#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {

Outcome finish(const Arguments &arguments, Status status, const Message &message, const char *path) {
  if (status.ok()) return Outcome::done;
  NameText text(arguments.allocator);
  const KIV_UNICHAR *name = text.decode(path);
  print_error(name != nullptr ? arguments.errors.add(status, message, name) : arguments.errors.out_of_memory());
  return Outcome::failed;
}

}  // namespace kiv::inspect
