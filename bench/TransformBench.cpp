// What rewriting a large selection costs, beside memcpy and memset over as many bytes in the same
// run. `QUILLMOR_BENCH_MIB` sets the size (default 256).
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=transform/
//
// The counters are ratios of the best times of each, 1 being as fast as the yardstick. A command
// always writes a new buffer, so the like-for-like yardstick is memcpy into a new buffer, of whose
// time the larger part is the system clearing pages.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/PieceWork.h"
#include "kernels/ByteKernels.h"
#include "tools/edits/ByteTransforms.h"
#include "tools/edits/RepeatedBytes.h"

namespace {

using quillmor::ByteBuffer;
using quillmor::ByteKernels;
using quillmor::ByteOperation;
using quillmor::kMiB;
using quillmor::TaskProgress;
using Bytes = std::vector<std::uint8_t>;
using Source = std::span<const std::uint8_t>;

constexpr int kRounds = 7;

std::int64_t selectionSize() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const std::int64_t mib = text == nullptr ? 256 : std::atoll(text);
  return std::max<std::int64_t>(mib, 1) * kMiB;
}

Bytes randomBytes(std::size_t size) {
  std::mt19937_64 random(size);
  Bytes bytes(size);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// The selection that is transformed; its memory has been written, as a document's has.
Source selection() {
  static const ByteBuffer buffer = quillmor::repeatedBytes(
      randomBytes(static_cast<std::size_t>(kMiB)), selectionSize(), selectionSize());
  return buffer.span();
}

/// Memory of the selection's size that has been written before.
std::uint8_t* warmMemory() {
  static ByteBuffer buffer = ByteBuffer::filled(selectionSize(), 1);
  return buffer.mutableSpan().data();
}

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  benchmark::ClobberMemory();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A new buffer written by `write`, timed without returning its memory to the system.
double secondsIntoNewBuffer(const std::function<void(std::uint8_t*)>& write) {
  ByteBuffer buffer;
  return secondsOf([&] {
    buffer = ByteBuffer::uninitialized(selectionSize());
    write(buffer.mutableSpan().data());
  });
}

void copySelection(std::uint8_t* to) {
  std::memcpy(to, selection().data(), selection().size());
}

void setSelection(std::uint8_t* to) {
  std::memset(to, 0x5A, selection().size());
}

/// Work and yardsticks take turns, so that a disturbance hits all of them.
struct Yardstick {
  const char* counter;
  std::function<double()> seconds;
  double best = 1e9;
};

void compare(benchmark::State& state, const std::function<double()>& work,
             std::vector<Yardstick> yardsticks) {
  double best = 1e9;
  selection();
  warmMemory();
  for (auto _ : state) {
    for (int round = 0; round < kRounds; ++round) {
      for (Yardstick& yardstick : yardsticks) {
        yardstick.best = std::min(yardstick.best, yardstick.seconds());
      }
      best = std::min(best, work());
    }
    state.SetIterationTime(best);
  }
  for (const Yardstick& yardstick : yardsticks) {
    state.counters[yardstick.counter] = yardstick.best / best;
  }
}

Yardstick newMemcpy() {
  return {"of_memcpy", [] { return secondsIntoNewBuffer(copySelection); }};
}

Yardstick warmMemcpy() {
  return {"of_warm_memcpy", [] { return secondsOf([] { copySelection(warmMemory()); }); }};
}

void add(const std::string& name, std::function<void(benchmark::State&)> run) {
  benchmark::RegisterBenchmark(("transform/" + name).c_str(), std::move(run))
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

/// A transform as a command runs it: into a new buffer.
void addTransform(const std::string& name,
                  std::function<ByteBuffer(Source, TaskProgress&)> transform) {
  const auto seconds = [transform = std::move(transform)] {
    TaskProgress progress;
    ByteBuffer result;
    return secondsOf([&] { result = transform(selection(), progress); });
  };
  add(name, [seconds](benchmark::State& state) {
    compare(state, seconds, {newMemcpy(), warmMemcpy()});
  });
}

void addCombinations(const std::string& name, ByteOperation operation) {
  for (const std::size_t length : {1U, 3U, 4U, 7U, 4096U}) {
    addTransform(name + "/pattern_" + std::to_string(length),
                 [operation, pattern = randomBytes(length)](Source bytes, TaskProgress& progress) {
                   return quillmor::ByteTransforms::combined(bytes, operation, pattern, progress);
                 });
  }
}

void addSwap(const std::string& name, std::int64_t groupSize) {
  addTransform(name, [=](Source bytes, TaskProgress& progress) {
    return quillmor::ByteTransforms::groupsSwapped(bytes, groupSize, progress);
  });
}

/// The inner loops alone, without what new memory costs: on one thread and on both.
void addKernel(const ByteKernels& kernels, const std::string& name, ByteKernels::Unary kernel) {
  const auto piece = [kernel](std::int64_t begin, std::int64_t end) {
    kernel(warmMemory() + begin, selection().data() + begin, static_cast<std::size_t>(end - begin));
  };
  const std::string path = "warm/" + std::string(kernels.name) + "/" + name;
  add(path + "/one_thread", [=](benchmark::State& state) {
    compare(state, [&] { return secondsOf([&] { piece(0, selectionSize()); }); }, {warmMemcpy()});
  });
  add(path + "/two_threads", [=](benchmark::State& state) {
    TaskProgress progress;
    const auto all = [&] { quillmor::forEachPiece(selectionSize(), progress, piece); };
    compare(state, [&] { return secondsOf(all); }, {warmMemcpy()});
  });
}

/// One thread into new memory: what sharing the work gains beside `transform/invert`.
void addOneThread() {
  const auto work = [] {
    return secondsIntoNewBuffer([](std::uint8_t* to) {
      quillmor::fastestByteKernels().invert(to, selection().data(), selection().size());
    });
  };
  add("invert_by_one_thread", [=](benchmark::State& state) {
    compare(state, work, {newMemcpy(), warmMemcpy()});
  });
}

void addFill(std::size_t length) {
  const auto work = [pattern = randomBytes(length)] {
    ByteBuffer result;
    return secondsOf(
        [&] { result = quillmor::repeatedBytes(pattern, selectionSize(), selectionSize()); });
  };
  const Yardstick newMemset = {"of_memset", [] { return secondsIntoNewBuffer(setSelection); }};
  const Yardstick warmMemset = {"of_warm_memset",
                                [] { return secondsOf([] { setSelection(warmMemory()); }); }};
  add("fill/pattern_" + std::to_string(length), [=](benchmark::State& state) {
    compare(state, work, {newMemset, warmMemset});
  });
}

[[maybe_unused]] const bool kIsRegistered = [] {
  addTransform("invert", quillmor::ByteTransforms::inverted);
  addOneThread();
  addTransform("reverse", quillmor::ByteTransforms::reversed);
  addSwap("swap16", 2);
  addSwap("swap32", 4);
  addSwap("swap_groups_of_3", 3);
  addCombinations("xor", ByteOperation::exclusiveOr);
  addCombinations("and", ByteOperation::bitwiseAnd);
  addCombinations("or", ByteOperation::bitwiseOr);
  for (const std::size_t length : {1U, 3U, 4U, 7U, 4096U, 1'000'003U}) addFill(length);
  for (const ByteKernels* kernels : quillmor::availableByteKernels()) {
    addKernel(*kernels, "invert", kernels->invert);
    addKernel(*kernels, "reverse", kernels->reverse);
    addKernel(*kernels, "swap16", kernels->swap16);
    addKernel(*kernels, "swap32", kernels->swap32);
  }
  return true;
}();

}  // namespace
