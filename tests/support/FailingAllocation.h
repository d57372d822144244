#pragma once

#include "support/MemoryProbes.h"

#if QUILLMOR_NEW_CAN_FAIL

namespace quillmor {

/// While one of these lives, the next `operator new` of its thread throws; those after it do not,
/// because telling of the failure takes memory as well.
class FailingAllocation {
 public:
  FailingAllocation();
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace quillmor

#endif
