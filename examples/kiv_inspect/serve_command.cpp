// kiv_inspect serve [--once] [--patience N] PROGRAM PORT: answers requests about the program until it is ended, or of
// one client. A line on standard output tells that clients may come, and to which port: 0 leaves it to the system.

#include <optional>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/server.h"

namespace kiv::inspect {
namespace {

constexpr uint64_t kMostPatience = 86400;  // seconds

struct Options {
  bool once = false;
  uint32_t patience = 10;
  uint16_t port = 0;
};

std::optional<Options> parse(Arguments &arguments) {
  Options options;
  options.once = arguments.take_option("--once") >= 0;
  const int place = arguments.take_option("--patience");
  if (place >= 0) {
    const uint64_t patience = arguments.take_count(place).value_or(0);
    if (patience < 1 || patience > kMostPatience) return std::nullopt;
    options.patience = static_cast<uint32_t>(patience);
  }
  if (!arguments.take_path() || arguments.count != 1) return std::nullopt;
  const auto port = parse_count(arguments.values[0]);
  if (!port || *port > UINT16_MAX) return std::nullopt;
  options.port = static_cast<uint16_t>(*port);
  return options;
}

Status announce(const Arguments &arguments, uint16_t port) {
  NameText text(arguments.allocator);
  const KIV_UNICHAR *path = text.decode(arguments.path);
  if (path == nullptr) return arguments.errors.out_of_memory();
  Output output(arguments.out, arguments.errors, arguments.allocator);
  const Status status = output.line("serving \"[0_S]\" at port [1_u32][|]", path, uint32_t{port});
  return status.ok() ? output.finish() : status;
}

Status serve(const Arguments &arguments, const Options &options, RequestHandler &handler) {
  Server server(handler, options.patience);
  Status status = handler.open();
  if (status.ok()) status = server.open(options.port);
  if (status.ok()) status = announce(arguments, server.port());
  do {
    if (status.ok()) status = server.serve_client();
  } while (status.ok() && !options.once);
  return status;
}

}  // namespace

Outcome run_serve(Arguments arguments) {
  const auto options = parse(arguments);
  if (!options) return Outcome::wrong_usage;
  RequestHandler handler(arguments.path, arguments.allocator);
  const Errors &errors = handler.errors();
  const Arguments served = {
      0, nullptr, arguments.allocator, errors, arguments.program, arguments.path, arguments.out, arguments.err};
  Status status = kiv_socket_init() == 0 ? Status{} : socket_failure(errors, "there are no sockets: [0_s][|]");
  if (status.ok()) {
    status = serve(served, *options, handler);
    (void)kiv_socket_finalize();
  }
  return finish(served, status, "\"[0_S]\" cannot be served[|]");
}

}  // namespace kiv::inspect
