// A full repaint of the hex view into a picture in memory, as the window system would ask for it.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench_ui --benchmark_filter=paint/
//
// paint/window and paint/4k tell milliseconds per repaint. paint/gibibyteToMebibyte interleaves the
// same repaint in the middle of 1 GiB and of 1 MiB and tells the "ratio" of the medians.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

#include "base/ByteUnits.h"
#include "ui/editor/HexEditorView.h"

namespace {

using namespace quillmor;
using Clock = std::chrono::steady_clock;

class SilentBeeper : public Beeper {
 public:
  void beep() override {}
};

/// A hex view of `size` device pixels at `ratio`, shown in the middle of a document.
class Painted {
 public:
  Painted(QSize size, double ratio, std::int64_t bytesPerRow, std::int64_t byteCount)
      : image_(size, QImage::Format_RGB32) {
    image_.setDevicePixelRatio(ratio);
    ByteBuffer bytes = ByteBuffer::uninitialized(byteCount);
    fillMiddle(bytes);
    editor_.storage()->bytes = std::move(bytes);
    editor_.setBytesPerRow(bytesPerRow);
    view_.resize((QSizeF(size) / ratio).toSize());
    view_.show();
    view_.setFocus();
    view_.scrollTo({0, editor_.geometry().desiredDocumentSize().height / 2});
    editor_.setSelection({.start = byteCount / 2, .length = 200});
    QApplication::processEvents();
  }

  void repaint() {
    QPainter painter(&image_);
    const Size size{image_.width() / image_.devicePixelRatio(),
                    image_.height() / image_.devicePixelRatio()};
    view_.hexPainter().paint(
        painter, QRectF(0, 0, size.width, size.height), editor_,
        {.scroll = view_.scrollPosition(), .viewport = size, .showsCaret = true});
  }

  void useText() { view_.hexPainter().setMethod(CellText::Method::text); }

 private:
  static void fillMiddle(ByteBuffer& bytes) {
    const auto all = bytes.mutableSpan();
    const std::size_t half = all.size() / 2;
    const std::size_t around = std::min<std::size_t>(half, 64 * 1024);
    for (std::size_t i = half - around; i < half + around; ++i) {
      all[i] = static_cast<std::uint8_t>(i * 167 >> 3);
    }
  }

  QImage image_;
  SilentBeeper beeper_;
  HexEditorState editor_{beeper_};
  HexEditorView view_{editor_};
};

void paint(benchmark::State& state, QSize size, double ratio, std::int64_t bytesPerRow) {
  Painted painted(size, ratio, bytesPerRow, 1024 * kMiB);
  for (auto _ : state) painted.repaint();
}

void paintAsText(benchmark::State& state, QSize size, double ratio, std::int64_t bytesPerRow) {
  Painted painted(size, ratio, bytesPerRow, 1024 * kMiB);
  painted.useText();
  for (auto _ : state) painted.repaint();
}

double secondsForRepaint(Painted& painted) {
  const auto start = Clock::now();
  painted.repaint();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void paintGibibyteToMebibyte(benchmark::State& state) {
  Painted large({1120, 760}, 1, 16, 1024 * kMiB);
  Painted small({1120, 760}, 1, 16, kMiB);
  std::vector<double> largeSeconds;
  std::vector<double> smallSeconds;
  for (auto _ : state) {
    largeSeconds.push_back(secondsForRepaint(large));
    smallSeconds.push_back(secondsForRepaint(small));
  }
  state.counters["ratio"] = median(largeSeconds) / median(smallSeconds);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  const auto inMilliseconds = [](benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond);
  };
  inMilliseconds(benchmark::RegisterBenchmark("paint/window", paint, QSize(1120, 760), 1.0, 16));
  inMilliseconds(benchmark::RegisterBenchmark("paint/4k", paint, QSize(3840, 2160), 2.0, 32));
  inMilliseconds(
      benchmark::RegisterBenchmark("paint/windowAsText", paintAsText, QSize(1120, 760), 1.0, 16));
  inMilliseconds(
      benchmark::RegisterBenchmark("paint/4kAsText", paintAsText, QSize(3840, 2160), 2.0, 32));
  inMilliseconds(benchmark::RegisterBenchmark("paint/gibibyteToMebibyte", paintGibibyteToMebibyte));
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
