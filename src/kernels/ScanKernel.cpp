#include "kernels/ScanKernel.h"

#include "kernels/Cpu.h"

namespace quillmor {

namespace {

constexpr KernelVariant<ScanKernel> kVariants[] = {
    {portableScanKernel},
    {sse2ScanKernel, CpuFeature::sse2},
    {avx2ScanKernel, CpuFeature::avx2},
};

}  // namespace

const ScanKernel& fastestScanKernel() {
  static const ScanKernel& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const ScanKernel*> availableScanKernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
