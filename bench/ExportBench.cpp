// What hex dumps and Intel HEX cost: the text made in memory, beside memcpy of as much text in the
// same pieces; a file written from a document in memory, beside writing as much text that is there
// already; and the same with the document read from a file first.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter='hexdump/|intelhex/'
//
// `QUILLMOR_BENCH_MIB` sets the number of bytes (default 256). The files are put into
// `QUILLMOR_BENCH_FOLDER` (default: the folder for temporary files) and removed. All times are
// processor time, which leaves out waiting for a disk; GB/s are those of the bytes.

#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/ByteUnits.h"
#include "fileaccess/StableReading.h"
#include "kernels/LineKernels.h"
#include "tools/export/HexDumpExporter.h"
#include "tools/export/IntelHexExporter.h"

namespace {

namespace fs = std::filesystem;
using namespace quillmor;
using Source = std::span<const std::uint8_t>;

constexpr std::size_t kKernelPiece = 65536;
constexpr int kRounds = 5;

std::size_t benchByteCount() {
  const char* const text = std::getenv("QUILLMOR_BENCH_MIB");
  const long long mebibytes = text == nullptr ? 256 : std::atoll(text);
  return static_cast<std::size_t>(std::max(mebibytes, 1LL)) * kMiB;
}

Source document() {
  static const auto kBytes = [] {
    std::vector<std::uint8_t> bytes(benchByteCount());
    std::mt19937_64 random(1);
    for (std::size_t at = 0; at < bytes.size(); at += 8) {
      const std::uint64_t word = random();
      std::memcpy(&bytes[at], &word, 8);
    }
    return bytes;
  }();
  return kBytes;
}

double secondsOf(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  };
  const double start = now();
  work();
  benchmark::ClobberMemory();
  return now() - start;
}

/// An exporter, its inner loop, and the length of the lines that writes.
struct Exporter {
  std::string name;
  std::function<void(Source, const TextSink&, TaskProgress&)> produce;
  std::function<void(Source, const ExportTarget&, TaskProgress&)> write;
  LineKernels::Lines LineKernels::*kernel;
  std::size_t lineLength;
};

/// `textLength` characters copied from one buffer into another, piece by piece.
void copyAsMuch(std::size_t textLength) {
  static const std::vector<char> kFrom(BufferedText::kCapacity, 'x');
  static std::vector<char> to(BufferedText::kCapacity);
  for (std::size_t at = 0; at < textLength; at += to.size()) {
    std::memcpy(to.data(), kFrom.data(), std::min(to.size(), textLength - at));
    benchmark::ClobberMemory();
  }
}

/// Times `work` and the memcpy by turns and reports the best of each.
void inMemory(benchmark::State& state, std::size_t textLength, const std::function<void()>& work) {
  double best = 1e9;
  double bestCopy = 1e9;
  document();
  for (auto _ : state) {
    for (int round = 0; round < kRounds; ++round) {
      const auto copy = [textLength] { copyAsMuch(textLength); };
      bestCopy = std::min(bestCopy, secondsOf(copy));
      best = std::min(best, secondsOf(work));
    }
    state.SetIterationTime(best);
  }
  state.counters["GB/s"] = static_cast<double>(benchByteCount()) / best * 1e-9;
  state.counters["of_memcpy"] = bestCopy / best;
}

void add(const std::string& name, std::function<void(benchmark::State&)> run) {
  benchmark::RegisterBenchmark(name.c_str(), std::move(run))
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

void addInMemory(const Exporter& exporter) {
  add(exporter.name + "/memory", [exporter](benchmark::State& state) {
    std::size_t length = 0;
    const TextSink sink = [&length](std::string_view piece) { length += piece.size(); };
    const auto work = [&] {
      TaskProgress progress;
      length = 0;
      exporter.produce(document(), sink, progress);
    };
    work();
    inMemory(state, length, work);
  });
}

/// The inner loops alone, into a buffer that holds the lines of one piece.
void addKernel(const Exporter& exporter, const LineKernels& kernels) {
  const auto kernel = kernels.*exporter.kernel;
  add(exporter.name + "/kernel/" + kernels.name, [=](benchmark::State& state) {
    constexpr std::size_t kLines = kKernelPiece / LineKernels::kBytesPerLine;
    std::vector<char> text(kLines * exporter.lineLength);
    const auto work = [&] {
      for (std::size_t at = 0; at < document().size(); at += kKernelPiece) {
        kernel(text.data(), document().data() + at, kLines, static_cast<std::uint32_t>(at));
        benchmark::ClobberMemory();
      }
    };
    inMemory(state, document().size() / kKernelPiece * text.size(), work);
  });
}

/// A folder that goes when the process ends.
class Folder {
 public:
  Folder() {
    const char* const parent = std::getenv("QUILLMOR_BENCH_FOLDER");
    path_ = (parent == nullptr ? fs::temp_directory_path() : fs::path(parent)) /
            ("quillmor-bench-" + std::to_string(::getpid()));
    fs::create_directory(path_);
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  FileLocation location(std::string_view name) const {
    return FileLocation::fromPath((path_ / name).native());
  }

 private:
  fs::path path_;
};

/// The same file without anything to read or to convert.
void writeAsMuch(std::size_t textLength, const FileLocation& output) {
  static const std::string kPiece(BufferedText::kCapacity, 'x');
  TaskProgress progress;
  writeTextFile({output, {}}, progress, [textLength](const TextSink& sink) {
    for (std::size_t at = 0; at < textLength; at += kPiece.size()) {
      sink(std::string_view(kPiece).substr(0, std::min(kPiece.size(), textLength - at)));
    }
  });
}

/// Writes a new file, all checks included; with `readsFirst` from a file, read as opening it does.
void addFile(const Exporter& exporter, const std::string& name, bool readsFirst) {
  add(exporter.name + "/" + name, [exporter, readsFirst](benchmark::State& state) {
    const Folder folder;
    const FileLocation input = folder.location("input");
    const FileLocation output = folder.location("output");
    std::ofstream(input.path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(document().data()),
               static_cast<std::streamsize>(document().size()));
    const auto work = [&] {
      ByteBuffer read;
      if (readsFirst) read = SecureFileAccess::readData(input, std::nullopt);
      TaskProgress progress;
      exporter.write(readsFirst ? read.span() : document(), {output, {input}}, progress);
    };
    work();
    const auto textLength = fs::file_size(output.path());
    double best = 1e9;
    double bestWrite = 1e9;
    for (auto _ : state) {
      for (int round = 0; round < kRounds; ++round) {
        fs::remove(output.path());
        const auto write = [&] { writeAsMuch(textLength, output); };
        bestWrite = std::min(bestWrite, secondsOf(write));
        fs::remove(output.path());
        best = std::min(best, secondsOf(work));
      }
      state.SetIterationTime(best);
    }
    state.counters["GB/s"] = static_cast<double>(benchByteCount()) / best * 1e-9;
    state.counters["of_plain_write"] = bestWrite / best;
  });
}

const Exporter kHexDump = {
    .name = "hexdump",
    .produce =
        [](Source bytes, const TextSink& sink, TaskProgress& progress) {
          const HexSelection all = {0, static_cast<std::int64_t>(bytes.size())};
          HexDumpExporter::produce(bytes, all, sink, progress);
        },
    .write = [](Source bytes, const ExportTarget& target,
                TaskProgress& progress) { HexDumpExporter::write(bytes, target, progress); },
    .kernel = &LineKernels::hexDump,
    .lineLength = LineKernels::kHexDumpLineLength};

const Exporter kIntelHex = {.name = "intelhex",
                            .produce = IntelHexExporter::produce,
                            .write = IntelHexExporter::write,
                            .kernel = &LineKernels::intelHex,
                            .lineLength = LineKernels::kIntelHexLineLength};

[[maybe_unused]] const bool kIsRegistered = [] {
  for (const Exporter& exporter : {kHexDump, kIntelHex}) {
    addInMemory(exporter);
    for (const LineKernels* kernels : availableLineKernels()) addKernel(exporter, *kernels);
    addFile(exporter, "file", false);
    addFile(exporter, "read_and_file", true);
  }
  return true;
}();

}  // namespace
