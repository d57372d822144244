// What a document of the largest size costs: loading its memory, sharing it, editing it at its best
// and worst places, and what remains resident. `QUILLMOR_BENCH_MIB` sets the size (default 1024).
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=bytes/

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"

namespace {

using quillmor::ByteBuffer;
using quillmor::kMiB;
using Clock = std::chrono::steady_clock;

constexpr std::uint8_t kInserted[] = {0x42};

std::int64_t documentSize() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const std::int64_t mib = text == nullptr ? 1024 : std::atoll(text);
  return std::max<std::int64_t>(mib, 1) * kMiB;
}

std::int64_t residentSetBytes() {
  std::int64_t total = 0;
  std::int64_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A document as loading leaves it: allocated for its size and written once from front to back.
ByteBuffer loadedDocument() {
  ByteBuffer buffer = ByteBuffer::uninitialized(documentSize());
  const auto bytes = buffer.mutableSpan();
  std::memset(bytes.data(), 0x5A, bytes.size());
  return buffer;
}

/// Copies the document's size out of and into memory that is already there, in pieces that fit no
/// cache: the yardstick for everything that has to move bytes.
double memcpySeconds() {
  const auto size = static_cast<std::size_t>(documentSize());
  std::vector<std::uint8_t> from(size, 1);
  std::vector<std::uint8_t> to(size, 2);
  double best = 1e9;
  for (int round = 0; round < 3; ++round) {
    const auto start = Clock::now();
    std::memcpy(to.data(), from.data(), size);
    benchmark::ClobberMemory();
    best = std::min(best, secondsSince(start));
  }
  return best;
}

double memcpyYardstick() {
  static const double seconds = memcpySeconds();
  return seconds;
}

/// Every figure is taken several times over: the minimum is what the machine can do, the median
/// what it did beside its other work.
void repeated(benchmark::internal::Benchmark* bench) {
  bench->Iterations(1)->Repetitions(5)->ReportAggregatesOnly()->ComputeStatistics(
      "min", [](const std::vector<double>& values) { return std::ranges::min(values); });
}

void reportAgainstMemcpy(benchmark::State& state, double totalSeconds) {
  const double each = totalSeconds / static_cast<double>(state.iterations());
  state.counters["of_memcpy"] = each / memcpyYardstick();
}

void memcpyOfTheDocument(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(memcpyYardstick());
}
BENCHMARK(memcpyOfTheDocument)
    ->Name("bytes/memcpy")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

/// Allocation and first writing of every page, the part of a load that is not reading the file.
void loading(benchmark::State& state) {
  double total = 0;
  for (auto _ : state) {
    const std::int64_t before = residentSetBytes();
    const auto start = Clock::now();
    const ByteBuffer buffer = loadedDocument();
    const double seconds = secondsSince(start);
    state.SetIterationTime(seconds);
    total += seconds;
    state.counters["resident_ratio"] =
        static_cast<double>(residentSetBytes() - before) / static_cast<double>(buffer.size());
  }
  reportAgainstMemcpy(state, total);
}
BENCHMARK(loading)
    ->Name("bytes/load")
    ->UseManualTime()
    ->Apply(repeated)
    ->Unit(benchmark::kMillisecond);

/// The same into a vector, which writes every byte once more.
void loadingIntoVector(benchmark::State& state) {
  double total = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(documentSize()));
    std::memset(bytes.data(), 0x5A, bytes.size());
    benchmark::ClobberMemory();
    const double seconds = secondsSince(start);
    state.SetIterationTime(seconds);
    total += seconds;
  }
  reportAgainstMemcpy(state, total);
}
BENCHMARK(loadingIntoVector)
    ->Name("bytes/load_vector")
    ->UseManualTime()
    ->Apply(repeated)
    ->Unit(benchmark::kMillisecond);

void snapshot(benchmark::State& state) {
  const ByteBuffer buffer = loadedDocument();
  for (auto _ : state) {
    ByteBuffer copy = buffer;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(snapshot)->Name("bytes/snapshot")->Unit(benchmark::kNanosecond);

enum class Operation { insertion, deletion };

/// The very first edit of a document that was just loaded. `state.range(0)` is the place in
/// percent.
void firstEdit(benchmark::State& state, Operation operation) {
  double total = 0;
  for (auto _ : state) {
    ByteBuffer buffer = loadedDocument();
    const std::int64_t last = buffer.size() - (operation == Operation::deletion ? 1 : 0);
    const std::int64_t offset = std::min(buffer.size() / 100 * state.range(0), last);
    const std::int64_t place = state.range(0) == 100 ? last : offset;
    const auto start = Clock::now();
    if (operation == Operation::insertion) {
      buffer.insert(place, kInserted);
    } else {
      buffer.erase(place, 1);
    }
    const double seconds = secondsSince(start);
    state.SetIterationTime(seconds);
    total += seconds;
  }
  reportAgainstMemcpy(state, total);
}
BENCHMARK_CAPTURE(firstEdit, insertion, Operation::insertion)
    ->Name("bytes/first_insert_at_percent")
    ->Arg(0)
    ->Arg(25)
    ->Arg(50)
    ->Arg(75)
    ->Arg(100)
    ->UseManualTime()
    ->Apply(repeated)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(firstEdit, deletion, Operation::deletion)
    ->Name("bytes/first_delete_at_percent")
    ->Arg(0)
    ->Arg(50)
    ->Arg(100)
    ->UseManualTime()
    ->Apply(repeated)
    ->Unit(benchmark::kMicrosecond);

/// Many insertions at one place, telling the slowest of them: no edit may be slow now and then.
void slowestOfManyInsertions(benchmark::State& state) {
  for (auto _ : state) {
    ByteBuffer buffer = loadedDocument();
    const bool atEnd = state.range(0) == 100;
    double slowest = 0;
    for (int i = 0; i < 100000; ++i) {
      const auto start = Clock::now();
      buffer.insert(atEnd ? buffer.size() : 0, kInserted);
      slowest = std::max(slowest, secondsSince(start));
    }
    state.SetIterationTime(slowest);
  }
}
BENCHMARK(slowestOfManyInsertions)
    ->Name("bytes/slowest_of_100000_inserts_at_percent")
    ->Arg(0)
    ->Arg(100)
    ->UseManualTime()
    ->Apply(repeated)
    ->Unit(benchmark::kMicrosecond);

/// The first edit while a save or a search holds a snapshot: one copy of the document, with the
/// edit.
void editOfASharedDocument(benchmark::State& state) {
  double total = 0;
  ByteBuffer original = loadedDocument();
  for (auto _ : state) {
    ByteBuffer edited = original;
    const auto start = Clock::now();
    edited.insert(edited.size() / 2, kInserted);
    const double seconds = secondsSince(start);
    state.SetIterationTime(seconds);
    total += seconds;
  }
  reportAgainstMemcpy(state, total);
}
BENCHMARK(editOfASharedDocument)
    ->Name("bytes/first_insert_while_shared")
    ->UseManualTime()
    ->Apply(repeated)
    ->Unit(benchmark::kMillisecond);

}  // namespace
