#include "support/GuardedBytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace quillmor {

GuardedBytes::GuardedBytes(std::size_t capacity)
    : pageSize_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
      capacity_((capacity + pageSize_ - 1) / pageSize_ * pageSize_) {
  void* const mapping =
      ::mmap(nullptr, capacity_ + 2 * pageSize_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) throw std::runtime_error("no memory for guarded bytes");
  mapping_ = static_cast<std::uint8_t*>(mapping);
  if (::mprotect(mapping_ + pageSize_, capacity_, PROT_READ | PROT_WRITE) != 0) {
    throw std::runtime_error("guarded bytes cannot be made writable");
  }
}

GuardedBytes::~GuardedBytes() {
  ::munmap(mapping_, capacity_ + 2 * pageSize_);
}

std::span<const std::uint8_t> GuardedBytes::copied(std::span<const std::uint8_t> bytes,
                                                   std::uint8_t* to) {
  std::ranges::copy(bytes, to);
  return {to, bytes.size()};
}

std::span<const std::uint8_t> GuardedBytes::atStart(std::span<const std::uint8_t> bytes) {
  return copied(bytes, mapping_ + pageSize_);
}

std::span<const std::uint8_t> GuardedBytes::atEnd(std::span<const std::uint8_t> bytes) {
  return copied(bytes, mapping_ + pageSize_ + capacity_ - bytes.size());
}

}  // namespace quillmor
