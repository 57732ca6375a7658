// kiv_inspect --version: the versions of the program and of the protocol that it speaks.

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/version_id.h"

namespace kiv::inspect {

Outcome run_version(Arguments arguments) {
  Output output(arguments.out, arguments.errors, arguments.allocator);
  Status status = output.line("kiv_inspect [0_s][|]", VersionText(tool_version()).text);
  if (status.ok()) status = output.line("protocol [0_s][|]", VersionText(kProtocolVersion).text);
  if (status.ok()) status = output.finish();
  if (!status.ok()) print_error(status, arguments.err);
  return status.ok() ? Outcome::done : Outcome::failed;
}

}  // namespace kiv::inspect
