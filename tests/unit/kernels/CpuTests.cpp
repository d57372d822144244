#include "kernels/Cpu.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillmor {
namespace {

using testing::ElementsAre;

struct Kernel {
  const char* name = nullptr;
};

constexpr Kernel kPortable = {"portable"};
constexpr Kernel kFast = {"fast"};
constexpr Kernel kNotBuilt = {};

TEST(Cpu, needsNothingForThePortableVariant) {
  EXPECT_TRUE(cpuHas(CpuFeature::none));
}

TEST(Cpu, choosesTheLastVariantOfThoseAvailable) {
  const KernelVariant<Kernel> variants[] = {{kPortable}, {kFast}};
  EXPECT_EQ(&fastestOf(variants), &kFast);
  EXPECT_THAT(availableOf(variants), ElementsAre(&kPortable, &kFast));
}

TEST(Cpu, leavesOutVariantsThatWereNotBuilt) {
  const KernelVariant<Kernel> variants[] = {{kPortable}, {kFast}, {kNotBuilt}};
  EXPECT_EQ(&fastestOf(variants), &kFast);
  EXPECT_THAT(availableOf(variants), ElementsAre(&kPortable, &kFast));
}

TEST(Cpu, leavesOutVariantsThatTheProcessorDoesNotRun) {
  for (const CpuFeature feature : {CpuFeature::sse2, CpuFeature::ssse3,
                                   CpuFeature::carrylessMultiplication, CpuFeature::avx2}) {
    const KernelVariant<Kernel> variants[] = {{kPortable}, {kFast, feature}};
    EXPECT_EQ(&fastestOf(variants), cpuHas(feature) ? &kFast : &kPortable);
    EXPECT_EQ(availableOf(variants).size(), cpuHas(feature) ? 2U : 1U);
  }
}

TEST(Cpu, hasTheOlderInstructionsWhereItHasTheNewer) {
  EXPECT_TRUE(!cpuHas(CpuFeature::avx2) || cpuHas(CpuFeature::ssse3));
  EXPECT_TRUE(!cpuHas(CpuFeature::ssse3) || cpuHas(CpuFeature::sse2));
}

}  // namespace
}  // namespace quillmor
