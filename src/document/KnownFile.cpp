#include "document/KnownFile.h"

#include "fileaccess/StableReading.h"
#include "platform/RunInBackground.h"

namespace quillmor {

KnownFile KnownFile::of(const StableFileStatus& status, std::span<const std::uint8_t> bytes) {
  KnownFile file{status};
  if (std::cmp_less_equal(bytes.size(), maximumDigestByteCount)) file.digest = contentDigest(bytes);
  return file;
}

bool KnownFile::hasChanged(const DocumentDestination& destination) const {
  const auto& found = destination.found;
  if (found == status) return false;
  const bool mayHaveSameBytes =
      found && found->identity() == status.identity() && found->size == status.size && digest;
  if (!mayHaveSameBytes) return true;
  const auto read =
      resultOf([&] { return SecureFileAccess::stableBytes(destination.location, status.size); });
  return !read.isOk() || read.value().status != *found ||
         contentDigest(read.value().bytes.span()) != *digest;
}

}  // namespace quillmor
