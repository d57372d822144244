#include "document/KnownFile.h"

#include "fileaccess/StableReading.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

struct ReadDigest {
  ContentDigest digest;
  StableFileStatus status;
};

/// Keeps none of the bytes. The caller holds the reservation.
ReadDigest readDigest(const DocumentDestination& destination, TaskProgress* progress) {
  const auto begin = [](std::int64_t) { return ContentDigester(); };
  const auto process = [](ContentDigester& digester, std::span<const std::uint8_t> chunk) {
    digester.append(chunk);
  };
  SecureFileAccess::ChunkProcessor<ContentDigester, decltype(begin), decltype(process)> contents(
      begin, process);
  const StableFileStatus status = SecureFileAccess::stableContents(
      destination.location, destination.found->size, contents, progress);
  return {.digest = contents.takeState().value.digest(), .status = status};
}

}  // namespace

KnownFile KnownFile::of(const StableFileStatus& status, std::span<const std::uint8_t> bytes) {
  return {.status = status, .digest = contentDigest(bytes)};
}

bool KnownFile::hasChanged(const DocumentDestination& destination, TaskProgress* progress) const {
  const auto& found = destination.found;
  if (found == status) return false;
  const bool mayHaveSameBytes =
      found && found->identity() == status.identity() && found->size == status.size && digest;
  if (!mayHaveSameBytes) return true;
  const auto read = resultOf([&] { return readDigest(destination, progress); });
  if (progress != nullptr) {
    progress->checkpoint();
    progress->restart();
  }
  return !read.isOk() || read.value().status != *found || read.value().digest != *digest;
}

}  // namespace quillmor
