// From a pressed key to the painted frame while the unsaved changes are recorded: 30 keys a second
// into the middle of a file of 1 GiB, with the journal being written, and a key that meets a
// snapshot being written. QUILLMOR_BENCH_MIB sets the size of the file. It lies with its records in
// QUILLMOR_BENCH_FOLDER (default: the folder for temporary files), which should be on a disk.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench_ui --benchmark_filter=recordedKey/
//
// The time is the median. "p999_ms" is what one key in a thousand exceeds, "slowest_ms" the worst
// one, and "processor_percent" the share of a core that all threads took while keys were held.

#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <QApplication>
#include <QKeyEvent>
#include <QThread>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "ReportTiming.h"
#include "TypedDocument.h"
#include "platform_qt/QtBackgroundExecutor.h"
#include "recovery/UnsavedChanges.h"
#include "ui/editor/HexEditorView.h"

namespace {

namespace fs = std::filesystem;
using namespace quillmor;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kHeldFor = 40s;
constexpr auto kBetweenKeys = 33ms;

double processorSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Lets events come until `end`, without taking the processor.
void runEventsUntil(Clock::time_point end) {
  while (Clock::now() < end) {
    QApplication::processEvents();
    QThread::msleep(1);
  }
}

class RecordsFolder {
 public:
  RecordsFolder()
      : path_(fs::path(bench::dataFolder().value_or(fs::temp_directory_path().native())) /
              ("quillmor-keys-" + std::to_string(::getpid()))) {}
  ~RecordsFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  RecordsFolder(const RecordsFolder&) = delete;
  RecordsFolder& operator=(const RecordsFolder&) = delete;

  FileLocation at(const char* name) const {
    return FileLocation::fromPath((path_ / name).native());
  }

  /// A file without holes.
  FileLocation writeFile() const {
    const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
    const long long mebibytes = text == nullptr ? 1024 : std::atoll(text);
    fs::create_directories(path_);
    std::ofstream out(path_ / "data.bin", std::ios::binary);
    const std::string block(kMiB, 'Z');
    for (long long i = 0; i < std::max(mebibytes, 16LL); ++i) out << block;
    if (!out.flush()) throw std::runtime_error("no room for the file to be typed into");
    return at("data.bin");
  }

 private:
  fs::path path_;
};

/// A shown hex view of a file whose edits are recorded.
class RecordedView {
 public:
  RecordedView() {
    typed_.session().addEditRecorder(changes_);
    view_.resize(1120, 760);
    view_.show();
    view_.setFocus();
    typed_.placeAt(50);
    QApplication::processEvents();
  }
  ~RecordedView() {
    typed_.session().removeEditRecorder(changes_);
    changes_.discard();
  }
  RecordedView(const RecordedView&) = delete;
  RecordedView& operator=(const RecordedView&) = delete;

  /// Seconds from the key to the painted frame.
  double press() {
    return bench::secondsOf([&] {
      QKeyEvent event(QEvent::KeyPress, Qt::Key_7, Qt::NoModifier, QStringLiteral("7"));
      QApplication::sendEvent(&view_, &event);
      QApplication::processEvents();
    });
  }
  std::int64_t bytesOnDisk() const { return changes_.bytesOnDisk(); }

 private:
  RecordsFolder folder_;
  RecordStore store_{folder_.at("recovery")};
  QtBackgroundExecutor executor_;
  bench::TypedDocument typed_{folder_.writeFile()};
  UnsavedChanges changes_{typed_.session().sharedDocument(),
                          executor_,
                          &store_,
                          {.places = [this] { return typed_.session().places(); },
                           .didFail = [](const Error&) { std::abort(); }}};
  HexEditorView view_{typed_.editor()};
};

void heldKey(benchmark::State& state) {
  for (auto _ : state) {
    RecordedView recorded;
    std::vector<double> seconds;
    const double before = processorSeconds();
    const auto start = Clock::now();
    for (auto next = start; next < start + kHeldFor; next += kBetweenKeys) {
      runEventsUntil(next);
      seconds.push_back(recorded.press());
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(bench::quantile(seconds, 0.5));
    state.counters["p999_ms"] = bench::quantile(seconds, 0.999) * 1000;
    state.counters["slowest_ms"] = bench::quantile(seconds, 1) * 1000;
    state.counters["processor_percent"] = (processorSeconds() - before) / elapsed * 100;
    if (recorded.bytesOnDisk() == 0) state.SkipWithError("nothing was recorded");
  }
}

/// Every round types, waits until the idle document is being written, and types again.
void keyMeetingSnapshot(benchmark::State& state) {
  constexpr int kRounds = 5;
  std::vector<double> seconds;
  for (auto _ : state) {
    for (int round = 0; round < kRounds; ++round) {
      RecordedView recorded;
      recorded.press();
      runEventsUntil(Clock::now() + SnapshotSchedule::kIdle + 400ms);
      seconds.push_back(recorded.press());
    }
    state.SetIterationTime(bench::quantile(seconds, 0.5));
    state.counters["slowest_ms"] = bench::quantile(seconds, 1) * 1000;
  }
}

void once(benchmark::internal::Benchmark* bench) {
  bench->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
}

BENCHMARK(heldKey)->Name("recordedKey/held")->Apply(once);
BENCHMARK(keyMeetingSnapshot)->Name("recordedKey/meetingSnapshot")->Apply(once);

}  // namespace
