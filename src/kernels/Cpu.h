#pragma once

#include <cstddef>
#include <vector>

/// The one place where the program chooses between variants of a kernel. A kernel is a struct of
/// functions with a `name`, which is null in a variant that was built for another processor.
namespace quillmor {

/// A set of instructions that a variant of a kernel needs.
enum class CpuFeature { none, sse2, ssse3, carrylessMultiplication, avx2 };

/// True if this processor has the feature. Any thread.
bool cpuHas(CpuFeature feature);

template <class Kernel>
struct KernelVariant {
  const Kernel& kernel;
  CpuFeature needs = CpuFeature::none;

  bool isAvailable() const { return kernel.name != nullptr && cpuHas(needs); }
};

/// Returns the last variant that this processor runs. The first variant runs on every processor,
/// and each later one is faster. Allocates nothing.
template <class Kernel, std::size_t Count>
const Kernel& fastestOf(const KernelVariant<Kernel> (&variants)[Count]) {
  std::size_t fastest = Count - 1;
  while (fastest > 0 && !variants[fastest].isAvailable()) --fastest;
  return variants[fastest].kernel;
}

/// Returns all variants that this processor runs, in their order.
template <class Kernel, std::size_t Count>
std::vector<const Kernel*> availableOf(const KernelVariant<Kernel> (&variants)[Count]) {
  std::vector<const Kernel*> available;
  for (const auto& variant : variants) {
    if (variant.isAvailable()) available.push_back(&variant.kernel);
  }
  return available;
}

}  // namespace quillmor
