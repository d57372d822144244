// How fast bytes are found, beside what memory allows: random, text-like and zero bytes in a
// document of the largest size, and data made to make searches slow. `QUILLMOR_BENCH_MIB` sets the
// size (default 1024). With `QUILLMOR_BENCH_FOLDER` the documents are written there as well.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=search/

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "search/scan/ByteSearch.h"
#include "search/scan/SearchLimits.h"
#include "search/scan/WildcardHexPattern.h"

namespace {

using quillmor::ByteBuffer;
using quillmor::kMiB;
using quillmor::Matcher;
using quillmor::ScanKernel;
using quillmor::ScopedSearchLimits;
using quillmor::SearchLimits;
using quillmor::WildcardHexPattern;
using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

constexpr std::int64_t kCached = 512 * 1024;

enum class Data { random, text, zeros, frequent };
/// A byte that none of the documents has.
constexpr std::uint8_t kAbsentByte = 0xA7;
constexpr std::string_view kWildcards[] = {"F0 ?? E6 0F", "AA ?? BB ?? CC"};
constexpr Data kAllData[] = {Data::random, Data::text, Data::zeros};

const char* nameOf(Data data) {
  return data == Data::random ? "random" : data == Data::text ? "text" : "zeros";
}

std::int64_t documentSize() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const std::int64_t mib = text == nullptr ? 1024 : std::atoll(text);
  return std::max<std::int64_t>(mib, 1) * kMiB;
}

/// Bytes of all values but `kAbsentByte`, without a match of the patterns.
void fillRandom(std::span<std::uint8_t> bytes) {
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
    const std::uint64_t word = random();
    std::memcpy(&bytes[i], &word, 8);
  }
  std::ranges::replace(bytes, kAbsentByte, std::uint8_t{0xA6});
  for (const std::string_view text : kWildcards) {
    const auto pattern = *WildcardHexPattern::parse(text);
    std::int64_t from = 0;
    quillmor::TaskProgress progress;
    while (const auto at = pattern.firstMatchWrapped(bytes, from, progress)) {
      bytes[static_cast<std::size_t>(*at)] ^= 1;
      from = *at;
    }
  }
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
    const ScopedSearchLimits scope(limits);
    return quillmor::ByteSearch::index(needle, bytes, backwards ? std::ssize(bytes) : 0, backwards,
                                       folds);
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

void addAbsent(Data data, const ScanKernel* kernel) {
  const SearchLimits limits = {.kernel = kernel};
  const std::string prefix = std::string(nameOf(data)) + "/" + kernel->name + "/absent";
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
void countFrequent(benchmark::State& state, const ScanKernel* kernel) {
  for (auto _ : state) {
    const View bytes = document(Data::frequent);
    std::int64_t count = 0;
    const double seconds = bestSeconds(3, [&] {
      const ScopedSearchLimits scope({.kernel = kernel});
      const Bytes needle = bytesOf("q.");
      Matcher matcher(needle, false);
      count = 0;
      const std::int64_t last = std::ssize(bytes);
      for (auto at = matcher.first(bytes, 0, last); at; at = matcher.first(bytes, *at + 2, last))
        ++count;
    });
    report(state, seconds, bytes);
    state.counters["hits"] = static_cast<double>(count);
  }
}

/// The same matches, many for each call.
void collectFrequent(benchmark::State& state, const ScanKernel* kernel) {
  for (auto _ : state) {
    const View bytes = document(Data::frequent);
    std::int64_t count = 0;
    const double seconds = bestSeconds(3, [&] {
      const ScopedSearchLimits scope({.kernel = kernel});
      const Bytes needle = bytesOf("q.");
      Matcher matcher(needle, false);
      quillmor::MatchList list;
      count = 0;
      std::int64_t from = 0;
      do {
        matcher.collect(bytes, from, std::ssize(bytes), list);
        count += list.count;
        from = list.freeFrom(from, matcher.needleLength());
      } while (list.isFull());
    });
    report(state, seconds, bytes);
    state.counters["hits"] = static_cast<double>(count);
  }
}

Search wildcardSearch(std::string_view text, const SearchLimits& limits) {
  const auto pattern = *WildcardHexPattern::parse(text);
  return [=](View bytes) {
    const ScopedSearchLimits scope(limits);
    quillmor::TaskProgress progress;
    return pattern.firstMatchWrapped(bytes, 0, progress);
  };
}

void addWildcards(Data data, const ScanKernel* kernel) {
  const std::string prefix = std::string(nameOf(data)) + "/" + kernel->name + "/wildcard/";
  for (const std::string_view text : kWildcards) {
    add<Data, const Search&>(prefix + std::string(text, 0, 2), absent, data,
                             wildcardSearch(text, {.kernel = kernel}));
  }
}

/// Hostile data: nothing of it is found.
struct Hostile {
  std::string name;
  Bytes haystack;
  Search search;
};

constexpr std::size_t kHostileSize = 64 * kMiB;

Bytes repeated(std::string_view period, std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<std::uint8_t>(period[i % period.size()]);
  return bytes;
}

Bytes changedAt(Bytes bytes, std::size_t place) {
  bytes[place] ^= 3;
  return bytes;
}

/// `period` repeated, with a fault every `spacing` bytes on average.
Bytes faulty(std::string_view period, std::size_t size, std::uint32_t spacing) {
  Bytes bytes = repeated(period, size);
  std::mt19937 random(4);
  for (std::size_t at = 0; at < size; at += 1 + random() % (2 * spacing)) bytes[at] ^= 3;
  return bytes;
}

/// The word that does not change when every a becomes ab and every b becomes a.
Bytes fibonacciWord(std::size_t size) {
  Bytes before = bytesOf("a");
  Bytes word = bytesOf("ab");
  while (word.size() < size) {
    Bytes next = word;
    next.insert(next.end(), before.begin(), before.end());
    before = std::exchange(word, std::move(next));
  }
  word.resize(size);
  return word;
}

Bytes fewLetters(std::size_t size) {
  Bytes bytes(size);
  std::mt19937 random(5);
  for (auto& byte : bytes) byte = "ab"[random() & 1];
  return bytes;
}

/// `count` runs of one or two bytes, a wildcard between them.
std::string shortRuns(int count, std::string_view run, std::string_view lastRun) {
  std::string text;
  for (int i = 1; i < count; ++i) text.append(run).append(" ?? ");
  return text.append(lastRun);
}

void hostile(benchmark::State& state, const std::function<Bytes()>& make, const Search& search) {
  const Bytes bytes = make();
  for (auto _ : state) {
    bool isFound = false;
    const double seconds = bestSeconds(3, [&] { isFound = isFound || search(bytes).has_value(); });
    if (isFound) return state.SkipWithError("the needle is in the data");
    report(state, seconds, bytes);
  }
}

void addHostile(const std::string& name, const std::function<Bytes()>& make, const Search& search) {
  add<const std::function<Bytes()>&, const Search&>("hostile/" + name, hostile, make, search);
}

void addHostileBothWays(const std::string& name, const std::function<Bytes()>& make,
                        const Bytes& needle) {
  for (const bool backwards : {false, true}) {
    for (const bool folds : {false, true}) {
      const std::string way =
          name + (backwards ? "/backward" : "/forward") + (folds ? "/folded" : "");
      addHostile(way, make, needleSearch(needle, backwards, folds, {}));
      addHostile(way + "/linear", make, needleSearch(needle, backwards, folds, {.workBudget = 0}));
    }
  }
}

void addHostileNeedles() {
  const auto oneByte = [] { return Bytes(kHostileSize, 'A'); };
  for (const std::size_t place : {0, 2048, 4096}) {
    addHostileBothWays("one_byte/other_at_" + std::to_string(place), oneByte,
                       changedAt(Bytes(4097, 'A'), place));
  }
  addHostileBothWays(
      "two_letters/other_period", [] { return repeated("ab", kHostileSize); },
      changedAt(repeated("ab", 4096), 3000));
  addHostileBothWays(
      "faults", [] { return faulty("a", kHostileSize, 1000); }, Bytes(4096, 'a'));
  addHostileBothWays(
      "faults_in_period", [] { return faulty("abcab", kHostileSize, 500); },
      repeated("abcab", 4095));
  addHostileBothWays(
      "fibonacci", [] { return fibonacciWord(kHostileSize); },
      changedAt(fibonacciWord(4097), 4000));
  addHostileBothWays(
      "two_letters/random", [] { return fewLetters(kHostileSize); }, repeated("ab", 64));
}

/// Ones with faults, `width` bytes each and up to `spacing` apart.
Bytes onesWithFaults(std::size_t spacing, std::size_t width) {
  Bytes bytes(kHostileSize, 1);
  std::mt19937 random(6);
  for (std::size_t at = spacing; at + width < bytes.size();
       at += spacing / 2 + random() % (spacing / 2)) {
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), width, 2);
  }
  return bytes;
}

void addHostilePatterns() {
  const auto ones = [] { return Bytes(kHostileSize, 1); };
  for (const int count : {65, 129, 1000}) {
    const std::string name = std::to_string(count) + "_runs/";
    const auto runs = static_cast<std::size_t>(count);
    addHostile(name + "absent_byte", ones, wildcardSearch(shortRuns(count, "01", "02"), {}));
    addHostile(
        name + "fibonacci", [] { return fibonacciWord(kHostileSize); },
        wildcardSearch(shortRuns(count, "61 62", "61 61"), {}));
    // Faults so far apart that nearly the whole pattern fits between them, and wide enough to leave
    // no match; the narrow ones hit every second or third way the pattern can lie.
    for (const auto& [kind, make] :
         std::initializer_list<std::pair<std::string, std::function<Bytes()>>>{
             {"wide_faults", [=] { return onesWithFaults(2 * runs - 8, 3); }},
             {"narrow_faults", [=] { return onesWithFaults(2 * runs / 16, 1); }}}) {
      addHostile(name + kind + "/short", make, wildcardSearch(shortRuns(count, "01", "01"), {}));
      addHostile(name + kind + "/mixed", make, wildcardSearch(shortRuns(count, "01 01", "01"), {}));
    }
  }
}

/// A pattern of `length` positions, runs of one and two bytes at random; one position in
/// `sparseness` is concrete.
std::string randomRuns(std::size_t length, unsigned sparseness) {
  std::mt19937 random(7);
  std::string text = "01";
  int run = 1;
  for (std::size_t i = 2; i < length; ++i) {
    const bool isConcrete = run < 2 && random() % sparseness == 0;
    text.append(isConcrete ? "01" : "??");
    run = isConcrete ? run + 1 : 0;
  }
  return text.append("01");
}

/// Long patterns, nearly all of each fits between faults just frequent enough to leave no match.
void addHostileLongPatterns() {
  for (const std::size_t length : {5000, 50'000, 200'000}) {
    for (const unsigned sparseness : {2, 16, 64}) {
      const std::size_t spacing = length / (40 * sparseness) + 1;
      if (spacing < 4) continue;
      const std::string name =
          "long_pattern/" + std::to_string(length) + "/one_in_" + std::to_string(sparseness);
      addHostile(
          name, [=] { return onesWithFaults(spacing, 1); },
          wildcardSearch(randomRuns(length, sparseness), {}));
    }
  }
}

/// Writes a document for other tools to search.
void writeFile(benchmark::State& state, Data data, const std::string& folder) {
  for (auto _ : state) {
    const View bytes = document(data);
    std::ofstream file(folder + "/" + nameOf(data), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    if (!file.flush()) state.SkipWithError("the file cannot be written");
    state.SetIterationTime(1);
  }
}

const bool isRegistered = [] {
  for (const Data data : kAllData) {
    const std::string name = nameOf(data);
    if (const char* const folder = std::getenv("QUILLMOR_BENCH_FOLDER")) {
      add<Data, const std::string&>(name + "/file", writeFile, data, folder);
    }
    add<Data, double (*)(View)>(name + "/memchr", yardstick, data, memchrSeconds);
    add<Data, double (*)(View)>(name + "/memcpy", yardstick, data, memcpySeconds);
    for (const ScanKernel* const kernel : quillmor::availableScanKernels()) {
      addAbsent(data, kernel);
      addWildcards(data, kernel);
    }
  }
  for (const ScanKernel* const kernel : quillmor::availableScanKernels()) {
    add<const ScanKernel*>(std::string("frequent/") + kernel->name, countFrequent, kernel);
    add<const ScanKernel*>(std::string("frequent/") + kernel->name + "/collected", collectFrequent,
                           kernel);
  }
  addHostileNeedles();
  addHostilePatterns();
  addHostileLongPatterns();
  return true;
}();

}  // namespace
