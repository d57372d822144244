// What counting and replacing many occurrences costs in a document of the largest size, beside
// copying it once. `QUILLMOR_BENCH_MIB` sets the size (default 1024).
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter='replace/|count/'

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "search/PromptedReplaceAll.h"
#include "search/Replacing.h"
#include "search/SearchCandidates.h"
#include "search/Searching.h"

namespace {

using namespace quillmor;
using Clock = std::chrono::steady_clock;

/// Where a word is looked for that text holds only now and then.
constexpr std::int64_t kRareDistance = 64 * 1024;
constexpr std::string_view kRareWord = "QUARTZ";

std::int64_t documentSize() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const std::int64_t mib = text == nullptr ? 1024 : std::atoll(text);
  return std::max<std::int64_t>(mib, 1) * kMiB;
}

double seconds(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Words and spaces. "zephyr" is every 24th word: more than six million of them, and so many "ph",
/// in a document of 1 GiB.
void fillText(std::span<std::uint8_t> bytes) {
  constexpr std::string_view kWords[] = {
      "harbour", "of",    "the",    "morning", "light", "wandered", "over", "stone",
      "and",     "pale",  "horses", "drift",   "a",     "silver",   "song", "beneath",
      "rivers",  "until", "winter", "opens",   "their", "zephyr",   "gate", "remembered"};
  std::mt19937_64 random(3);
  std::size_t at = 0;
  const auto put = [&](std::string_view text) {
    const std::size_t count = std::min(text.size(), bytes.size() - at);
    std::memcpy(bytes.data() + at, text.data(), count);
    at += count;
  };
  while (at < bytes.size()) {
    put(kWords[random() % std::size(kWords)]);
    put(random() % 12 == 0 ? "\n" : " ");
  }
  for (std::size_t i = 100; i + kRareWord.size() < bytes.size(); i += kRareDistance) {
    std::memcpy(bytes.data() + i, kRareWord.data(), kRareWord.size());
  }
}

void fillRandom(std::span<std::uint8_t> bytes) {
  std::mt19937_64 random(4);
  for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
    const std::uint64_t word = random();
    std::memcpy(bytes.data() + i, &word, 8);
  }
}

enum class Data { text, random, zeros };

/// The document of a kind; only the last one asked for is kept.
const ByteBuffer& document(Data data) {
  static ByteBuffer buffer;
  static Data kept = data;
  if (buffer.size() == documentSize() && kept == data) return buffer;
  buffer = ByteBuffer();
  buffer = ByteBuffer::uninitialized(documentSize());
  kept = data;
  const auto bytes = buffer.mutableSpan();
  if (data == Data::text) fillText(bytes);
  if (data == Data::random) fillRandom(bytes);
  if (data == Data::zeros) std::memset(bytes.data(), 0, bytes.size());
  return buffer;
}

/// Copying a document's size between memory that is there already.
double memcpySeconds() {
  static const double best = [] {
    const auto size = static_cast<std::size_t>(documentSize());
    std::vector<std::uint8_t> from(size, 1);
    std::vector<std::uint8_t> to(size, 2);
    double fastest = 1e9;
    for (int round = 0; round < 3; ++round) {
      fastest = std::min(fastest, seconds([&] {
                           std::memcpy(to.data(), from.data(), size);
                           benchmark::ClobberMemory();
                         }));
    }
    return fastest;
  }();
  return best;
}

/// A number of /proc/self/status, such as the most memory ever held, in bytes.
std::int64_t statusBytes(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::atoll(line.c_str() + name.size() + 1) * 1024;
  }
  return 0;
}

/// Makes the most memory ever held that which is held now.
void forgetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

SearchRequest exact(std::string text, std::string replacement = {}) {
  return {.mode = SearchMode::textString,
          .searchText = std::move(text),
          .replaceText = std::move(replacement),
          .caseSensitive = true};
}

void repeated(benchmark::internal::Benchmark* bench) {
  bench->Iterations(1)
      ->Repetitions(5)
      ->ReportAggregatesOnly()
      ->ComputeStatistics(
          "min", [](const std::vector<double>& values) { return std::ranges::min(values); })
      ->ComputeStatistics(
          "max", [](const std::vector<double>& values) { return std::ranges::max(values); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

/// Speed beside copying the document: 1 is as fast, 0.5 takes twice as long.
void reportSpeed(benchmark::State& state, double taken) {
  state.SetIterationTime(taken);
  state.counters["speed_of_memcpy"] = memcpySeconds() / taken;
  state.counters["GB_per_s"] = static_cast<double>(documentSize()) / taken / 1e9;
}

void replaceAll(benchmark::State& state, std::string_view text, std::string_view replacement) {
  const SearchRequest request = exact(std::string(text), std::string(replacement));
  const ByteBuffer& original = document(Data::text);
  memcpySeconds();
  const auto list = candidates(request);
  const ReplacementTable table = *replacementTable(request, list);
  for (auto _ : state) {
    const std::int64_t before = statusBytes("VmRSS:");
    forgetPeak();
    ReplaceAllComputation result;
    TaskProgress progress;
    const double taken = seconds([&] {
      result = computeReplaceAll(original, request, list, table, {}, 256 * kMiB, progress);
    });
    reportSpeed(state, taken);
    // Beyond the old bytes, which were there before, and the new ones.
    const std::int64_t extra = statusBytes("VmHWM:") - before - result.bytes.size();
    state.counters["extra_MiB"] = static_cast<double>(extra) / static_cast<double>(kMiB);
    state.counters["replaced"] = static_cast<double>(result.replacements);
  }
}
BENCHMARK_CAPTURE(replaceAll, frequent, "zephyr", "breeze")
    ->Name("replace/equal_length/frequent")
    ->Apply(repeated);
BENCHMARK_CAPTURE(replaceAll, frequentGrowing, "zephyr", "west wind")
    ->Name("replace/growing/frequent")
    ->Apply(repeated);
BENCHMARK_CAPTURE(replaceAll, frequentShrinking, "zephyr", "")
    ->Name("replace/deleting/frequent")
    ->Apply(repeated);
BENCHMARK_CAPTURE(replaceAll, veryFrequent, " ", "_")
    ->Name("replace/equal_length/every_space")
    ->Apply(repeated);
BENCHMARK_CAPTURE(replaceAll, rare, kRareWord, "BASALT")
    ->Name("replace/equal_length/rare")
    ->Apply(repeated);
BENCHMARK_CAPTURE(replaceAll, rareGrowing, kRareWord, "SANDSTONE")
    ->Name("replace/growing/rare")
    ->Apply(repeated);

SearchAllSummary counted(const ByteBuffer& bytes, const SearchRequest& request, double& taken) {
  const auto list = candidates(request);
  TaskProgress progress;
  SearchAllSummary summary;
  taken = seconds([&] { summary = searchAllSummary(bytes.span(), request, list, progress); });
  return summary;
}

void count(benchmark::State& state, Data data, const SearchRequest& request) {
  const ByteBuffer& bytes = document(data);
  for (auto _ : state) {
    double taken = 0;
    const SearchAllSummary summary = counted(bytes, request, taken);
    reportSpeed(state, taken);
    state.counters["found"] = static_cast<double>(summary.count);
  }
}
BENCHMARK_CAPTURE(count, twoBytes, Data::text, exact("ph"))
    ->Name("count/frequent_two_bytes")
    ->Apply(repeated);
BENCHMARK_CAPTURE(count, zeroEverywhere, Data::zeros,
                  SearchRequest{.mode = SearchMode::integerNumber, .searchText = "0"})
    ->Name("count/integer_0_in_zeros")
    ->Apply(repeated);

/// Seven candidates, the shortest found four million times, beside one needle that is not there.
void countIntegerOne(benchmark::State& state, Data data) {
  const SearchRequest one{.mode = SearchMode::integerNumber, .searchText = "1"};
  const SearchRequest absent{.mode = SearchMode::hexValues,
                             .searchText = "F1 0D 5A C3 96 7E 2B 84"};
  const ByteBuffer& bytes = document(data);
  for (auto _ : state) {
    double absentTaken = 0;
    double taken = 0;
    counted(bytes, absent, absentTaken);
    const SearchAllSummary summary = counted(bytes, one, taken);
    reportSpeed(state, taken);
    state.counters["times_one_absent"] = taken / absentTaken;
    state.counters["found"] = static_cast<double>(summary.count);
  }
}
BENCHMARK_CAPTURE(countIntegerOne, random, Data::random)
    ->Name("count/integer_1_in_random")
    ->Apply(repeated);
BENCHMARK_CAPTURE(countIntegerOne, text, Data::text)
    ->Name("count/integer_1_in_text")
    ->Apply(repeated);

}  // namespace
