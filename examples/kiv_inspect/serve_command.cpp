// kiv_inspect serve [--once | --clients N] [--patience N] PROGRAM PORT: answers requests about the program until it is
// ended, of several clients at a time; or of one client. A line on standard output tells that clients may come, and to
// which port: 0 leaves it to the system.

#include <optional>

#include "examples/kiv_inspect/client_threads.h"
#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kMostPatience = 86400;  // seconds

struct Options {
  uint64_t count = UINT64_MAX;  // of clients: there is no end to them
  uint32_t at_once = 8;
  uint32_t patience = 10;
  uint16_t port = 0;
};

std::optional<Options> parse(Arguments &arguments) {
  Options options;
  const bool once = arguments.take_option("--once") >= 0;
  uint32_t at_once = 0;
  if (!arguments.take_number("--clients", kMostClients, &at_once) || (once && at_once != 0) ||
      !arguments.take_number("--patience", kMostPatience, &options.patience)) {
    return std::nullopt;
  }
  if (once) options.count = 1;
  if (at_once != 0) options.at_once = at_once;
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
  Server server(handler, arguments.errors, options.patience);
  Status status = handler.open(arguments.errors);
  if (status.ok()) status = server.open(options.port);
  if (status.ok()) status = announce(arguments, server.port());
  return status.ok() ? serve_clients(server, options.count, options.at_once, arguments.errors) : status;
}

}  // namespace

Outcome run_serve(Arguments arguments) {
  const auto options = parse(arguments);
  if (!options) return Outcome::wrong_usage;
  RequestHandler handler(arguments.path, arguments.allocator);
  Status status =
      kiv_socket_init() == 0 ? Status{} : socket_failure(arguments.errors, "there are no sockets: [0_s][|]");
  if (status.ok()) {
    status = serve(arguments, *options, handler);
    (void)kiv_socket_finalize();
  }
  return finish(arguments, status, "\"[0_S]\" cannot be served[|]");
}

}  // namespace kiv::inspect
