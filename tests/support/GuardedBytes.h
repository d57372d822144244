#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillmor {

/// Memory between two pages that nobody may touch, so that a byte read before its start or behind
/// its end ends the process.
class GuardedBytes {
 public:
  /// Room for at least `capacity` bytes.
  explicit GuardedBytes(std::size_t capacity);
  ~GuardedBytes();
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  /// `bytes` copied right behind the page before.
  std::span<const std::uint8_t> atStart(std::span<const std::uint8_t> bytes);

  /// `bytes` copied right before the page behind.
  std::span<const std::uint8_t> atEnd(std::span<const std::uint8_t> bytes);

 private:
  std::span<const std::uint8_t> copied(std::span<const std::uint8_t> bytes, std::uint8_t* to);

  std::size_t pageSize_;
  std::size_t capacity_;
  std::uint8_t* mapping_;
};

}  // namespace quillmor
