#include "examples/kiv_inspect/elf_image.h"
#include "examples/kiv_inspect/symbol_names.h"
#include "examples/kiv_inspect/symbol_readers.h"
#include "kiv_enum_translate.h"

namespace kiv::inspect {
namespace {

enum : uint32_t { kSymtab = 2, kDynsym = 11 };                             // section types
enum : uint64_t { kUndefined = 0, kAbsolute = 0xFFF1, kCommon = 0xFFF2 };  // section indices
enum : uint32_t { kNoType = 0, kObject = 1, kFunction = 2, kIfunc = 10 };  // symbol types
enum : uint32_t { kGlobal = 1, kWeak = 2, kUnique = 10 };                  // symbol bindings

struct Layout {
  uint32_t symbol_size;
  Field name, value, size, info, section;
};
constexpr Layout kLayout32 = {16, {0, 4}, {4, 4}, {8, 4}, {12, 1}, {14, 2}};
constexpr Layout kLayout64 = {24, {0, 4}, {8, 8}, {16, 8}, {4, 1}, {6, 2}};

/// A constant of the program's out of one of the file's.
template <class Value>
constexpr KIV_ENUM_PAIR pair(uint32_t code, Value value) {
  return {code, static_cast<uint32_t>(value)};
}

// Only symbols that name an address have a kind: sections, files, thread-local variables and the like are none.
constexpr KIV_ENUM_TABLE_OF(4) kKinds = {{4, 0},
                                         {pair(kFunction, SymbolKind::function), pair(kObject, SymbolKind::object),
                                          pair(kNoType, SymbolKind::other), pair(kIfunc, SymbolKind::function)}};
constexpr KIV_ENUM_TABLE_OF(3) kBindings = {
    {3, 0},
    {pair(kGlobal, SymbolBinding::global), pair(kWeak, SymbolBinding::weak), pair(kUnique, SymbolBinding::global)}};

Status add_symbol(ByteView entry, const Layout &in, ByteView strings, SymbolNames &names, SymbolTable &table) {
  const uint64_t section = entry.number(in.section);
  if (section == kUndefined || section == kAbsolute || section == kCommon) return {};
  const uint64_t info = entry.number(in.info);  // type in the lower half, binding in the upper one
  uint32_t kind, binding = static_cast<uint32_t>(SymbolBinding::local);
  if (kiv_enum_translate_to_enum(info & 15, &kKinds.head, &kind, 0) != 0) return {};
  (void)kiv_enum_translate_to_enum(static_cast<uint32_t>(info >> 4), &kBindings.head, &binding, 0);
  const uint64_t name_offset = entry.number(in.name);
  if (name_offset == 0) return {};
  Symbol symbol = {entry.number(in.value),
                   entry.number(in.size),
                   {},
                   static_cast<SymbolKind>(kind),
                   static_cast<SymbolBinding>(binding)};
  const Status status = names.read(strings, name_offset, &symbol.name);
  return status.ok() && !symbol.name.empty() ? table.add(symbol) : status;
}

Status read_table(const ElfImage &image, const ElfSection &section, SymbolNames &names, SymbolTable &table) {
  if (section.size == 0) return {};
  const Layout &in = image.has_64_bits() ? kLayout64 : kLayout32;
  if (section.entry_size < in.symbol_size) return table.errors().failure("its symbol table's entries are too small[|]");
  if (section.link >= image.section_count()) return table.errors().failure("a symbol table has no string table[|]");
  ByteView symbols, strings;
  Status status = image.contents(section, &symbols);
  if (status.ok()) status = image.contents(image.section(section.link), &strings);
  for (uint64_t at = 0; status.ok(); at += section.entry_size) {
    const auto entry = symbols.part(at, section.entry_size);
    if (!entry) break;
    status = add_symbol(*entry, in, strings, names, table);
  }
  return status;
}

}  // namespace

Status read_elf_symbols(FileView file, SymbolTable &table) {
  ElfImage image(table.errors());
  Status status = image.open(file);
  table.address_digits = image.address_digits();
  SymbolNames names(table.errors(), file.size());
  uint32_t seen_symtab = 0, seen_dynsym = 0;
  for (uint32_t i = 0; status.ok() && i < image.section_count(); ++i) {
    const ElfSection section = image.section(i);
    if (section.type != kSymtab && section.type != kDynsym) continue;
    // More than one of a type is not allowed; many that lie over each other would take quadratic time.
    if (++(section.type == kSymtab ? seen_symtab : seen_dynsym) > 1)
      return table.errors().failure("it has several symbol tables of one type[|]");
    status = table.errors().add(read_table(image, section, names, table),
                                "section [0_u32], a symbol table, cannot be read[|]", i);
  }
  return status;
}

}  // namespace kiv::inspect
