// Every fuzz target on its corpus and on thousands of variations of it, so that its invariants are
// checked with any compiler. A target that finds one broken stops the process, naming it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzTargets.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using Corpus = std::vector<Bytes>;

Corpus corpusOf(const fuzz::Target& target) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(fs::path(QUILLMOR_FUZZ_CORPUS) / target.name)) {
    files.push_back(entry.path());
  }
  // The order of a folder is nobody's; variations are to be the same everywhere.
  std::sort(files.begin(), files.end());
  Corpus corpus;
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    corpus.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return corpus;
}

/// Changes inputs as fuzzing engines do, without knowing what they mean.
class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  Bytes variationOf(const Corpus& corpus) {
    Bytes bytes = corpus[below(corpus.size())];
    for (auto left = 1 + below(5); left > 0; --left) mutate(bytes, corpus);
    return bytes;
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }

  std::uint8_t usefulByte() {
    constexpr std::string_view kUseful =
        "0123456789abcdefABCDEFxXhHpP+-.,;:? \n\xC2\xA0\xE3\x80\xFF";
    return below(8) == 0 ? static_cast<std::uint8_t>(random_())
                         : static_cast<std::uint8_t>(kUseful[below(kUseful.size())]);
  }

  void mutate(Bytes& bytes, const Corpus& corpus) {
    const auto at = static_cast<std::ptrdiff_t>(below(bytes.size() + 1));
    const bool isAtEnd = at == std::ssize(bytes);
    const Bytes& other = corpus[below(corpus.size())];
    switch (below(5)) {
      case 0:
        bytes.insert(bytes.begin() + at, usefulByte());
        break;
      case 1:
        if (!isAtEnd) bytes.erase(bytes.begin() + at);
        break;
      case 2:
        if (!isAtEnd) bytes[static_cast<std::size_t>(at)] = usefulByte();
        break;
      case 3:
        if (!isAtEnd)
          bytes[static_cast<std::size_t>(at)] ^= static_cast<std::uint8_t>(1 << below(8));
        break;
      default:
        bytes.insert(bytes.begin() + at, other.begin(), other.end());
        break;
    }
  }

  std::mt19937 random_;
};

class FuzzReplay : public testing::TestWithParam<fuzz::Target> {};

TEST_P(FuzzReplay, holdsItsInvariantsOnTheCorpus) {
  const Corpus corpus = corpusOf(GetParam());
  ASSERT_GE(corpus.size(), 10U);
  for (const Bytes& bytes : corpus) GetParam().run(bytes);
}

TEST_P(FuzzReplay, holdsItsInvariantsOnVariationsOfTheCorpus) {
  constexpr unsigned kSeed = 20240616;
  constexpr int kVariations = 20'000;
  std::cout << "seed " << kSeed << std::endl;  // now: a broken invariant ends the process
  const Corpus corpus = corpusOf(GetParam());
  ASSERT_FALSE(corpus.empty());
  Mutator mutator(kSeed);
  for (int i = 0; i < kVariations; ++i) GetParam().run(mutator.variationOf(corpus));
}

std::string nameOf(const testing::TestParamInfo<fuzz::Target>& target) {
  std::string name(target.param.name);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay, testing::ValuesIn(fuzz::kTargets), nameOf);

}  // namespace
}  // namespace quillmor
