// Three-way comparisons, as the library's containers take them.
#ifndef KIV_INSPECT_COMPARE_H
#define KIV_INSPECT_COMPARE_H

namespace kiv::inspect {

template <class T>
constexpr int compare(T a, T b) {
  return (a > b) - (a < b);
}

template <class Record, class Value>
Record record_of(Value Record::*);

/// For containers of records in the order of one of their fields: by_field<&Unit::start>.
template <auto kField>
int by_field(const void *a, const void *b) {
  using Record = decltype(record_of(kField));
  return compare(static_cast<const Record *>(a)->*kField, static_cast<const Record *>(b)->*kField);
}

}  // namespace kiv::inspect

#endif
