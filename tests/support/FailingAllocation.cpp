#include "support/FailingAllocation.h"

#if QUILLMOR_NEW_CAN_FAIL

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

/// How many allocations from now one fails; 0 for none.
std::atomic<int> allocationsLeft{0};
thread_local int uncountedScopes = 0;

bool isTheOneToFail() {
  if (allocationsLeft.load(std::memory_order_relaxed) == 0 || uncountedScopes > 0) return false;
  return allocationsLeft.fetch_sub(1) == 1;
}

}  // namespace

void* operator new(std::size_t size) {
  if (isTheOneToFail()) throw std::bad_alloc();
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

UncountedAllocations::UncountedAllocations() {
  ++uncountedScopes;
}

UncountedAllocations::~UncountedAllocations() {
  --uncountedScopes;
}

}  // namespace quillmor

#else

namespace quillmor {

UncountedAllocations::UncountedAllocations() = default;
UncountedAllocations::~UncountedAllocations() = default;

}  // namespace quillmor

#endif
