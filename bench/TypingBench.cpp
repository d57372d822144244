// What a key costs in a document of the largest size, with its undo step and without a window: keys
// held in the middle, the first key at a new place, places far apart in turn, and what a snapshot
// costs after typing. Every time is the median of the keys; the counters tell the slowest ones.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=typing/

#include <benchmark/benchmark.h>

#include <cmath>

#include "TypedDocument.h"

namespace {

using namespace quillmor;
using bench::TypedDocument;

constexpr int kKeys = 2000;

void report(benchmark::State& state, const std::vector<double>& seconds) {
  state.SetIterationTime(bench::quantile(seconds, 0.5));
  state.counters["p999_ms"] = bench::quantile(seconds, 0.999) * 1000;
  state.counters["slowest_ms"] = bench::quantile(seconds, 1) * 1000;
}

template <class Key>
std::vector<double> timesOf(int count, const Key& key) {
  std::vector<double> seconds;
  for (int i = 0; i < count; ++i) seconds.push_back(bench::secondsOf([&] { key(i); }));
  return seconds;
}

void digitsHeld(benchmark::State& state) {
  for (auto _ : state) {
    TypedDocument typed;
    typed.placeAt(state.range(0));
    report(state, timesOf(kKeys, [&](int) { typed.editor().handleTextInput("7"); }));
  }
}

void backspaceHeld(benchmark::State& state) {
  for (auto _ : state) {
    TypedDocument typed;
    typed.placeAt(state.range(0));
    report(state, timesOf(kKeys, [&](int) { typed.editor().deleteSelectionOrByte(true); }));
  }
}

/// One byte typed at places all over the document, none of them near another.
void newPlaces(benchmark::State& state) {
  for (auto _ : state) {
    TypedDocument typed;
    report(state, timesOf(50, [&](int i) {
             typed.placeAt(std::lround(i * 61.8) % 100);
             typed.editor().editByte(7);
           }));
  }
}

void twoPlacesInTurn(benchmark::State& state) {
  for (auto _ : state) {
    TypedDocument typed;
    report(state, timesOf(20, [&](int i) {
             typed.placeAt(i % 2 == 0 ? 25 : 75);
             typed.editor().editByte(7);
           }));
  }
}

void firstKey(benchmark::State& state) {
  for (auto _ : state) {
    TypedDocument typed;
    typed.placeAt(50);
    report(state, timesOf(1, [&](int) { typed.editor().editByte(7); }));
  }
}

void snapshotAfterTyping(benchmark::State& state) {
  for (auto _ : state) {
    TypedDocument typed;
    typed.placeAt(50);
    timesOf(100, [&](int) { typed.editor().editByte(7); });
    report(state, timesOf(1, [&](int) { benchmark::DoNotOptimize(ByteBuffer(typed.bytes())); }));
  }
}

void repeated(benchmark::internal::Benchmark* bench) {
  bench->UseManualTime()->Iterations(1)->Repetitions(3)->ReportAggregatesOnly()->Unit(
      benchmark::kMillisecond);
}

BENCHMARK(digitsHeld)->Name("typing/digits_at_percent")->Arg(0)->Arg(30)->Arg(50)->Apply(repeated);
BENCHMARK(backspaceHeld)->Name("typing/backspaces_at_percent")->Arg(50)->Apply(repeated);
BENCHMARK(firstKey)->Name("typing/first_key")->Apply(repeated);
BENCHMARK(twoPlacesInTurn)->Name("typing/two_places_in_turn")->Apply(repeated);
BENCHMARK(newPlaces)->Name("typing/new_places")->Apply(repeated);
BENCHMARK(snapshotAfterTyping)->Name("typing/snapshot_afterwards")->Apply(repeated);

}  // namespace
