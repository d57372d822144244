#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillmor {

/// How two bytes become one.
enum class ByteOperation { exclusiveOr, bitwiseAnd, bitwiseOr };

/// The inner loops of the byte transforms, once per kind of processor. All read `count` bytes from
/// `from` and write as many to `to`, which overlaps nothing that is read. Any alignment; 0 bytes
/// are fine. They allocate nothing and throw nothing. Any thread.
struct ByteKernels {
  using Unary = void (*)(std::uint8_t* to, const std::uint8_t* from, std::size_t count);
  using Binary = void (*)(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* with,
                          std::size_t count);

  const char* name = nullptr;  ///< null where the program was built for another processor
  Unary invert = nullptr;      ///< every byte's complement
  Unary reverse = nullptr;     ///< the last byte first
  Unary swap16 = nullptr;      ///< each group of two bytes reversed; `count` is a multiple of 2
  Unary swap32 = nullptr;      ///< each group of four bytes reversed; `count` is a multiple of 4
  Binary exclusiveOr = nullptr;
  Binary bitwiseAnd = nullptr;
  Binary bitwiseOr = nullptr;

  Binary combining(ByteOperation operation) const {
    if (operation == ByteOperation::exclusiveOr) return exclusiveOr;
    return operation == ByteOperation::bitwiseAnd ? bitwiseAnd : bitwiseOr;
  }
};

/// The best kernels this processor runs, chosen on first use.
const ByteKernels& fastestByteKernels();

/// All kernels this processor runs; first the portable ones, which every processor runs.
std::vector<const ByteKernels*> availableByteKernels();

/// The kernels themselves.
extern const ByteKernels portableByteKernels;
extern const ByteKernels avx2ByteKernels;

}  // namespace quillmor
