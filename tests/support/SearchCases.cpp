#include "support/SearchCases.h"

#include <algorithm>

namespace quillmor {

std::vector<SearchLimits> everyKernel() {
  std::vector<SearchLimits> all;
  for (const ScanKernel* const kernel : availableScanKernels()) all.push_back({.kernel = kernel});
  return all;
}

std::vector<SearchLimits> everyKindOfLimits() {
  std::vector<SearchLimits> all = everyKernel();
  all.push_back({.kernel = &portableScanKernel, .workBudget = 40});
  all.push_back({.workBudget = 40});
  all.push_back({.workBudget = 0});
  return all;
}

std::int64_t RandomSearches::upTo(std::int64_t most) {
  return static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(most + 1));
}

std::uint8_t RandomSearches::letter(int alphabet) {
  constexpr std::uint8_t kLetters[] = {'a', 'A', 'z', 'Z'};
  const std::uint64_t number = random_();
  if (alphabet == 0) return static_cast<std::uint8_t>(number);
  return kLetters[number % static_cast<std::uint64_t>(alphabet)];
}

std::vector<std::uint8_t> RandomSearches::haystack(std::int64_t maxLength) {
  const int alphabet = static_cast<int>(upTo(4));
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(upTo(maxLength)));
  std::ranges::generate(bytes, [&] { return letter(alphabet); });
  if (upTo(2) == 0 && !bytes.empty()) {
    const auto period = static_cast<std::size_t>(1 + upTo(4));
    for (std::size_t i = period; i < bytes.size(); ++i) bytes[i] = bytes[i - period];
    bytes[static_cast<std::size_t>(upTo(std::ssize(bytes) - 1))] ^= 0x20;
  }
  return bytes;
}

std::vector<std::uint8_t> RandomSearches::needle(const std::vector<std::uint8_t>& haystack,
                                                 std::int64_t maxLength) {
  if (haystack.empty() || upTo(15) == 0) return this->haystack(maxLength);
  const std::int64_t size = std::ssize(haystack);
  const std::int64_t length = upTo(std::min(maxLength, size));
  const std::int64_t begin = upTo(size - length);
  std::vector<std::uint8_t> bytes(haystack.begin() + begin, haystack.begin() + begin + length);
  if (length == 0) return bytes;
  const auto place = static_cast<std::size_t>(upTo(length - 1));
  switch (upTo(3)) {
    case 0:
      bytes[place] ^= 0x20;
      break;
    case 1:
      bytes[place] = haystack[static_cast<std::size_t>(upTo(size - 1))];
      break;
    default:
      break;
  }
  return bytes;
}

}  // namespace quillmor
