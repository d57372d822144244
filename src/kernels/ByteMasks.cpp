#include "kernels/ByteMasks.h"

#include "kernels/Cpu.h"

namespace quillmor {
namespace {

constexpr KernelVariant<ByteMaskKernels> kVariants[] = {
    {portableByteMaskKernels},
    {sse2ByteMaskKernels, CpuFeature::sse2},
    {avx2ByteMaskKernels, CpuFeature::avx2},
};

}  // namespace

const ByteMaskKernels& fastestByteMaskKernels() {
  static const ByteMaskKernels& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const ByteMaskKernels*> availableByteMaskKernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
