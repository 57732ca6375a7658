// A program that several requests look into at once.
//
// Representation. The program, and a mutex that is held while a part of it is read.
// Invariants.
// 1. Only load() changes the program, and only while it holds the mutex. Everyone else has it as a constant: searches
//    and walks in its trees and arrays, its objects' texts and its memory write nothing, and nobody but load() reads in
//    its file.
// 2. Who looks at a part has called load() for it: the mutex was given behind the last write to this part.
// 3. Reading a part writes to no other one, but for the sizes of symbols, which belong to the extents: a request that
//    has not loaded these does not look at sizes.
// 4. What load() gives out is a copy: the record of a failure stays as it is, for the others that need the same part.
#ifndef KIV_INSPECT_SHARED_PROGRAM_H
#define KIV_INSPECT_SHARED_PROGRAM_H

#include <atomic>
#include <initializer_list>

#include "examples/kiv_inspect/program.h"
#include "kiv_mutex.h"

namespace kiv::inspect {

class SharedProgram {
 public:
  /// REQUIRES: the parent outlives this; it may be used by any thread that uses this.
  SharedProgram(KIV_ALLOCATOR *parent, Reading reading);
  ~SharedProgram();
  SharedProgram(const SharedProgram &) = delete;
  SharedProgram &operator=(const SharedProgram &) = delete;

  using Part = Status (Program::*)();

  /// Reads the program's file and then these parts, in this order, up to the first that cannot be read. Each is read
  /// once, further calls find it there, or its failure, which becomes one of errors. For any thread.
  Status load(const char *path, std::initializer_list<Part> parts, const Errors &errors);

  /// What was loaded of it.
  const Program &program() const { return program_; }

  /// Whether a part could not be read. For any thread.
  bool has_failed() const { return has_failed_; }

  /// How long load() took so far, in microseconds. REQUIRES: it does not run.
  uint64_t load_time() const { return load_time_; }

  /// Requests that look into it; for whoever counts them.
  uint32_t users = 0;

 private:
  Status load_parts(const char *path, std::initializer_list<Part> parts);

  kiv_mutex mutex_ = nullptr;  // null: there is none
  Errors errors_;
  Program program_;
  std::atomic<bool> has_failed_ = false;
  uint64_t load_time_ = 0;
};

}  // namespace kiv::inspect

#endif
