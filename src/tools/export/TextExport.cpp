#include "tools/export/TextExport.h"

#include <algorithm>
#include <cstring>

#include "base/ByteUnits.h"
#include "fileaccess/AtomicTextFileWriter.h"
#include "tools/text/TextPieces.h"

namespace quillmor {

namespace {

constexpr std::size_t kRawPieceSize = kMiB;

}  // namespace

BufferedText::BufferedText(const TextSink& sink)
    : sink_(sink), buffer_(std::make_unique_for_overwrite<char[]>(kCapacity)) {}

void BufferedText::append(std::string_view text) {
  while (!text.empty()) {
    if (size_ == kCapacity) flush();
    const auto piece = text.substr(0, kCapacity - size_);
    std::memcpy(buffer_.get() + size_, piece.data(), piece.size());
    size_ += piece.size();
    text.remove_prefix(piece.size());
  }
}

void BufferedText::flush() {
  if (size_ > 0) sink_({buffer_.get(), size_});
  size_ = 0;
}

void writeTextFile(const ExportTarget& target, TaskProgress& progress,
                   const std::function<void(const TextSink&)>& produce) {
  AtomicTextFileWriter writer(target.location, target.protectedURLs);
  const TextSink sink = [&writer](std::string_view piece) { writer.write(piece); };
  produce(sink);
  writer.finish([&progress] { progress.passPointOfNoReturn(); });
}

void writeBytes(std::span<const std::uint8_t> bytes, const ExportTarget& target,
                TaskProgress& progress, const std::function<void()>& beforeInstalling) {
  AtomicTextFileWriter writer(target.location, target.protectedURLs);
  convertInPieces(bytes, kRawPieceSize, &progress,
                  [&writer](std::span<const std::uint8_t> piece) { writer.write(piece); });
  writer.finish([&] {
    if (beforeInstalling) beforeInstalling();
    progress.passPointOfNoReturn();
  });
}

}  // namespace quillmor
