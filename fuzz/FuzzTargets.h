#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace quillmor::fuzz {

// A target takes any bytes at all, reads from them what it hands to the code it tries, and stops
// the process when an invariant does not hold. The head of each file lists the invariants.

void fuzzHexParser(std::span<const std::uint8_t> input);
void fuzzOffsetParser(std::span<const std::uint8_t> input);
void fuzzWildcardPattern(std::span<const std::uint8_t> input);
void fuzzCandidates(std::span<const std::uint8_t> input);
void fuzzOptionRom(std::span<const std::uint8_t> input);
void fuzzAcpi(std::span<const std::uint8_t> input);
void fuzzPolaris(std::span<const std::uint8_t> input);
void fuzzHexPatch(std::span<const std::uint8_t> input);
void fuzzJSONPreset(std::span<const std::uint8_t> input);
void fuzzBookmarkFile(std::span<const std::uint8_t> input);
void fuzzRecord(std::span<const std::uint8_t> input);
void fuzzJournal(std::span<const std::uint8_t> input);

struct Target {
  std::string_view name;  ///< of its folder in corpus/
  void (*run)(std::span<const std::uint8_t> input);
};

inline constexpr std::array kTargets{
    Target{"hex-parser", fuzzHexParser},
    Target{"offset-parser", fuzzOffsetParser},
    Target{"wildcard-pattern", fuzzWildcardPattern},
    Target{"candidates", fuzzCandidates},
    Target{"option-rom", fuzzOptionRom},
    Target{"acpi", fuzzAcpi},
    Target{"polaris", fuzzPolaris},
    Target{"hex-patch", fuzzHexPatch},
    Target{"json-preset", fuzzJSONPreset},
    Target{"bookmark-file", fuzzBookmarkFile},
    Target{"record", fuzzRecord},
    Target{"journal", fuzzJournal},
};

}  // namespace quillmor::fuzz
