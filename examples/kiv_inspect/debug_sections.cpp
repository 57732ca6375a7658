#include "examples/kiv_inspect/debug_sections.h"

#include <string_view>

#include "examples/kiv_inspect/elf_image.h"
#include "examples/kiv_inspect/pe_image.h"
#include "examples/kiv_inspect/program_format.h"
#include "examples/kiv_inspect/unit_header.h"

namespace kiv::inspect {
namespace {

constexpr char kCompressed[] = "its debug information is compressed, which is not supported[|]";
constexpr char32_t kCompressedHelp[] = U"objcopy --decompress-debug-sections makes a readable copy.";

constexpr struct {
  std::string_view name;
  ByteView DebugSections::*bytes;
} kSections[] = {
    {"info", &DebugSections::info},
    {"types", &DebugSections::types},
    {"abbrev", &DebugSections::abbreviations},
    {"str", &DebugSections::strings},
    {"line_str", &DebugSections::line_strings},
    {"str_offsets", &DebugSections::string_offsets},
};

/// Which section a name stands for, and what the name says about it.
struct Choice {
  ByteView *bytes;  // null: none of them
  bool compressed;
  bool split;
};

Choice choose(ByteView table, DebugSections *sections) {
  // No name that counts is longer.
  std::string_view name = table.text().substr(0, 32);
  name = name.substr(0, name.find('\0'));
  Choice choice = {nullptr, name.starts_with(".zdebug_"), name == ".debug_info.dwo"};
  if (!choice.compressed && !name.starts_with(".debug_")) return choice;
  name.remove_prefix(choice.compressed ? 8 : 7);
  for (const auto &section : kSections) {
    if (name == section.name) choice.bytes = &(sections->*section.bytes);
  }
  return choice;
}

/// Of several sections with one name the first counts.
bool is_wanted(const Choice &choice) { return choice.bytes != nullptr && choice.bytes->size() == 0; }

Status find_in_elf(const Errors &errors, FileView file, DebugSections *sections, bool *split) {
  ElfImage image(errors);
  Status status = image.open(file);
  sections->x87 = image.is_x86();
  sections->double_pairs = image.is_powerpc();
  ByteView names;
  if (status.ok()) status = image.section_names(&names);
  for (uint32_t i = 0; status.ok() && i < image.section_count(); ++i) {
    const ElfSection section = image.section(i);
    const Choice choice = choose(names.rest(section.name).value_or(ByteView()), sections);
    *split = *split || choice.split;
    if (!is_wanted(choice) || section.type == ElfSection::kNoBits) continue;
    if (!image.is_linked()) return errors.failure("it is an object file: its debug information is not linked[|]");
    if (choice.compressed || section.has(ElfSection::kCompressed))
      return errors.failure({kCompressed, kCompressedHelp});
    status = image.contents(section, choice.bytes);
  }
  return status;
}

Status find_in_pe(const Errors &errors, FileView file, KIV_ALLOCATOR *scratch, DebugSections *sections, bool *split) {
  PeImage image(errors);
  Status status = image.open(file, scratch);
  sections->x87 = image.is_x86();
  for (uint32_t i = 1; status.ok() && i <= image.section_count(); ++i) {
    const PeSection &section = *image.section_by_number(i);
    ByteView name;
    status = image.name(section, &name);
    const Choice choice = choose(name, sections);
    *split = *split || choice.split;
    if (!status.ok() || !is_wanted(choice)) continue;
    if (choice.compressed) return errors.failure({kCompressed, kCompressedHelp});
    status = image.contents(section, choice.bytes);
  }
  return status;
}

}  // namespace

Status find_debug_sections(const Errors &errors, FileView file, KIV_ALLOCATOR *scratch, DebugSections *sections) {
  *sections = {};
  ProgramFormat format;
  Status status = recognise(errors, file, &format);
  if (!status.ok()) return status;
  bool split = false;
  status = format == ProgramFormat::elf ? find_in_elf(errors, file, sections, &split)
                                        : find_in_pe(errors, file, scratch, sections, &split);
  if (!status.ok()) return status;
  if (sections->info.size() != 0 || sections->types.size() != 0) return {};
  return errors.failure(split ? kSplitDebugInfo : "it has no debug information[|]");
}

}  // namespace kiv::inspect
