// From a pressed key to the painted frame: the key goes through the hex view and its edit session
// into the middle of 1 GiB, and the view paints what has changed.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench_ui --benchmark_filter=key/
//
// The time is the median. "p999_ms" is what one key in a thousand exceeds, and "processor_percent"
// the share of a core that 30 keys a second take.

#include <benchmark/benchmark.h>
#include <time.h>

#include <QApplication>
#include <QKeyEvent>

#include "TypedDocument.h"
#include "ui/editor/HexEditorView.h"

namespace {

using namespace quillmor;

constexpr int kKeys = 2000;
constexpr double kKeysASecond = 30;

double processorSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void press(HexEditorView& view, int key, const QString& text) {
  QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
  QApplication::sendEvent(&view, &event);
  QApplication::processEvents();
}

void keyToFrame(benchmark::State& state, int key, const QString& text) {
  for (auto _ : state) {
    bench::TypedDocument typed;
    HexEditorView view(typed.editor());
    view.resize(1120, 760);
    view.show();
    view.setFocus();
    typed.placeAt(50);
    QApplication::processEvents();
    std::vector<double> seconds;
    const double before = processorSeconds();
    for (int i = 0; i < kKeys; ++i) {
      seconds.push_back(bench::secondsOf([&] { press(view, key, text); }));
    }
    const double processor = (processorSeconds() - before) / kKeys;
    state.SetIterationTime(bench::quantile(seconds, 0.5));
    state.counters["p999_ms"] = bench::quantile(seconds, 0.999) * 1000;
    state.counters["slowest_ms"] = bench::quantile(seconds, 1) * 1000;
    state.counters["processor_percent"] = processor * kKeysASecond * 100;
  }
}

void once(benchmark::internal::Benchmark* bench) {
  bench->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(keyToFrame, digit, Qt::Key_7, QStringLiteral("7"))
    ->Name("key/digit")
    ->Apply(once);
BENCHMARK_CAPTURE(keyToFrame, backspace, Qt::Key_Backspace, QString())
    ->Name("key/backspace")
    ->Apply(once);

}  // namespace
