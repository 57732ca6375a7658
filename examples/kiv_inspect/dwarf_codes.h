// The numbers of DWARF that the readers know by name. Source: DWARF 5, section 7.5; for GNU's own the manual of GCC.
#ifndef KIV_INSPECT_DWARF_CODES_H
#define KIV_INSPECT_DWARF_CODES_H

#include <cstdint>

namespace kiv::inspect::dwarf {

enum Tag : uint32_t {
  kClassType = 0x02,
  kEnumerationType = 0x04,
  kMember = 0x0D,
  kPointerType = 0x0F,
  kReferenceType = 0x10,
  kStructureType = 0x13,
  kTypedef = 0x16,
  kUnionType = 0x17,
  kModule = 0x1E,
  kSubrangeType = 0x21,
  kBaseType = 0x24,
  kConstType = 0x26,
  kConstant = 0x27,
  kEnumerator = 0x28,
  kPackedType = 0x2D,
  kVariable = 0x34,
  kVolatileType = 0x35,
  kRestrictType = 0x37,
  kInterfaceType = 0x38,
  kNamespace = 0x39,
  kSharedType = 0x40,
  kRvalueReferenceType = 0x42,
  kAtomicType = 0x47,
  kImmutableType = 0x4B,
};

enum Attribute : uint32_t {
  kName = 0x03,
  kByteSize = 0x0B,
  kConstValue = 0x1C,
  kAbstractOrigin = 0x31,
  kDeclaration = 0x3C,
  kEncoding = 0x3E,
  kSpecification = 0x47,
  kType = 0x49,
  kSignature = 0x69,
  kStringOffsetsBase = 0x72,
  kDwoName = 0x76,
  kGnuDwoName = 0x2130,
};

enum Form : uint32_t {
  kFormImplicitConst = 0x21,
  kFormGnuAddrIndex = 0x1F01,
  kFormGnuStrIndex = 0x1F02,
  kFormGnuRefAlt = 0x1F20,
  kFormGnuStrpAlt = 0x1F21,
};

enum UnitType : uint32_t { kCompile = 1, kTypeUnit, kPartial, kSkeleton, kSplitCompile, kSplitType };

enum Encoding : uint32_t {
  kAddressEncoding = 1,
  kBoolean,
  kComplexFloat,
  kFloat,
  kSigned,
  kSignedChar,
  kUnsigned,
  kUnsignedChar,
  kUtf = 0x10,
  kUcs,
  kAscii,
};

}  // namespace kiv::inspect::dwarf

#endif
