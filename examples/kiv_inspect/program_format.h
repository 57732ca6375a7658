// What kind of file a program is.
#ifndef KIV_INSPECT_PROGRAM_FORMAT_H
#define KIV_INSPECT_PROGRAM_FORMAT_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

enum class ProgramFormat { elf, pe };

/// A file of another format is a failure.
Status recognise(const Errors &errors, FileView file, ProgramFormat *format);

/// The failure of those who need addresses that are final.
constexpr char kNotLinked[] = "it is an object file: its addresses are not final[|]";

}  // namespace kiv::inspect

#endif
