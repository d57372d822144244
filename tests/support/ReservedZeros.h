#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillmor::test {

/// Any number of zero bytes that take address space only, even when they are read.
class ReservedZeros {
 public:
  explicit ReservedZeros(std::size_t size)
      : size_(size),
        mapping_(
            ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
    EXPECT_NE(mapping_, MAP_FAILED);
  }
  ~ReservedZeros() { ::munmap(mapping_, size_); }
  ReservedZeros(const ReservedZeros&) = delete;
  ReservedZeros& operator=(const ReservedZeros&) = delete;

  std::span<const std::uint8_t> span() const {
    return {static_cast<const std::uint8_t*>(mapping_), size_};
  }

 private:
  std::size_t size_;
  void* mapping_;
};

}  // namespace quillmor::test
