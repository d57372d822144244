#pragma once

#include "support/MemoryProbes.h"

namespace quillmor {

/// While one of these lives, the allocations of its thread neither fail nor count: for what a test
/// does itself in the midst of the code under test.
class UncountedAllocations {
 public:
  UncountedAllocations();
  ~UncountedAllocations();
  UncountedAllocations(const UncountedAllocations&) = delete;
  UncountedAllocations& operator=(const UncountedAllocations&) = delete;
};

#if QUILLMOR_NEW_CAN_FAIL

/// While one of these lives, `count` calls of `operator new` in a row throw: the first is the next
/// one, or the `number`th from now. Those after them do not, because showing the failure takes
/// memory as well. To be used while one thread runs at a time.
class FailingAllocation {
 public:
  explicit FailingAllocation(int number = 1, int count = 1);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether there have been so many allocations that one has failed.
  bool hasFailed() const;

 private:
  const int count_;
};

#endif

}  // namespace quillmor
