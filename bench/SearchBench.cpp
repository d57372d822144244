// How fast bytes are found, beside what memory allows: random, text-like and zero bytes in a
// document of the largest size, and data made to make searches slow. `QUILLMOR_BENCH_MIB` sets the
// size (default 1024).
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=search/

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/ByteBuffer.h"
#include "search/ByteMatcher.h"
#include "search/ByteSearch.h"

namespace {

using quillmor::ByteBuffer;
using quillmor::ByteMatcher;
using quillmor::ScanPath;
using quillmor::SearchLimits;
using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kCached = 512 * 1024;

enum class Data { random, text, zeros, frequent };
/// A byte that none of the documents has.
constexpr std::uint8_t kAbsentByte = 0xA7;
constexpr ScanPath kAllPaths[] = {ScanPath::avx2, ScanPath::sse2, ScanPath::portable};
constexpr Data kAllData[] = {Data::random, Data::text, Data::zeros};

const char* nameOf(Data data) {
  return data == Data::random ? "random" : data == Data::text ? "text" : "zeros";
}

const char* nameOf(ScanPath path) {
  return path == ScanPath::avx2 ? "avx2" : path == ScanPath::sse2 ? "sse2" : "portable";
}

std::int64_t documentSize() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const std::int64_t mib = text == nullptr ? 1024 : std::atoll(text);
  return std::max<std::int64_t>(mib, 1) * kMiB;
}

void fillRandom(std::span<std::uint8_t> bytes) {
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
    const std::uint64_t word = random();
    std::memcpy(&bytes[i], &word, 8);
  }
  std::ranges::replace(bytes, kAbsentByte, std::uint8_t{0xA6});
}

/// Words in sentences, their letters as frequent as in English prose.
void fillText(std::span<std::uint8_t> bytes) {
  constexpr std::string_view kLetters =
      "eeeeeeeeeeeetttttttttaaaaaaaaooooooooiiiiiiinnnnnnnsssssshhhhhhrrrrrrddddllllcccuuummmwwffgg"
      "yyppb"
      "bvvkjxqz";
  std::mt19937_64 random(2);
  std::size_t at = 0;
  while (at < bytes.size()) {
    std::uint64_t draw = random();
    const std::size_t length = 1 + draw % 9;
    draw >>= 4;
    for (std::size_t i = 0; i < length && at < bytes.size(); ++i, draw /= kLetters.size()) {
      if (draw < 1000) draw = random();
      bytes[at++] = static_cast<std::uint8_t>(kLetters[draw % kLetters.size()]);
    }
    if (at < bytes.size()) bytes[at++] = static_cast<std::uint8_t>(draw % 13 == 0 ? '\n' : ' ');
  }
}

/// Random bytes with "q." in them at every 160th to 191st place.
void fillFrequent(std::span<std::uint8_t> bytes) {
  fillRandom(bytes);
  std::mt19937 random(3);
  for (std::size_t at = 0; at + 2 <= bytes.size(); at += 160 + random() % 32) {
    bytes[at] = 'q';
    bytes[at + 1] = '.';
  }
}

/// The document of a kind; only the last one asked for is kept.
View document(Data data) {
  static ByteBuffer buffer;
  static Data kept = Data::zeros;
  if (buffer.size() == documentSize() && kept == data) return buffer.span();
  buffer = ByteBuffer();
  buffer = ByteBuffer::uninitialized(documentSize());
  const auto bytes = buffer.mutableSpan();
  kept = data;
  if (data == Data::zeros) std::memset(bytes.data(), 0, bytes.size());
  if (data == Data::random) fillRandom(bytes);
  if (data == Data::text) fillText(bytes);
  if (data == Data::frequent) fillFrequent(bytes);
  return buffer.span();
}

/// Time that this thread has had, so that the machine's other work counts as little as it can.
double threadSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The best of several runs, in seconds.
double bestSeconds(int rounds, const std::function<void()>& work) {
  double best = 1e9;
  for (int round = 0; round < rounds; ++round) {
    const double start = threadSeconds();
    work();
    best = std::min(best, threadSeconds() - start);
  }
  return best;
}

/// Seconds that memchr needs to see that a byte is not there.
double memchrSeconds(View bytes) {
  return bestSeconds(
      5, [&] { benchmark::DoNotOptimize(std::memchr(bytes.data(), kAbsentByte, bytes.size())); });
}

double memcpySeconds(View bytes) {
  Bytes copy(bytes.size());
  return bestSeconds(3, [&] {
    std::memcpy(copy.data(), bytes.data(), bytes.size());
    benchmark::ClobberMemory();
  });
}

double memchrYardstick(Data data) {
  static std::map<Data, double> seconds;
  if (!seconds.contains(data)) seconds[data] = memchrSeconds(document(data));
  return seconds[data];
}

void report(benchmark::State& state, double seconds, View bytes) {
  state.SetIterationTime(seconds);
  state.counters["GB/s"] = static_cast<double>(bytes.size()) / seconds / 1e9;
}

void yardstick(benchmark::State& state, Data data, double (*measure)(View)) {
  for (auto _ : state) report(state, measure(document(data)), document(data));
}

/// Something that is looked for; the result is a position.
using Search = std::function<std::optional<std::int64_t>(View)>;

/// A search that has to look at all bytes of a document.
void absent(benchmark::State& state, Data data, const Search& search) {
  for (auto _ : state) {
    const View bytes = document(data);
    bool isFound = false;
    const double seconds = bestSeconds(5, [&] { isFound = isFound || search(bytes).has_value(); });
    if (isFound) return state.SkipWithError("the needle is in the data");
    report(state, seconds, bytes);
    state.counters["of_memchr"] = memchrYardstick(data) / seconds;
  }
}

/// The same over and over in bytes that the second-level cache holds.
void absentCached(benchmark::State& state, Data data, const Search& search) {
  const View bytes = document(data).first(static_cast<std::size_t>(kCached));
  constexpr int kTimes = 100;
  for (auto _ : state) {
    const auto repeat = [&](const auto& work) {
      return bestSeconds(5,
                         [&] {
                           for (int i = 0; i < kTimes; ++i) work();
                         }) /
             kTimes;
    };
    const double seconds = repeat([&] { benchmark::DoNotOptimize(search(bytes)); });
    const double yard = repeat(
        [&] { benchmark::DoNotOptimize(std::memchr(bytes.data(), kAbsentByte, bytes.size())); });
    report(state, seconds, bytes);
    state.counters["of_memchr"] = yard / seconds;
  }
}

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

/// Needles of 8 and 15 bytes made of what the data is made of, and yet not in it.
Bytes absentNeedle(Data data, std::size_t length) {
  Bytes needle = bytesOf("my querying keys");
  if (data == Data::random)
    needle = bytesOf("\x93\x51\x0E\xC8\x77\x32\xB1\xEF\x48\x65\x9A\xD3\x21\x5C\x84");
  if (data == Data::zeros) needle = {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0};
  needle.resize(length);
  return needle;
}

Search needleSearch(const Bytes& needle, bool backwards, bool folds, const SearchLimits& limits) {
  return [=](View bytes) {
    return quillmor::ByteSearch::detail::index(needle, bytes, backwards ? std::ssize(bytes) : 0,
                                               backwards, folds, limits);
  };
}

template <class... Arguments>
void add(const std::string& name, void (*function)(benchmark::State&, Arguments...),
         std::type_identity_t<Arguments>... arguments) {
  benchmark::RegisterBenchmark(("search/" + name).c_str(),
                               [=](benchmark::State& state) { function(state, arguments...); })
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

void addAbsent(Data data, ScanPath path) {
  const SearchLimits limits = {.path = path};
  const std::string prefix = std::string(nameOf(data)) + "/" + nameOf(path) + "/absent";
  for (const std::size_t length : {8, 15}) {
    const Bytes needle = absentNeedle(data, length);
    const std::string name = prefix + std::to_string(length);
    const Search forward = needleSearch(needle, false, false, limits);
    add<Data, const Search&>(name + "/forward", absent, data, forward);
    add<Data, const Search&>(name + "/backward", absent, data,
                             needleSearch(needle, true, false, limits));
    add<Data, const Search&>(name + "/folded", absent, data,
                             needleSearch(needle, false, true, limits));
    add<Data, const Search&>(name + "/cached", absentCached, data, forward);
  }
}

/// All matches of a needle that is there every 170 bytes or so, one call for each.
void countFrequent(benchmark::State& state, ScanPath path) {
  for (auto _ : state) {
    const View bytes = document(Data::frequent);
    std::int64_t count = 0;
    const double seconds = bestSeconds(3, [&] {
      ByteMatcher matcher(bytesOf("q."), false, {.path = path});
      count = 0;
      const std::int64_t last = std::ssize(bytes);
      for (auto at = matcher.first(bytes, 0, last); at; at = matcher.first(bytes, *at + 2, last))
        ++count;
    });
    report(state, seconds, bytes);
    state.counters["hits"] = static_cast<double>(count);
  }
}

const bool isRegistered = [] {
  for (const Data data : kAllData) {
    const std::string name = nameOf(data);
    add<Data, double (*)(View)>(name + "/memchr", yardstick, data, memchrSeconds);
    add<Data, double (*)(View)>(name + "/memcpy", yardstick, data, memcpySeconds);
    for (const ScanPath path : kAllPaths) {
      if (isAvailable(path)) addAbsent(data, path);
    }
  }
  for (const ScanPath path : kAllPaths) {
    if (isAvailable(path))
      add<ScanPath>(std::string("frequent/") + nameOf(path), countFrequent, path);
  }
  return true;
}();

}  // namespace
