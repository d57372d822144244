#pragma once

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the benchmarks of lists and comparisons share. `QUILLMOR_BENCH_MIB` sets the size of their
/// data (default 256); with `QUILLMOR_BENCH_FOLDER` they time whole exports in that folder, too,
/// and leave their inputs there.
namespace quillmor::bench {

using Bytes = std::vector<std::uint8_t>;

inline std::size_t dataSize() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const long long mib = text == nullptr ? 256 : std::atoll(text);
  return static_cast<std::size_t>(std::max(mib, 1LL)) * 1024 * 1024;
}

inline std::optional<std::string> dataFolder() {
  const char* const folder = std::getenv("QUILLMOR_BENCH_FOLDER");
  if (folder == nullptr) return std::nullopt;
  return folder;
}

inline Bytes randomBytes(std::size_t size) {
  std::mt19937_64 random(size);
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 32);
  return bytes;
}

/// Seconds by the clock on the wall and of the processor.
struct Times {
  double wall = 1e9;
  double processor = 1e9;

  void keepBest(const Times& other) {
    wall = std::min(wall, other.wall);
    processor = std::min(processor, other.processor);
  }
};

inline double processorSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline Times timesOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  const double processorStart = processorSeconds();
  work();
  benchmark::ClobberMemory();
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  return {wall.count(), processorSeconds() - processorStart};
}

/// A part of the library that every machine has, over as many bytes.
struct Yardstick {
  std::string counter;
  std::function<void()> work;
};

/// Registers work that goes over `dataSize()` bytes. Its time is the best processor time of several
/// rounds, in which it takes turns with the yardstick; the yardstick's counter is the speed as a
/// part of its speed, `wall_ms` the best time on the wall.
inline void addWork(const std::string& name, std::function<void()> work,
                    std::optional<Yardstick> yardstick = std::nullopt) {
  constexpr int kRounds = 7;
  const auto run = [work = std::move(work),
                    yardstick = std::move(yardstick)](benchmark::State& state) {
    Times best;
    Times bestOfYardstick;
    for (auto _ : state) {
      for (int round = 0; round < kRounds; ++round) {
        if (yardstick) bestOfYardstick.keepBest(timesOf(yardstick->work));
        best.keepBest(timesOf(work));
      }
      state.SetIterationTime(best.processor);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(dataSize()));
    state.counters["wall_ms"] = best.wall * 1000;
    if (yardstick) {
      state.counters[yardstick->counter] = bestOfYardstick.processor / best.processor;
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), run)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace quillmor::bench
