#include "support/FailingAllocation.h"

#if QUILLMOR_NEW_CAN_FAIL

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

/// How many allocations there are up to the last one that fails; 0 when none does.
std::atomic<int> allocationsLeft{0};
/// How many of these fail, the last ones.
std::atomic<int> failures{0};
thread_local int uncountedScopes = 0;

bool isOneToFail() {
  if (allocationsLeft.load(std::memory_order_relaxed) == 0 || uncountedScopes > 0) return false;
  return allocationsLeft.fetch_sub(1) <= failures;
}

}  // namespace

void* operator new(std::size_t size) {
  if (isOneToFail()) throw std::bad_alloc();
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

FailingAllocation::FailingAllocation(int number, int count) : count_(count) {
  failures = count;
  allocationsLeft = number + count - 1;
}

FailingAllocation::~FailingAllocation() {
  allocationsLeft = 0;
}

bool FailingAllocation::hasFailed() const {
  return allocationsLeft < count_;
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
