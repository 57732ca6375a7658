#include "tests/examples/dwarf_images.h"

#include <iterator>

namespace kiv::test {
namespace {

void put_contents(Image &image, const std::string &contents) { image.put_text(contents, contents.size()); }

void put_uleb(Image &image, uint64_t value) {
  for (; value >= 0x80; value >>= 7) image.put((value & 0x7F) | 0x80, 1);
  image.put(value, 1);
}

/// Not the shortest one.
void put_sleb(Image &image, uint64_t value) {
  const bool negative = static_cast<int64_t>(value) < 0;
  for (int i = 0; i < 9; ++i) image.put((value >> (7 * i) & 0x7F) | 0x80, 1);
  image.put((value >> 63) | (negative ? 0x7E : 0), 1);
}

}  // namespace

DwarfBuilder::DwarfBuilder(DwarfShape shape) : shape_(shape) {
  for (Image *image : {&info_, &types_, &abbreviations_, &strings_, &line_strings_, &text_offsets_}) {
    image->order = shape.order;
    image->wide = shape.wide;
  }
  text_offsets_.pad_to(shape.long_offsets ? 16 : 8);  // its header is not looked at
}

void DwarfBuilder::end_unit() {
  if (!in_unit_) return;
  const size_t field = static_cast<size_t>(unit_start_) + (shape_.long_offsets ? 4 : 0);
  const auto width = static_cast<size_t>(offset_size());
  current().put_at(field, current().size() - field - width, offset_size());
}

void DwarfBuilder::begin_unit(uint32_t type, uint64_t signature) {
  end_unit();
  in_unit_ = true;
  in_types_ = type == 2 && shape_.version < 5;
  Image &unit = current();
  unit_start_ = unit.size();
  if (shape_.long_offsets) unit.put(0xFFFFFFFF, 4);
  unit.put(0, offset_size());
  unit.put(static_cast<uint64_t>(shape_.version), 2);
  if (shape_.version == 5) unit.put(type, 1);
  if (shape_.version == 5) unit.put(shape_.wide ? 8 : 4, 1);
  unit.put(0, offset_size());
  if (shape_.version < 5) unit.put(shape_.wide ? 8 : 4, 1);
  if (type != 2) return;
  unit.put(signature, 8);
  unit.put(unit.size() - unit_start_ + static_cast<size_t>(offset_size()), offset_size());
}

uint64_t DwarfBuilder::entry(uint32_t tag, bool has_children, const std::vector<DwarfAttribute> &attributes) {
  const uint64_t offset = current().size() - unit_start_;
  code_ += shape_.long_offsets ? 3 : 1;  // producers leave no gaps, but may
  put_uleb(current(), code_);
  put_uleb(abbreviations_, code_);
  put_uleb(abbreviations_, tag);
  abbreviations_.put(has_children, 1);
  for (const DwarfAttribute &attribute : attributes) {
    put_uleb(abbreviations_, attribute.name);
    put_uleb(abbreviations_, attribute.form);
    put_value(attribute);
  }
  abbreviations_.put(0, 2);
  return offset;
}

uint64_t DwarfBuilder::text(const std::string &text, bool line) {
  Image &section = line ? line_strings_ : strings_;
  section.put_text(text, text.size() + 1);
  return section.size() - text.size() - 1;
}

void DwarfBuilder::put_value(const DwarfAttribute &attribute) {
  Image &unit = current();
  const auto &[name, form, value, contents] = attribute;
  constexpr int kWidths[] = {0,  -1, 0, 0, 0, 2, 4,  8, 0,  0, 0, 1, 1, 0, -2, 0, -2, 1, 2, 4, 8, 0, 0,
                             -2, 0,  0, 0, 0, 4, -2, 0, -2, 8, 0, 0, 0, 8, 1,  2, 3,  4, 1, 2, 3, 4};
  switch (form) {
    case 0x03:
    case 0x04:
    case 0x0A:
      unit.put(contents.size(), form == 0x03 ? 2 : form == 0x04 ? 4 : 1);
      return put_contents(unit, contents);
    case 0x08:
      return unit.put_text(contents, contents.size() + 1);
    case 0x09:
    case 0x18:
      put_uleb(unit, contents.size());
      return put_contents(unit, contents);
    case 0x0D:
      return contents.empty() ? put_sleb(unit, value) : put_contents(unit, contents);
    case 0x0F:
    case 0x15:
    case 0x1A:
    case 0x1B:
    case 0x22:
    case 0x23:
    case 0x1F01:
    case 0x1F02:
      return contents.empty() ? put_uleb(unit, value) : put_contents(unit, contents);
    case 0x10:
      return unit.put(value, shape_.version > 2 ? offset_size() : shape_.wide ? 8 : 4);
    case 0x16:
    case 0x1E:
      return put_contents(unit, contents);
    case 0x19:
      return;
    case 0x21:
      return put_sleb(abbreviations_, value);
    default:
      const int width = form < std::size(kWidths) ? kWidths[form] : -2;
      unit.put(value, width == -1 ? (shape_.wide ? 8 : 4) : width == -2 ? offset_size() : width);
  }
}

std::vector<SectionRow> DwarfBuilder::sections() {
  end_unit();
  in_unit_ = false;
  Image abbreviations = abbreviations_;
  abbreviations.put(0, 1);
  std::vector<SectionRow> rows = {{".debug_info", info_.bytes},
                                  {".debug_abbrev", abbreviations.bytes},
                                  {".debug_str", strings_.bytes},
                                  {".debug_line_str", line_strings_.bytes},
                                  {".debug_str_offsets", text_offsets_.bytes}};
  if (types_.size() != 0) rows.push_back({".debug_types", types_.bytes});
  return rows;
}

Image DwarfBuilder::elf() { return build_elf_sections(shape_.wide, shape_.order, sections()); }

Image DwarfBuilder::pe() { return build_pe_sections(shape_.wide, sections()); }

}  // namespace kiv::test
