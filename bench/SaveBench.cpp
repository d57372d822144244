// Saving a file over its old bytes with a safety copy, in turn with a plain save: opening the file,
// emptying it, one write, one flush. The file and its records lie in QUILLMOR_BENCH_FOLDER
// (default: the folder for temporary files); the figures are those of its disk, which both sides
// wait for.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=safeSave/
//
// The time is the median of the safe saves; "ratio" is that over the median of the plain ones,
// "plain_ms".

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "ReportTiming.h"
#include "TypedDocument.h"
#include "document/FileSave.h"
#include "recovery/SaveRecords.h"

namespace {

namespace fs = std::filesystem;
using namespace quillmor;

constexpr int kRounds = 11;

/// A folder that goes with its end.
class BenchFolder {
 public:
  BenchFolder()
      : path_(fs::path(bench::dataFolder().value_or(fs::temp_directory_path().native())) /
              ("quillmor-save-" + std::to_string(::getpid()))) {
    fs::create_directories(path_);
  }
  ~BenchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  BenchFolder(const BenchFolder&) = delete;
  BenchFolder& operator=(const BenchFolder&) = delete;

  FileLocation at(const char* name) const {
    return FileLocation::fromPath((path_ / name).native());
  }

 private:
  fs::path path_;
};

void plainSave(const FileLocation& file, const bench::Bytes& bytes) {
  const int descriptor =
      ::open(file.path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
    if (count <= 0) std::abort();
    written += static_cast<std::size_t>(count);
  }
  if (::fsync(descriptor) != 0 || ::close(descriptor) != 0) std::abort();
}

/// Asks nobody: the steps of a save of the document's own file.
void save(const FileLocation& file, const ByteBuffer& bytes,
          const std::shared_ptr<SafetyCopies>& copies) {
  FileSave fileSave({.destination = file, .ownFile = file, .safetyCopies = copies});
  fileSave.prepare(bytes.size(), {});
  fileSave.secure(bytes, {});
  fileSave.write(bytes);
}

void safeSave(benchmark::State& state) {
  const BenchFolder folder;
  const FileLocation file = folder.at("data.bin");
  const auto copies = std::make_shared<SaveRecords>(RecordStore(folder.at("recovery")));
  const bench::Bytes data = bench::randomBytes(static_cast<std::size_t>(state.range(0) * kMiB));
  const ByteBuffer bytes(data);
  for (auto _ : state) {
    plainSave(file, data);
    std::vector<double> plain;
    std::vector<double> safe;
    for (int round = 0; round < kRounds; ++round) {
      plain.push_back(bench::secondsOf([&] { plainSave(file, data); }));
      safe.push_back(bench::secondsOf([&] { save(file, bytes, copies); }));
    }
    state.SetIterationTime(bench::quantile(safe, 0.5));
    state.counters["plain_ms"] = bench::quantile(plain, 0.5) * 1000;
    state.counters["ratio"] = bench::quantile(safe, 0.5) / bench::quantile(plain, 0.5);
  }
}
BENCHMARK(safeSave)
    ->Name("safeSave/MiB")
    ->Arg(1)
    ->Arg(16)
    ->Arg(256)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
