#include "kernels/ByteKernels.h"

#include "kernels/ByteKernelLoops.h"
#include "kernels/Cpu.h"

namespace quillmor {
namespace {

void invert(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::invert(to, from, count);
}

void reverse(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::reverseByWords(to, from, count);
}

void swap16(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::swap16(to, from, count);
}

void swap32(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::swap32(to, from, count);
}

void exclusiveOr(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* with,
                 std::size_t count) {
  ByteKernelLoops::exclusiveOr(to, from, with, count);
}

void bitwiseAnd(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* with,
                std::size_t count) {
  ByteKernelLoops::bitwiseAnd(to, from, with, count);
}

void bitwiseOr(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* with,
               std::size_t count) {
  ByteKernelLoops::bitwiseOr(to, from, with, count);
}

constexpr KernelVariant<ByteKernels> kVariants[] = {{portableByteKernels},
                                                    {avx2ByteKernels, CpuFeature::avx2}};

}  // namespace

constinit const ByteKernels portableByteKernels = {
    .name = "portable",
    .invert = invert,
    .reverse = reverse,
    .swap16 = swap16,
    .swap32 = swap32,
    .exclusiveOr = exclusiveOr,
    .bitwiseAnd = bitwiseAnd,
    .bitwiseOr = bitwiseOr,
};

const ByteKernels& fastestByteKernels() {
  static const ByteKernels& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const ByteKernels*> availableByteKernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
