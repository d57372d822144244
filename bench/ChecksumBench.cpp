// What the read-only analyses cost: checksums, digests, counts of byte values and the entropy map,
// beside memchr over the same bytes in the same run. `QUILLMOR_BENCH_MIB` sets the size (default
// 256), `QUILLMOR_BENCH_ROUNDS` how often each is done (default 7). `QUILLMOR_BENCH_FILE` names a
// file whose bytes are used instead.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=checksum/
//
// of_memchr is a ratio of the best times of each, 1 being as fast as memchr is on one thread. What
// runs on one thread is judged by the processor time of its thread, what runs on two by the clock;
// processor_ms is the time that all threads of the work had together.

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <span>
#include <string>
#include <utility>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/MessageDigest.h"
#include "kernels/Adler32Kernels.h"
#include "kernels/ByteTally.h"
#include "kernels/Crc32Kernels.h"
#include "tools/analysis/ByteStatistics.h"
#include "tools/checksum/Checksum.h"

namespace {

using quillmor::ByteBuffer;
using quillmor::kMiB;
using quillmor::TaskProgress;
using View = std::span<const std::uint8_t>;

constexpr std::size_t kCached = 256 * 1024;
constexpr std::size_t kMapped = 40'960'000;
constexpr std::uint8_t kAbsentByte = 0xA7;

std::int64_t setting(const char* name, std::int64_t standard) {
  const char* const text = std::getenv(name);
  return std::max<std::int64_t>(text == nullptr ? standard : std::atoll(text), 1);
}

std::int64_t documentSize() {
  return setting("QUILLMOR_BENCH_MIB", 256) * kMiB;
}

ByteBuffer fileBytes(const char* path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  ByteBuffer buffer = ByteBuffer::uninitialized(std::max<std::int64_t>(in.tellg(), 1));
  in.seekg(0).read(reinterpret_cast<char*>(buffer.mutableSpan().data()), buffer.size());
  if (!in) std::abort();
  return buffer;
}

/// Bytes of all values but one, so that memchr has to look at each of them.
ByteBuffer randomBytes() {
  ByteBuffer buffer = ByteBuffer::uninitialized(documentSize());
  const auto bytes = buffer.mutableSpan();
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
    const std::uint64_t word = random();
    std::memcpy(&bytes[i], &word, 8);
  }
  std::ranges::replace(bytes, kAbsentByte, std::uint8_t{0xA6});
  return buffer;
}

View document() {
  static const ByteBuffer buffer = [] {
    const char* const path = std::getenv("QUILLMOR_BENCH_FILE");
    return path == nullptr ? randomBytes() : fileBytes(path);
  }();
  return buffer.span();
}

View zeros() {
  static const ByteBuffer buffer = ByteBuffer::filled(documentSize(), 0);
  return buffer.span();
}

View cachedPart() {
  return document().first(std::min(document().size(), kCached));
}

double seconds(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The work and memchr over the same bytes take turns, so that a disturbance hits both.
void compare(benchmark::State& state, View bytes, clockid_t clock,
             const std::function<void(View)>& work) {
  // Short work is repeated until the clock can tell its time.
  const std::size_t repetitions = std::max<std::size_t>(1, 64 * kCached / bytes.size());
  const auto timeOf = [&](const std::function<void(View)>& part) {
    const double start = seconds(clock);
    for (std::size_t i = 0; i < repetitions; ++i) part(bytes);
    return (seconds(clock) - start) / static_cast<double>(repetitions);
  };
  const auto search = [](View part) {
    benchmark::DoNotOptimize(std::memchr(part.data(), kAbsentByte, part.size()));
  };
  const std::int64_t rounds = setting("QUILLMOR_BENCH_ROUNDS", 7);
  double best = 1e9;
  double bestProcessor = 1e9;
  double bestSearch = 1e9;
  for (auto _ : state) {
    for (std::int64_t round = 0; round < rounds; ++round) {
      bestSearch = std::min(bestSearch, timeOf(search));
      const double before = seconds(CLOCK_PROCESS_CPUTIME_ID);
      best = std::min(best, timeOf(work));
      bestProcessor = std::min(bestProcessor, seconds(CLOCK_PROCESS_CPUTIME_ID) - before);
    }
    state.SetIterationTime(best);
  }
  const auto size = static_cast<double>(bytes.size());
  state.counters["processor_ms"] = bestProcessor / static_cast<double>(repetitions) * 1000;
  state.counters["GB/s"] = size / best / 1e9;
  if (std::getenv("QUILLMOR_BENCH_FILE") == nullptr)
    state.counters["of_memchr"] = bestSearch / best;
}

void add(const std::string& name, clockid_t clock, View (*bytes)(),
         std::function<void(View)> work) {
  benchmark::RegisterBenchmark(
      ("checksum/" + name).c_str(),
      [=](benchmark::State& state) { compare(state, bytes(), clock, work); })
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

/// On bytes in memory, and on so few that they stay in a cache.
void addOnOneThread(const std::string& name, const std::function<void(View)>& work) {
  add(name, CLOCK_THREAD_CPUTIME_ID, document, work);
  add(name + "/cached", CLOCK_THREAD_CPUTIME_ID, cachedPart, work);
}

void addKernels() {
  for (const quillmor::Crc32Kernel* kernel : quillmor::availableCrc32Kernels()) {
    addOnOneThread(std::string("crc32/") + kernel->name, [kernel](View bytes) {
      benchmark::DoNotOptimize(kernel->update(0xFFFFFFFF, bytes.data(), bytes.size()));
    });
  }
  for (const quillmor::Adler32Kernel* kernel : quillmor::availableAdler32Kernels()) {
    addOnOneThread(std::string("adler32/") + kernel->name, [kernel](View bytes) {
      while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), quillmor::Adler32Kernel::kMaximumBlock);
        benchmark::DoNotOptimize(kernel->sums(bytes.data(), count));
        bytes = bytes.subspan(count);
      }
    });
  }
}

void addDigests() {
  for (const char* const algorithm : {"MD5", "SHA1", "SHA256"}) {
    addOnOneThread(std::string("digest/") + algorithm, [algorithm](View bytes) {
      quillmor::MessageDigest digest(algorithm);
      digest.add(bytes);
      benchmark::DoNotOptimize(digest.finished());
    });
  }
}

void addReports() {
  const auto report = [](View bytes) {
    TaskProgress progress;
    benchmark::DoNotOptimize(quillmor::Checksum::report(bytes, {}, progress));
  };
  const auto map = [](View bytes) {
    TaskProgress progress;
    benchmark::DoNotOptimize(quillmor::entropyMap(bytes, progress));
  };
  const auto mapText = [](View bytes) {
    TaskProgress progress;
    benchmark::DoNotOptimize(quillmor::entropyMapReport(quillmor::entropyMap(bytes, progress)));
  };
  const auto mapped = [] { return document().first(std::min(document().size(), kMapped)); };
  add("report", CLOCK_MONOTONIC, document, report);
  add("entropy_map/40_MB", CLOCK_MONOTONIC, mapped, map);
  add("entropy_map/40_MB/as_text", CLOCK_MONOTONIC, mapped, mapText);
}

[[maybe_unused]] const bool kIsRegistered = [] {
  const auto basic = [](View bytes) {
    benchmark::DoNotOptimize(quillmor::Checksum::basicValues(bytes));
  };
  const auto tally = [](View bytes) { benchmark::DoNotOptimize(quillmor::byteTally(bytes)); };
  const auto counts = [](View bytes) { benchmark::DoNotOptimize(quillmor::byteCounts(bytes)); };
  addKernels();
  addOnOneThread("basic_values", basic);
  addDigests();
  addOnOneThread("histogram/one_thread", tally);
  add("histogram/one_thread/zeros", CLOCK_THREAD_CPUTIME_ID, zeros, tally);
  add("histogram/two_threads", CLOCK_MONOTONIC, document, counts);
  add("histogram/two_threads/zeros", CLOCK_MONOTONIC, zeros, counts);
  addReports();
  return true;
}();

}  // namespace
