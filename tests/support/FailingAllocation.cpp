#include "support/FailingAllocation.h"

#if QUILLMOR_NEW_CAN_FAIL

#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local bool nextOneFails = false;

}  // namespace

void* operator new(std::size_t size) {
  if (std::exchange(nextOneFails, false)) throw std::bad_alloc();
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

FailingAllocation::FailingAllocation() {
  nextOneFails = true;
}

FailingAllocation::~FailingAllocation() {
  nextOneFails = false;
}

}  // namespace quillmor

#endif
