#pragma once

#include "support/MemoryProbes.h"

#if QUILLMOR_NEW_CAN_FAIL

namespace quillmor {

/// While one of these lives, one `operator new` of its thread throws: the next one, or the
/// `number`th from now. Those after it do not, because telling of the failure takes memory as well.
class FailingAllocation {
 public:
  explicit FailingAllocation(int number = 1);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether there have been so many allocations that one has failed.
  bool hasFailed() const;
};

}  // namespace quillmor

#endif
