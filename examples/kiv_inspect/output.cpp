#include "examples/kiv_inspect/output.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace kiv::inspect {

Outcome fail(const char *subject, Status status) {
  (void)std::fflush(stdout);
  const bool explained = status.error_number != 0;
  std::fprintf(stderr, "kiv_inspect: %s: %s%s%s\n", subject, status.problem, explained ? ": " : "",
               explained ? std::strerror(status.error_number) : "");
  return Outcome::failed;
}

Outcome finish_output() {
  errno = 0;
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return Outcome::done;
  return fail("standard output", {"it cannot be written", errno});
}

void print_address(uint64_t address, int digits) { std::printf("%0*" PRIx64, digits, address); }

void print_name(std::string_view name) {
  const auto is_plain = [](char c) { return c >= ' ' && c <= '~'; };
  while (!name.empty()) {
    size_t plain = 0;
    while (plain < name.size() && is_plain(name[plain])) ++plain;
    std::fwrite(name.data(), 1, plain, stdout);
    if (plain == name.size()) return;
    std::printf("\\x%02x", static_cast<unsigned char>(name[plain]));
    name.remove_prefix(plain + 1);
  }
}

}  // namespace kiv::inspect
