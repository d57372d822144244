#include "kernels/ByteKernelLoops.h"
#include "kernels/ByteKernels.h"

namespace quillmor {

#if defined(__x86_64__)

namespace {

[[gnu::target("avx2")]] void invert(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::invert(to, from, count);
}

[[gnu::target("avx2")]] void reverse(std::uint8_t* to, const std::uint8_t* from,
                                     std::size_t count) {
  ByteKernelLoops::reverse(to, from, count);
}

[[gnu::target("avx2")]] void swap16(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::swap16(to, from, count);
}

[[gnu::target("avx2")]] void swap32(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::swap32(to, from, count);
}

[[gnu::target("avx2")]] void exclusiveOr(std::uint8_t* to, const std::uint8_t* from,
                                         const std::uint8_t* with, std::size_t count) {
  ByteKernelLoops::exclusiveOr(to, from, with, count);
}

[[gnu::target("avx2")]] void bitwiseAnd(std::uint8_t* to, const std::uint8_t* from,
                                        const std::uint8_t* with, std::size_t count) {
  ByteKernelLoops::bitwiseAnd(to, from, with, count);
}

[[gnu::target("avx2")]] void bitwiseOr(std::uint8_t* to, const std::uint8_t* from,
                                       const std::uint8_t* with, std::size_t count) {
  ByteKernelLoops::bitwiseOr(to, from, with, count);
}

constexpr ByteKernels kAvx2 = {
    .name = "AVX2",
    .invert = invert,
    .reverse = reverse,
    .swap16 = swap16,
    .swap32 = swap32,
    .exclusiveOr = exclusiveOr,
    .bitwiseAnd = bitwiseAnd,
    .bitwiseOr = bitwiseOr,
};

}  // namespace

const ByteKernels* avx2ByteKernels() {
  return __builtin_cpu_supports("avx2") ? &kAvx2 : nullptr;
}

#else

const ByteKernels* avx2ByteKernels() {
  return nullptr;
}

#endif

}  // namespace quillmor
