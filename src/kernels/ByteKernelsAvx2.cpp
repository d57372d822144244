// Built with AVX2 instructions where the processor knows them. Whatever it includes must not be
// shared with other files as a function of its own.
#include "kernels/ByteKernels.h"

#if defined(__AVX2__)

#include "kernels/ByteKernelLoops.h"

namespace quillmor {
namespace {

void invert(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::invert(to, from, count);
}

void reverse(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
  ByteKernelLoops::reverse(to, from, count);
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

}  // namespace

constinit const ByteKernels avx2ByteKernels = {
    .name = "AVX2",
    .invert = invert,
    .reverse = reverse,
    .swap16 = swap16,
    .swap32 = swap32,
    .exclusiveOr = exclusiveOr,
    .bitwiseAnd = bitwiseAnd,
    .bitwiseOr = bitwiseOr,
};

}  // namespace quillmor

#else

namespace quillmor {
constinit const ByteKernels avx2ByteKernels = {};
}  // namespace quillmor

#endif
