// How readers report what is wrong: by value. They never print; only the program does, in one place.
#ifndef KIV_INSPECT_STATUS_H
#define KIV_INSPECT_STATUS_H

namespace kiv::inspect {

struct [[nodiscard]] Status {
  const char *problem = nullptr;  // null: success; else a text that lasts as long as the program
  int error_number = 0;           // the C runtime's errno where it says more, or 0

  bool ok() const { return problem == nullptr; }
};

inline constexpr Status kOutOfMemory = {"there is not enough memory"};

}  // namespace kiv::inspect

#endif
