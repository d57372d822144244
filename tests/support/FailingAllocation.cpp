#include "support/FailingAllocation.h"

#if QUILLMOR_NEW_CAN_FAIL

#include <cstdlib>
#include <new>

namespace {

/// How many allocations from now one fails; 0 for none.
thread_local int allocationsLeft = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (allocationsLeft > 0 && --allocationsLeft == 0) throw std::bad_alloc();
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace quillmor {

FailingAllocation::FailingAllocation(int number) {
  allocationsLeft = number;
}

FailingAllocation::~FailingAllocation() {
  allocationsLeft = 0;
}

bool FailingAllocation::hasFailed() const {
  return allocationsLeft == 0;
}

}  // namespace quillmor

#endif
