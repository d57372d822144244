// How fast a document is compared with another one, beside memcmp over as many equal bytes: where
// nothing differs, one in 4,096 bytes and every byte. See ReportTiming.h for sizes and folders.
//
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bin/quillmor_bench --benchmark_filter=compare/

#include <cstring>
#include <span>

#include "ReportTiming.h"
#include "base/ByteBuffer.h"
#include "fileaccess/StableReading.h"
#include "kernels/ByteMasks.h"
#include "tools/analysis/FileComparison.h"
#include "tools/export/DifferenceLines.h"
#include "tools/export/DifferenceReportExporter.h"

namespace {

using namespace quillmor;
using bench::addWork;
using bench::Bytes;
using bench::dataSize;

constexpr std::size_t kChunkSize = SecureFileAccess::kReadChunkByteCount;

struct Data {
  const char* name;
  std::size_t every;  ///< one of so many bytes differs; none when 0
};

constexpr Data kAllData[] = {{"equal", 0}, {"few", 4096}, {"all", 1}};

/// The same chunk again and again, so that one chunk of other bytes stands for all of them.
const Bytes& document() {
  static const Bytes bytes = [] {
    const Bytes chunk = bench::randomBytes(kChunkSize);
    Bytes repeated;
    repeated.reserve(dataSize());
    while (repeated.size() < dataSize()) {
      repeated.insert(repeated.end(), chunk.begin(), chunk.end());
    }
    return repeated;
  }();
  return bytes;
}

const Bytes& equalBytes() {
  static const Bytes bytes = document();
  return bytes;
}

/// The bytes that were asked for last beside those of the document.
const Bytes& otherBytes(const Data& data) {
  if (data.every == 0) return equalBytes();
  static const Data* kept = nullptr;
  static Bytes bytes;
  if (kept == &data) return bytes;
  bytes = document();
  for (std::size_t i = 0; i < bytes.size(); i += data.every) {
    const std::size_t place = data.every == 1 ? i : i + document()[i] * 16;
    bytes[place] = static_cast<std::uint8_t>(bytes[place] + 1);
  }
  kept = &data;
  return bytes;
}

bench::Yardstick memcmpOfEqual() {
  return {"of_memcmp", [] {
            int order = std::memcmp(document().data(), equalBytes().data(), dataSize());
            benchmark::DoNotOptimize(order);
          }};
}

void addKernels(const Data& data, const ByteMaskKernels& kernels) {
  const std::string prefix = std::string("compare/") + data.name;
  const auto count = [&data, &kernels] {
    std::size_t differing =
        kernels.countDiffering(document().data(), otherBytes(data).data(), dataSize());
    benchmark::DoNotOptimize(differing);
  };
  const auto masks = [&data, &kernels] {
    std::array<std::uint64_t, byteMaskCount(kMaskedPieceSize)> made;
    for (std::size_t i = 0; i < dataSize(); i += kMaskedPieceSize) {
      kernels.differing(made.data(), document().data() + i, otherBytes(data).data() + i,
                        kMaskedPieceSize);
      benchmark::DoNotOptimize(made.data());
    }
  };
  addWork(prefix + "/count/" + kernels.name, count, memcmpOfEqual());
  addWork(prefix + "/masks/" + kernels.name, masks, memcmpOfEqual());
}

/// Hands `compare` the document in chunks, each beside its own part of `other` or, when that is one
/// chunk only, beside this one, as a chunk that has just been read is in the cache.
template <typename Compare>
void forEachChunk(std::span<const std::uint8_t> other, Compare compare) {
  const std::span<const std::uint8_t> mine = document();
  for (std::size_t i = 0; i < mine.size(); i += kChunkSize) {
    compare(mine.subspan(i, kChunkSize), other.subspan(i % other.size(), kChunkSize), i);
  }
}

bench::Yardstick memcmpOfChunks(std::size_t size) {
  return {"of_memcmp", [size] {
            const auto other = std::span<const std::uint8_t>(equalBytes()).first(size);
            forEachChunk(other, [](auto mine, auto theirs, std::size_t) {
              int order = std::memcmp(mine.data(), theirs.data(), mine.size());
              benchmark::DoNotOptimize(order);
            });
          }};
}

/// The lines of the report, without reading a file and writing another; the other bytes are `size`
/// many.
void addLines(const Data& data, const char* name, std::size_t size) {
  const auto lines = [&data, size] {
    TaskProgress progress;
    std::size_t length = 0;
    const TextSink sink = [&](std::string_view piece) { length += piece.size(); };
    BufferedText text(sink);
    DifferenceLines differences(text, progress);
    const auto other = std::span<const std::uint8_t>(otherBytes(data)).first(size);
    forEachChunk(other, [&](auto mine, auto theirs, std::size_t offset) {
      differences.appendDiffering(mine, theirs, static_cast<std::int64_t>(offset));
    });
    text.flush();
    benchmark::DoNotOptimize(length);
  };
  addWork(std::string("compare/") + data.name + "/" + name, lines, memcmpOfChunks(size));
}

/// Whole comparisons of two files, read as `cmp` reads them.
void addFiles(const Data& data, const std::string& folder) {
  const auto current = FileLocation::fromPath(folder + "/document");
  const auto other = FileLocation::fromPath(folder + "/" + data.name);
  const auto target = FileLocation::fromPath(folder + "/" + data.name + ".ours");
  const std::string prefix = std::string("compare/") + data.name;
  addWork(prefix + "/file", [&data, current, other] {
    TaskProgress progress;
    static const Data* written = nullptr;
    if (written == &data) return;
    writeBytes(document(), {current, {}}, progress);
    writeBytes(otherBytes(data), {other, {}}, progress);
    written = &data;
  });
  addWork(prefix + "/report", [current, other, target] {
    TaskProgress progress;
    const ByteBuffer bytes = SecureFileAccess::readData(current, std::nullopt);
    DifferenceReportExporter::write(bytes.span(), other, "other", {target, {}}, progress);
  });
  addWork(prefix + "/summary", [current, other] {
    TaskProgress progress;
    const ByteBuffer bytes = SecureFileAccess::readData(current, std::nullopt);
    auto comparison = compareWithFile(bytes.span(), other, progress);
    benchmark::DoNotOptimize(comparison);
  });
  addWork(prefix + "/summary_of_open_document", [&data, other] {
    TaskProgress progress;
    auto comparison = compareWithFile(document(), other, progress);
    benchmark::DoNotOptimize(comparison);
  });
}

[[maybe_unused]] const bool kIsRegistered = [] {
  for (const Data& data : kAllData) {
    for (const ByteMaskKernels* kernels : availableByteMaskKernels()) addKernels(data, *kernels);
    addLines(data, "lines", dataSize());
    addLines(data, "lines_beside_read_chunk", kChunkSize);
    if (const auto folder = bench::dataFolder()) addFiles(data, *folder);
  }
  return true;
}();

}  // namespace
