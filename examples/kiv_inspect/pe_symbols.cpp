#include "examples/kiv_inspect/pe_image.h"
#include "examples/kiv_inspect/symbol_names.h"
#include "examples/kiv_inspect/symbol_readers.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kSymbolSize = 18;
constexpr uint32_t kShortNameSize = 8;
constexpr uint32_t kExportTableSize = 40;
enum : uint8_t { kExternal = 2, kStatic = 3 };  // storage classes

/// A COFF symbol's name: up to 8 bytes in its record, or four zero bytes and an offset in the string table.
Status read_coff_name(ByteView entry, ByteView strings, SymbolNames &names, std::string_view *name) {
  if (entry.u32(0) == 0) {
    const uint32_t offset = entry.u32(4);
    if (offset == 0) return {};  // a name of no bytes
    // What comes before the first name is the table's size.
    return names.read(strings, offset >= 4 ? offset : UINT64_MAX, name);
  }
  return names.read_field(entry.part(0, kShortNameSize).value_or(ByteView()), name);
}

Status add_coff_symbol(const PeImage &image, ByteView entry, ByteView strings, SymbolNames &names, SymbolTable &table) {
  const auto number = static_cast<int16_t>(entry.u16(12));
  const uint8_t storage_class = entry.u8(16);
  if (number <= 0 || (storage_class != kExternal && storage_class != kStatic)) return {};
  const PeSection *section = image.section_by_number(static_cast<uint32_t>(number));
  if (section == nullptr) return table.errors().failure("a symbol's section does not exist[|]");
  const bool is_function = (entry.u16(14) & 0x30) == 0x20;
  const bool has_more = entry.u8(17) != 0;
  // A static symbol with a further record that is no function stands for a section, or for one file's part of it.
  if (storage_class == kStatic && has_more && !is_function) return {};
  // Data has no type of its own to tell it from labels in code: its section does.
  Symbol symbol = {};
  symbol.kind = is_function ? SymbolKind::function : section->executable ? SymbolKind::other : SymbolKind::object;
  symbol.binding = storage_class == kExternal ? SymbolBinding::global : SymbolBinding::local;
  // In RVA arithmetic: linkers give symbols before the first section a negative value in it.
  symbol.address = image.address_of(section->address + entry.u32(8));
  const Status status = read_coff_name(entry, strings, names, &symbol.name);
  return status.ok() && !symbol.name.empty() ? table.add(symbol) : status;
}

Status read_coff_symbols(FileView file, const PeImage &image, SymbolNames &names, SymbolTable &table) {
  const auto [offset, count] = image.coff_symbols();
  if (offset == 0 || count == 0) return {};
  const uint64_t size = uint64_t{count} * kSymbolSize;
  const auto symbols = file.part(offset, size);
  if (!symbols) return table.errors().failure("its symbol table lies outside the file[|]");
  ByteView strings;
  Status status = image.coff_strings(&strings);
  for (uint64_t at = 0; status.ok() && at < size;) {
    const ByteView entry = symbols->part(at, kSymbolSize).value_or(ByteView());
    status = table.errors().add(add_coff_symbol(image, entry, strings, names, table),
                                "COFF symbol [0_u64] cannot be read[|]", at / kSymbolSize);
    at += uint64_t{kSymbolSize} * (1u + entry.u8(17));  // further records belong to this symbol
  }
  return status;
}

/// One name of the export table; `functions` are the RVAs by ordinal.
Status add_export(const PeImage &image, uint32_t name_rva, uint32_t ordinal, ByteView functions, SymbolNames &names,
                  SymbolTable &table) {
  const auto entry = functions.part(uint64_t{ordinal} * 4, 4);
  if (!entry) return table.errors().failure("an exported name has no address[|]");
  const uint32_t rva = entry->u32(0);
  const auto [directory, directory_size] = image.export_table();
  const bool is_forwarder = rva - directory < directory_size;
  if (rva == 0 || is_forwarder) return {};
  const PeSection *section = image.section_at(rva);
  Symbol symbol = {};
  symbol.kind = section == nullptr    ? SymbolKind::other
                : section->executable ? SymbolKind::function
                                      : SymbolKind::object;
  symbol.address = image.address_of(rva);
  ByteView text;
  Status status = image.bytes_at(name_rva, &text);
  if (status.ok()) status = names.read(text, 0, &symbol.name);
  return status.ok() && !symbol.name.empty() ? table.add(symbol) : status;
}

/// An array of the export table, of `count` numbers of `width` bytes.
Status read_array(const PeImage &image, uint32_t rva, uint32_t count, uint32_t width, ByteView *array) {
  ByteView rest;
  const Status status = image.bytes_at(rva, &rest);
  if (!status.ok()) return status;
  const auto part = rest.part(0, uint64_t{count} * width);
  if (!part) return image.errors().failure("its export table is cut off[|]");
  *array = *part;
  return {};
}

Status read_exports(const PeImage &image, SymbolNames &names, SymbolTable &table) {
  const auto [directory, directory_size] = image.export_table();
  if (directory == 0 || directory_size == 0) return {};
  // Files with nothing but debug information keep the sections' headers only.
  const PeSection *home = image.section_at(directory);
  if (home != nullptr && home->file_size == 0) return {};
  ByteView header;
  Status status = read_array(image, directory, kExportTableSize, 1, &header);
  const uint32_t function_count = header.u32(20), name_count = header.u32(24);
  if (!status.ok() || name_count == 0) return status;
  ByteView functions, name_rvas, ordinals;
  status = read_array(image, header.u32(28), function_count, 4, &functions);
  if (status.ok()) status = read_array(image, header.u32(32), name_count, 4, &name_rvas);
  if (status.ok()) status = read_array(image, header.u32(36), name_count, 2, &ordinals);
  for (uint32_t i = 0; status.ok() && i < name_count; ++i) {
    const auto name_rva = static_cast<uint32_t>(name_rvas.number({i * 4, 4}));
    status = table.errors().add(add_export(image, name_rva, ordinals.u16(i * 2), functions, names, table),
                                "export [0_u32] cannot be read[|]", i);
  }
  return status;
}

}  // namespace

Status read_pe_symbols(FileView file, SymbolTable &table) {
  file = file.in_order(ByteOrder::little);
  PeImage image(table.errors());
  Status status = image.open(file, table.pool());
  table.address_digits = image.address_digits();
  SymbolNames names(table.errors(), file.size());
  if (status.ok()) status = read_coff_symbols(file, image, names, table);
  if (status.ok()) status = read_exports(image, names, table);
  return status;
}

}  // namespace kiv::inspect
