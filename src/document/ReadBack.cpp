#include "document/ReadBack.h"

#include "base/MessageDigest.h"
#include "fileaccess/StableFile.h"

namespace quillmor {

ReadBack readBack(const FileLocation& location, TaskProgress* progress) {
  const StableFile file(location);
  file.forgetCachedBytes();
  if (progress != nullptr) progress->setTotal(file.size());
  MessageDigest digest("SHA256");
  file.forEachChunk([&](std::span<const std::uint8_t> chunk) { digest.add(chunk); }, progress);
  return {.sha256 = digest.finished(), .status = file.status()};
}

}  // namespace quillmor
