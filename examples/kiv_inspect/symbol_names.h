// Reads names out of string tables, in time that is linear in the size of the file.
//
// Names may share bytes: linkers store "foo" as the end of "barfoo". A hostile file can carry this on until the names
// together are as long as the square of the file, and so the bytes of all names are counted. Sixteen times the file's
// size is far more than sharing gives in real programs.
#ifndef KIV_INSPECT_SYMBOL_NAMES_H
#define KIV_INSPECT_SYMBOL_NAMES_H

#include <string_view>

#include "examples/kiv_inspect/byte_view.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

class SymbolNames {
 public:
  /// REQUIRES: the errors outlive this.
  SymbolNames(const Errors &errors, uint32_t file_size) : errors_(errors), bytes_left_(uint64_t{file_size} * 16) {}

  /// The name from offset to the next zero byte, which has to be in the table.
  Status read(ByteView table, uint64_t offset, std::string_view *name);

  /// The name that a field starts with. One that fills a field of up to 8 bytes has no zero behind it.
  Status read_field(ByteView field, std::string_view *name);

 private:
  const Errors &errors_;
  uint64_t bytes_left_;
};

}  // namespace kiv::inspect

#endif
