// The reports of the debug heap: where each check stands and what it says. Both are part of the interface; the lines do
// not follow the sources.
#ifndef KIV_FOUNDATION_DEBUG_HEAP_REPORT_H
#define KIV_FOUNDATION_DEBUG_HEAP_REPORT_H

namespace kiv::debug_heap {

struct Check {
  int line;
  const char *message;
};

/// Tells the hook. Does not return when the hook wants the thread to stop.
void report(Check failed);

inline constexpr char kBadRecord[] = "Internal inconsistency: alloc variable";
inline constexpr char kTakeFailed[] = "kiv_mutex_take failed";
inline constexpr char kGiveFailed[] = "kiv_mutex_give failed";
inline constexpr char kMallocFailed[] = "malloc failed";
inline constexpr char kCallocFailed[] = "calloc failed";
inline constexpr char kReallocFailed[] = "realloc failed";

inline constexpr Check kAddedTwice{154, "adding block for the second time to heap admin"};
inline constexpr Check kNotAdded{158, "adding block to heap admin failed"};

inline constexpr Check kBadState{201, "write before start of block detected in free() or specified an unknown pointer"};
inline constexpr Check kBadBackGuard{207, "write beyond end of block detected in free()"};
inline constexpr Check kUnreadableStart{210, "about to free an invalid pointer"};
inline constexpr Check kUnreadableBlock{213, "invalid pointer"};
inline constexpr Check kBadFrontGuard{219, "write before start of block detected in free()"};

inline constexpr Check kAllocRecord{409, kBadRecord};
inline constexpr Check kAllocTake{415, kTakeFailed};
inline constexpr Check kAllocNull{423, kMallocFailed};
inline constexpr Check kAllocUnreadable{424, kMallocFailed};
inline constexpr Check kAllocUnreadableOnceFilled{431, kMallocFailed};
inline constexpr Check kAllocGive{445, kGiveFailed};

inline constexpr Check kCallocRecord{465, kBadRecord};
inline constexpr Check kCallocNull{471, kCallocFailed};
inline constexpr Check kCallocUnreadable{472, kCallocFailed};

inline constexpr Check kUnregisterRecord{500, kBadRecord};
/// Its message names the operation and the block.
inline constexpr int kUnknownBlockLine = 513;

inline constexpr Check kReallocRecord{529, kBadRecord};
inline constexpr Check kReallocTake{535, kTakeFailed};
inline constexpr Check kReallocNull{560, kReallocFailed};
inline constexpr Check kReallocUnreadable{561, kReallocFailed};
inline constexpr Check kReallocGive{571, kGiveFailed};

inline constexpr Check kFreeRecord{624, kBadRecord};
inline constexpr Check kFreeTake{630, kTakeFailed};
inline constexpr Check kFreeGive{643, kGiveFailed};

inline constexpr Check kNewStorage{688, kBadRecord};
inline constexpr Check kNewRegistry{716, "admin init failed"};
inline constexpr Check kNewMutex{722, "kiv_mutex_new failed"};

inline constexpr Check kDestroyTake{753, kTakeFailed};
inline constexpr Check kDestroyMagic{757, "not a debug heap allocator"};
inline constexpr Check kDestroyLeaks{765, "not all allocated memory has been free-ed"};
inline constexpr Check kDestroyGive{772, kGiveFailed};
inline constexpr Check kDestroyMutex{777, "kiv_mutex_delete failed"};

}  // namespace kiv::debug_heap

#endif
