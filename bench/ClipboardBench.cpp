// What it costs to put 16 MiB, the most that is converted, on the clipboard as text, and to read
// hexadecimal text back. `bytes_per_second` counts the bytes that go in; `of_memcpy` is the time in
// units of copying as many bytes into memory that is already there, measured in the same run. The
// texts are written into new memory, which the system has to clear first.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=clipboard/

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "search/typed/HexParser.h"
#include "tools/edits/ClipboardText.h"

namespace {

using quillmor::ClipboardTextStyle;
using quillmor::HexBytesFormat;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSize = std::size_t{16} * 1024 * 1024;

const Bytes& sourceBytes() {
  static const Bytes bytes = [] {
    Bytes random(kSize);
    std::mt19937_64 generator(16);
    for (std::size_t i = 0; i < kSize; i += 8) {
      const std::uint64_t word = generator();
      std::memcpy(&random[i], &word, 8);
    }
    return random;
  }();
  return bytes;
}

/// What it takes to copy `size` bytes from and to memory that is already there.
double memcpySeconds(std::size_t size) {
  const Bytes from(size, 1);
  Bytes to(size, 2);
  double best = 1e9;
  for (int round = 0; round < 5; ++round) {
    const auto start = Clock::now();
    std::memcpy(to.data(), from.data(), size);
    benchmark::ClobberMemory();
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best;
}

/// Times `work`, which reads `inputSize` bytes.
template <typename Work>
void measure(benchmark::State& state, std::size_t inputSize, Work work) {
  const double yardstick = memcpySeconds(inputSize);
  double total = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    auto result = work();
    benchmark::DoNotOptimize(result);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(seconds);
    total += seconds;
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(inputSize) * state.iterations());
  state.counters["of_memcpy"] = total / static_cast<double>(state.iterations()) / yardstick;
}

void writing(benchmark::State& state, ClipboardTextStyle style) {
  measure(state, kSize, [style] { return quillmor::clipboardText(sourceBytes(), style); });
}

void reading(benchmark::State& state, const HexBytesFormat& format) {
  const std::string text = quillmor::formattedHexBytes(sourceBytes(), format);
  measure(state, text.size(), [&text] { return quillmor::HexParser::parseHexBytes(text); });
}

/// The minimum is what the machine can do, the median what it did beside its other work.
void configure(benchmark::internal::Benchmark* bench) {
  bench->UseManualTime()
      ->Unit(benchmark::kMillisecond)
      ->Iterations(4)
      ->Repetitions(7)
      ->ReportAggregatesOnly()
      ->ComputeStatistics(
          "min", [](const std::vector<double>& values) { return std::ranges::min(values); });
}

BENCHMARK_CAPTURE(writing, hex, ClipboardTextStyle::hex)
    ->Name("clipboard/write/hex")
    ->Apply(configure);
BENCHMARK_CAPTURE(writing, cArray, ClipboardTextStyle::cArray)
    ->Name("clipboard/write/c_array")
    ->Apply(configure);
BENCHMARK_CAPTURE(writing, pythonBytes, ClipboardTextStyle::pythonBytes)
    ->Name("clipboard/write/python_bytes")
    ->Apply(configure);
BENCHMARK_CAPTURE(writing, jsonByteArray, ClipboardTextStyle::jsonByteArray)
    ->Name("clipboard/write/json_byte_array")
    ->Apply(configure);
BENCHMARK_CAPTURE(writing, base64, ClipboardTextStyle::base64)
    ->Name("clipboard/write/base64")
    ->Apply(configure);

BENCHMARK_CAPTURE(reading, spaced, HexBytesFormat{.separator = " "})
    ->Name("clipboard/read/spaced")
    ->Apply(configure);
BENCHMARK_CAPTURE(reading, joined, HexBytesFormat{})
    ->Name("clipboard/read/joined")
    ->Apply(configure);
BENCHMARK_CAPTURE(reading, prefixed, HexBytesFormat{.prefix = "0x", .separator = ", "})
    ->Name("clipboard/read/prefixed")
    ->Apply(configure);

}  // namespace
