// Opening and saving a large file. The size is QUILLMOR_BENCH_MIB (default 1024) mebibytes; the
// file lies in the folder for temporary files, is read once before measuring, and is removed at the
// end.
//
// Load/RatioToOneReusedBuffer interleaves both ways of reading and reports "ratio", the time of a
// guarded load over that of reading the file into one reused buffer of 1 MiB (medians of the same
// run). Save/PeakMemory reports "added_MiB", by how much saving raised the largest resident size.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/ByteUnits.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/StableReading.h"

namespace {

namespace fs = std::filesystem;
using namespace quillmor;

std::int64_t benchByteCount() {
  const char* text = std::getenv("QUILLMOR_BENCH_MIB");
  const std::int64_t mebibytes = text != nullptr ? std::atoll(text) : 1024;
  return std::max<std::int64_t>(mebibytes, 1) * kMiB;
}

/// A file of the wanted size without holes, in the page cache.
class LargeFile {
 public:
  LargeFile()
      : path_(fs::temp_directory_path() / ("quillmor-bench-" + std::to_string(::getpid()))) {
    std::vector<char> block(kMiB);
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 131 >> 3);
    std::ofstream out(path_, std::ios::binary);
    for (std::int64_t written = 0; written < benchByteCount(); written += kMiB)
      out.write(block.data(), kMiB);
    if (!out.flush()) throw std::runtime_error("no room for the file to be measured");
  }
  ~LargeFile() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  LargeFile(const LargeFile&) = delete;
  LargeFile& operator=(const LargeFile&) = delete;

  const fs::path& path() const { return path_; }
  FileLocation location() const { return FileLocation::fromPath(path_.native()); }

 private:
  fs::path path_;
};

std::int64_t readIntoOneBuffer(const fs::path& path) {
  static std::vector<std::uint8_t> buffer(kMiB);
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::int64_t total = 0;
  for (ssize_t count = 0; (count = ::read(descriptor, buffer.data(), buffer.size())) > 0;)
    total += count;
  ::close(descriptor);
  return total;
}

template <typename Work>
double secondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  benchmark::DoNotOptimize(work());
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void loadRatio(benchmark::State& state) {
  const LargeFile file;
  readIntoOneBuffer(file.path());
  std::vector<double> plain;
  std::vector<double> guarded;
  for (auto _ : state) {
    plain.push_back(secondsOf([&] { return readIntoOneBuffer(file.path()); }));
    guarded.push_back(secondsOf([&] {
      return SecureFileAccess::readSnapshot(file.location(), std::nullopt).bytes.size();
    }));
  }
  state.counters["plain_ms"] = median(plain) * 1000;
  state.counters["guarded_ms"] = median(guarded) * 1000;
  state.counters["ratio"] = median(guarded) / median(plain);
}
BENCHMARK(loadRatio)
    ->Name("Load/RatioToOneReusedBuffer")
    ->Iterations(7)
    ->Unit(benchmark::kMillisecond);

/// The largest resident size so far, starting anew with `restartPeak`.
std::int64_t peakResidentBytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::atoll(line.c_str() + 6) * 1024;
  }
  return 0;
}

bool restartPeak() {
  return static_cast<bool>(std::ofstream("/proc/self/clear_refs") << "5" << std::flush);
}

void savePeakMemory(benchmark::State& state) {
  const LargeFile file;
  const ByteBuffer bytes = SecureFileAccess::readData(file.location(), std::nullopt);
  if (!restartPeak()) {
    state.SkipWithError("the peak of the resident size cannot be restarted");
    return;
  }
  const std::int64_t before = peakResidentBytes();
  for (auto _ : state)
    SecureFileAccess::writeDocumentBytes(bytes.span(),
                                         SecureFileAccess::documentDestination(file.location()));
  state.counters["added_MiB"] =
      static_cast<double>(peakResidentBytes() - before) / static_cast<double>(kMiB);
}
BENCHMARK(savePeakMemory)->Name("Save/PeakMemory")->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
