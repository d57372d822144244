#include "document/KnownFile.h"

#include "fileaccess/StableFile.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

struct ReadDigest {
  ContentDigest digest;
  StableFileStatus status;
};

/// Keeps none of the bytes. The caller holds the reservation.
ReadDigest readDigest(const DocumentDestination& destination, TaskProgress* progress) {
  const auto file = StableFile::reservedByCaller(destination.location, destination.found->size);
  if (progress != nullptr) progress->setTotal(file.size());
  ContentDigester digester;
  file.forEachChunk([&](std::span<const std::uint8_t> chunk) { digester.append(chunk); }, progress);
  return {.digest = digester.digest(), .status = file.status()};
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
