#include "recovery/RecordNames.h"

#include <fcntl.h>

#include <climits>
#include <cstddef>
#include <span>

#include "base/FileLocation.h"
#include "base/HexText.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/UUID.h"
#include "recovery/PayloadDigest.h"
#include "recovery/RecordHeader.h"

namespace quillmor {

namespace {

constexpr std::size_t kHashLength = 16;
constexpr std::string_view kBesideMark = ".quillmor.";

std::string_view lastComponent(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

/// What a record's name beside the file begins with.
std::string besidePrefix(std::string_view path) {
  constexpr std::size_t kRest =
      1 + kBesideMark.size() + kUUIDLength + kRecordSuffix.size() + kUnfinishedSuffix.size();
  return "." + std::string(lastComponent(path).substr(0, NAME_MAX - kRest)) +
         std::string(kBesideMark);
}

/// `name` without its record suffix; absent when it has another end.
std::optional<std::string_view> withoutSuffix(std::string_view name) {
  if (!name.ends_with(kRecordSuffix)) return std::nullopt;
  return name.substr(0, name.size() - kRecordSuffix.size());
}

}  // namespace

std::string pathHash(std::string_view path) {
  const auto* const data = reinterpret_cast<const std::uint8_t*>(path.data());
  return lowercaseHex(sha256({data, path.size()})).substr(0, kHashLength);
}

std::string newRecordID(std::string_view path) {
  return pathHash(path) + "-" + makeUUID();
}

std::string recordFileName(std::string_view id, std::string_view path, bool isPrivateDirectory) {
  if (isPrivateDirectory) return std::string(id) + std::string(kRecordSuffix);
  return besidePrefix(path) + std::string(id.substr(kHashLength + 1)) + std::string(kRecordSuffix);
}

std::optional<std::string> recordIDOfName(std::string_view fileName) {
  const auto id = withoutSuffix(fileName);
  if (!id || !isRecordID(*id)) return std::nullopt;
  return std::string(*id);
}

std::optional<std::string> recordIDBeside(std::string_view fileName, std::string_view path) {
  const auto stem = withoutSuffix(fileName);
  const std::string prefix = besidePrefix(path);
  if (!stem || !stem->starts_with(prefix)) return std::nullopt;
  const std::string_view uuid = stem->substr(prefix.size());
  if (!isUUID(uuid)) return std::nullopt;
  return pathHash(path) + "-" + std::string(uuid);
}

std::array<std::uint8_t, 16> currentBootID() {
  std::array<std::uint8_t, 16> id{};
  const FileDescriptor handle(
      openFile(FileLocation::fromPath("/proc/sys/kernel/random/boot_id"), O_RDONLY | O_CLOEXEC));
  if (!handle.isOpen()) return id;
  std::array<char, kUUIDLength> text{};
  const ssize_t count = retryingInterrupted(
      [&] { return SystemCalls::current().pread(handle.get(), text.data(), text.size(), 0); });
  std::size_t digits = 0;
  for (const char character : std::string_view(text.data(), count > 0 ? text.size() : 0)) {
    const auto value = hexDigitValue(character);
    if (!value || digits == id.size() * 2) continue;
    std::uint8_t& byte = id[digits++ / 2];
    byte = static_cast<std::uint8_t>((byte << 4) | *value);
  }
  return id;
}

std::uint64_t currentWriterNumber() {
  static const std::uint64_t number = randomNumber();
  return number;
}

}  // namespace quillmor
