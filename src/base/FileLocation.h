#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quillmor {

/// The place of a file: a local path, or a URL that is not a local file.
///
/// A path is kept as the bytes the system uses; it need not be UTF-8. Copies are cheap enough to
/// pass by value between threads. Nothing here looks at files; the system is asked only for the
/// current directory.
class FileLocation {
 public:
  /// A local file. A relative path is made absolute against the current directory. Throws a POSIX
  /// error when that directory is not known, because it was removed or lies below one that may not
  /// be read.
  static FileLocation fromPath(std::string_view path);

  /// A location given as a URL. "file:" URLs become local files (percent escapes decoded to bytes);
  /// every other scheme stays a non-local location.
  static FileLocation fromURL(std::string_view url);

  bool isLocalFile() const { return isLocalFile_; }

  /// The absolute path in the system's bytes; for a non-local location the URL text.
  const std::string& path() const { return path_; }

  /// The last path component. Empty for the root directory.
  std::string lastPathComponent() const;

  /// The last path component and the whole path as texts show them; see `visibleText`.
  std::string shownName() const;
  std::string shownPath() const;

  /// The location of the directory of this file.
  FileLocation directory() const;

  /// The location of `name` in the same directory.
  FileLocation sibling(std::string_view name) const;

  /// The path with "." and ".." and doubled slashes removed, without looking at the file system.
  std::string standardizedPath() const;

  /// True if the texts are equal. `SecureFileAccess::urlsReferToSameFile` compares the files
  /// themselves.
  bool operator==(const FileLocation&) const = default;

 private:
  FileLocation(bool isLocalFile, std::string path);

  bool isLocalFile_;
  std::string path_;
};

}  // namespace quillmor
