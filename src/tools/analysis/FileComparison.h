#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// How a file differs from a document.
struct FileComparison {
  std::int64_t currentCount = 0;  ///< bytes of the document
  std::int64_t otherCount = 0;    ///< bytes of the file
  /// The first offset at which they differ, or one of them has ended.
  std::optional<std::int64_t> firstMismatch;
  /// The number of differing bytes, including those that only the longer one has.
  std::int64_t mismatchCount = 0;

  bool operator==(const FileComparison&) const = default;
};

/// The most lines of differences in a window's listing.
inline constexpr std::int64_t kMaximumListedDifferences = 300;

/// Compares the document's bytes with a file, which is read in chunks and not kept. Any thread.
/// Sets the total of `progress` to the size of the file. Throws `Error::stopped()` on a stop
/// request, and whatever reading a `StableFile` throws.
FileComparison compareWithFile(std::span<const std::uint8_t> current, const FileLocation& other,
                               TaskProgress& progress);

/// A file that is compared with another one.
struct ComparedFile {
  std::int64_t size = 0;
  /// Fills `room` with the bytes at `offset`; called by several threads at a time.
  std::function<void(std::int64_t offset, std::span<std::uint8_t> room)> read;
};

/// Compares two files, which are read by several threads and not kept. Any thread. Sets the total
/// of `progress` to the size of the shorter one. Throws `Error::stopped()` on a stop request, and
/// whatever reading the files throws. The result counts only if both files are unchanged at the
/// end.
FileComparison compareFiles(const ComparedFile& current, const ComparedFile& other,
                            TaskProgress& progress);

/// Returns the summary; `name` is the compared file's name.
std::string comparisonSummary(const FileComparison& comparison, const std::string& name);

/// How a file differs from a document, byte by byte.
struct ComparisonListing {
  /// The first differing offsets below the shorter length, and their number.
  std::string text;
  bool isIdentical = false;
};

/// Compares as `compareWithFile` does; `name` is the compared file's name.
ComparisonListing compareWindowReport(std::span<const std::uint8_t> current,
                                      const FileLocation& comparedFile, const std::string& name,
                                      TaskProgress& progress);

}  // namespace quillmor
