#include "fileaccess/ResolvedPaths.h"

#include <array>
#include <cerrno>
#include <climits>
#include <optional>

#include "fileaccess/SystemCalls.h"

namespace quillmor::SecureFileAccess {

namespace {

/// What the system calls the file at `path`; absent with `errno` when it finds none.
std::optional<std::string> realPath(const std::string& path) {
  if (!hasFileSystemRepresentation(path)) {
    errno = EINVAL;
    return std::nullopt;
  }
  std::array<char, PATH_MAX> buffer;
  const int result = retryingInterrupted([&] {
    return SystemCalls::current().realpath(path.c_str(), buffer.data()) == nullptr ? -1 : 0;
  });
  if (result != 0) return std::nullopt;
  return std::string(buffer.data());
}

std::string joined(std::string directory, std::string_view rest) {
  if (directory.ends_with('/') && rest.starts_with('/')) rest.remove_prefix(1);
  return directory.append(rest);
}

}  // namespace

std::string resolvedPath(const FileLocation& location) {
  std::string standard = location.standardizedPath();
  if (!location.isLocalFile() || !hasFileSystemRepresentation(standard)) return standard;
  std::size_t end = standard.size();
  while (end > 0 && end != std::string::npos) {
    if (const auto real = realPath(standard.substr(0, end)))
      return joined(*real, std::string_view(standard).substr(end));
    end = standard.rfind('/', end - 1);
  }
  return standard;
}

FileLocation realLocation(const FileLocation& location) {
  if (!location.isLocalFile()) return location;
  if (const auto real = realPath(location.path())) return FileLocation::fromPath(*real);
  // With a "/" at its end the path asks for a directory, which keeping the name would forget.
  if (errno != ENOENT || location.path().ends_with('/')) return location;
  const auto directory = realPath(location.directory().path());
  if (!directory) return location;
  return FileLocation::fromPath(joined(joined(*directory, "/"), location.lastPathComponent()));
}

}  // namespace quillmor::SecureFileAccess
