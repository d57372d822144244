// Tries BookmarkFile::bookmarkOffsets on any bytes. Invariants:
//  - what fails, fails with one of the reader's codes;
//  - offsets are not negative, strictly increasing and no more than a document may have;
//  - offsets that are written and read again are the same, with and without a byte order mark;
//  - a file of exactly the size allowed is written, of one byte more it is not;
//  - a file with a NUL byte is never read.

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Check.h"
#include "base/Error.h"
#include "base/SaturatingMath.h"
#include "document/Bookmarks.h"
#include "fuzz/FuzzTargets.h"
#include "tools/patches/BookmarkFile.h"

namespace quillmor::fuzz {

namespace {

using Offsets = std::vector<std::int64_t>;

std::optional<Offsets> offsetsOf(std::span<const std::uint8_t> file) {
  try {
    return BookmarkFile::bookmarkOffsets(file);
  } catch (const Error& error) {
    const int code = error.code();
    checkPrecondition(error.domain() == ErrorDomain::quillmor &&
                          ((code >= 2702 && code <= 2707) || code == 2709 || code == 2710),
                      "A failure is one of the bookmark reader's");
    return std::nullopt;
  }
}

std::optional<Offsets> offsetsOf(const std::string& text) {
  return offsetsOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

bool isWrittenWithin(const Offsets& offsets, std::int64_t maxFileBytes) {
  try {
    BookmarkFile::text(offsets, maxFileBytes);
    return true;
  } catch (const Error& error) {
    checkPrecondition(error.code() == 2708, "A file that is too large says so");
    return false;
  }
}

}  // namespace

void fuzzBookmarkFile(std::span<const std::uint8_t> input) {
  const auto offsets = offsetsOf(input);
  if (!offsets) return;
  checkPrecondition(std::ranges::find(input, 0) == input.end(), "No file with a NUL is read");
  checkPrecondition(offsets->size() <= Bookmarks::maxBookmarkEntries, "There are not too many");
  checkPrecondition(offsets->empty() || offsets->front() >= 0, "No offset is negative");
  checkPrecondition(
      std::ranges::adjacent_find(*offsets, std::ranges::greater_equal{}) == offsets->end(),
      "Offsets are sorted and unique");
  const std::string text = BookmarkFile::text(*offsets, kMaxInt64);
  checkPrecondition(offsetsOf(text) == offsets, "What is written can be read");
  checkPrecondition(offsetsOf("\xEF\xBB\xBF" + text) == offsets, "With a byte order mark as well");
  checkPrecondition(isWrittenWithin(*offsets, std::ssize(text)), "A file that fits is written");
  checkPrecondition(!isWrittenWithin(*offsets, std::ssize(text) - 1), "No other one is");
}

}  // namespace quillmor::fuzz
