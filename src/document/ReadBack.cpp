#include "document/ReadBack.h"

#include "base/MessageDigest.h"
#include "fileaccess/StableFile.h"

namespace quillmor {

namespace {

ReadBack readBackOf(const StableFile& file, TaskProgress* progress) {
  file.forgetCachedBytes();
  if (progress != nullptr) progress->setTotal(file.size());
  MessageDigest digest("SHA256");
  file.forEachChunk([&](std::span<const std::uint8_t> chunk) { digest.add(chunk); }, progress);
  return {.sha256 = digest.finished(), .status = file.status()};
}

}  // namespace

ReadBack readBack(const FileLocation& location, TaskProgress* progress) {
  return readBackOf(StableFile(location), progress);
}

ReadBack readBackReserved(const FileLocation& location) {
  return readBackOf(StableFile::reservedByCaller(location, std::nullopt), nullptr);
}

}  // namespace quillmor
