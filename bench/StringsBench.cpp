// How fast the printable strings of a document are listed, beside memchr over as many bytes: in
// random data, in text, in data without any and in one long string. See ReportTiming.h for sizes
// and folders.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=strings/

#include <cstring>
#include <memory>
#include <span>

#include "ReportTiming.h"
#include "base/ByteBuffer.h"
#include "fileaccess/StableReading.h"
#include "kernels/ByteMasks.h"
#include "tools/export/ASCIIStringsExporter.h"
#include "tools/text/PrintableRuns.h"

namespace {

using namespace quillmor;
using bench::addWork;
using bench::Bytes;
using bench::dataSize;

constexpr std::int64_t kMinimumLength = 4;

Bytes textBytes() {
  constexpr std::string_view kWords[] = {"the",    "firmware", "table",   "offset",  "a",
                                         "reads",  "of",       "checked", "voltage", "memory",
                                         "before", "writes",   "and",     "entry",   "is"};
  Bytes bytes;
  bytes.reserve(dataSize() + 16);
  std::mt19937 random(1);
  while (bytes.size() < dataSize()) {
    const std::string_view word = kWords[random() % std::size(kWords)];
    bytes.insert(bytes.end(), word.begin(), word.end());
    bytes.push_back(random() % 10 == 0 ? '\n' : ' ');
  }
  bytes.resize(dataSize());
  return bytes;
}

struct Data {
  const char* name;
  Bytes (*make)();
};

constexpr Data kAllData[] = {
    {"random", [] { return bench::randomBytes(dataSize()); }},
    {"text", textBytes},
    {"zeros", [] { return Bytes(dataSize(), 0); }},
    {"letters", [] { return Bytes(dataSize(), 'A'); }},
};

/// The data that were asked for last; only one of them is in memory at a time.
const Bytes& bytesOf(const Data& data) {
  static const Data* kept = nullptr;
  static Bytes bytes;
  if (kept != &data) bytes = Bytes();
  if (kept != &data) bytes = data.make();
  kept = &data;
  return bytes;
}

bench::Yardstick memchrOfZeros() {
  return {"of_memchr", [] {
            static const Bytes zeros(dataSize(), 0);
            const void* found = std::memchr(zeros.data(), 1, zeros.size());
            benchmark::DoNotOptimize(found);
          }};
}

void addKernel(const Data& data, const ByteMaskKernels& kernels) {
  const auto classify = [&data, &kernels] {
    const Bytes& bytes = bytesOf(data);
    std::array<std::uint64_t, byteMaskCount(kMaskedPieceSize)> masks;
    for (std::size_t i = 0; i < bytes.size(); i += kMaskedPieceSize) {
      kernels.printable(masks.data(), bytes.data() + i, kMaskedPieceSize);
      benchmark::DoNotOptimize(masks.data());
    }
  };
  addWork(std::string("strings/") + data.name + "/masks/" + kernels.name, classify,
          memchrOfZeros());
}

void addInMemory(const Data& data) {
  const std::string prefix = std::string("strings/") + data.name;
  const auto count = [&data] {
    TaskProgress progress;
    std::int64_t runs = 0;
    forEachPrintableRun(bytesOf(data), kMinimumLength, progress,
                        [&](std::int64_t, std::int64_t) { ++runs; });
    benchmark::DoNotOptimize(runs);
  };
  const auto list = [&data] {
    TaskProgress progress;
    std::size_t length = 0;
    ASCIIStringsExporter::produce(
        bytesOf(data), kMinimumLength, [&](std::string_view piece) { length += piece.size(); },
        progress);
    benchmark::DoNotOptimize(length);
  };
  const auto view = [&data] {
    TaskProgress progress;
    auto report =
        ASCIIStringsExporter::extract(bytesOf(data), kMinimumLength, 4'194'304,
                                      ASCIIStringsExporter::kMaximumReportEntries, progress);
    benchmark::DoNotOptimize(report);
  };
  addWork(prefix + "/count", count, memchrOfZeros());
  addWork(prefix + "/list", list, memchrOfZeros());
  addWork(prefix + "/view", view, memchrOfZeros());
}

/// Reads the file of the data and writes the list of its strings, as `strings FILE >LIST` does.
void addExport(const Data& data, const std::string& folder) {
  const auto file = FileLocation::fromPath(folder + "/" + data.name);
  const auto list = FileLocation::fromPath(folder + "/" + data.name + ".ours");
  const auto write = [&data, file, list] {
    static const Data* written = nullptr;
    TaskProgress progress;
    if (written != &data) writeBytes(bytesOf(data), {file, {}}, progress);
    written = &data;
  };
  const auto exportStrings = [file, list] {
    TaskProgress progress;
    const ByteBuffer bytes = SecureFileAccess::readData(file, std::nullopt);
    ASCIIStringsExporter::write(bytes.span(), kMinimumLength, {list, {}}, progress);
  };
  addWork(std::string("strings/") + data.name + "/file", write);
  addWork(std::string("strings/") + data.name + "/export", exportStrings);
}

[[maybe_unused]] const bool kIsRegistered = [] {
  for (const Data& data : kAllData) {
    for (const ByteMaskKernels* kernels : availableByteMaskKernels()) addKernel(data, *kernels);
    addInMemory(data);
    if (const auto folder = bench::dataFolder()) addExport(data, *folder);
  }
  return true;
}();

}  // namespace
