#include "tools/patches/BookmarkFile.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/SaturatingMath.h"
#include "document/Bookmarks.h"
#include "tools/patches/BoundedJSON.h"
#include "tools/patches/LimitedFile.h"

namespace quillmor::BookmarkFile {

namespace {

using Json = nlohmann::json;

constexpr const char* kFormatKey = "format";
constexpr const char* kFormat = "QuillmorBookmarks";
constexpr const char* kVersionKey = "version";
constexpr int kVersion = 1;
constexpr const char* kBookmarksKey = "bookmarks";
constexpr int kIndentation = 2;

/// The value of `key`; null when there is none, or `top` is no object.
const Json* valueOf(const Json& top, const char* key) {
  const auto found = top.find(key);
  return found == top.end() ? nullptr : &*found;
}

void checkFormat(const Json& top) {
  const Json* const format = valueOf(top, kFormatKey);
  if (format != nullptr && *format != kFormat) {
    throw Error::quillmor(2702, "Bookmark file has an unsupported format identifier.");
  }
  const Json* const version = valueOf(top, kVersionKey);
  if (version != nullptr && !(version->is_number() && *version == kVersion)) {
    throw Error::quillmor(2703, "Bookmark file has an unsupported version.");
  }
}

const Json& entriesOf(const Json& top) {
  const Json* const entries = top.is_array() ? &top : valueOf(top, kBookmarksKey);
  if (entries == nullptr || !entries->is_array()) {
    throw Error::quillmor(2704, "Bookmark file must contain a bookmarks array.");
  }
  if (entries->size() > Bookmarks::maxBookmarkEntries) {
    throw Error::quillmor(2705, "Bookmark file contains too many entries to import safely.");
  }
  return *entries;
}

[[noreturn]] void failEntry(int code, std::size_t index, const char* fault) {
  throw Error::quillmor(code, "Bookmark at index " + std::to_string(index) + fault);
}

std::int64_t offsetOf(const Json& entry, std::size_t index) {
  // Numbers too large for 64 bits arrive as floating point, like those with a fraction.
  if (!entry.is_number_integer()) failEntry(2706, index, " is not an integer offset.");
  const bool fits = entry.is_number_unsigned()
                        ? entry.get<std::uint64_t>() <= static_cast<std::uint64_t>(kMaxInt64)
                        : entry.get<std::int64_t>() >= 0;
  if (!fits) failEntry(2707, index, " is not a valid non-negative integer offset.");
  return entry.get<std::int64_t>();
}

}  // namespace

std::vector<std::int64_t> bookmarkOffsets(std::span<const std::uint8_t> file,
                                          const TaskProgress* progress) {
  const BoundedJSON::Errors errors{
      Error::quillmor(2709, "Bookmark file is not valid JSON."),
      Error::quillmor(2710, "Bookmark file is nested too deeply to import safely.")};
  const Json top = BoundedJSON::parsed<Json>(file, errors, progress);
  checkFormat(top);
  const Json& entries = entriesOf(top);
  std::vector<std::int64_t> offsets;
  offsets.reserve(entries.size());
  for (const Json& entry : entries) offsets.push_back(offsetOf(entry, offsets.size()));
  std::ranges::sort(offsets);
  offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
  return offsets;
}

std::vector<std::int64_t> read(const FileLocation& location, std::int64_t maxFileBytes,
                               TaskProgress& progress) {
  const ByteBuffer file = readLimitedFile(
      location, maxFileBytes, Error::quillmor(2701, "Bookmark file is too large to import safely."),
      progress);
  return bookmarkOffsets(file.span(), &progress);
}

std::string text(const std::vector<std::int64_t>& offsets, std::int64_t maxFileBytes) {
  const Json file{{kFormatKey, kFormat}, {kVersionKey, kVersion}, {kBookmarksKey, offsets}};
  std::string text = file.dump(kIndentation) + "\n";
  if (std::ssize(text) > maxFileBytes) {
    throw Error::quillmor(2708, "Bookmark export is too large to import safely.");
  }
  return text;
}

}  // namespace quillmor::BookmarkFile
