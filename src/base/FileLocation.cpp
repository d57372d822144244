#include "base/FileLocation.h"

#include <cctype>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/Error.h"
#include "base/HexText.h"
#include "base/VisibleText.h"

namespace quillmor {

namespace {

constexpr std::string_view kFileScheme = "file:";

std::string decodePercent(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      const auto high = hexDigitValue(text[i + 1]);
      const auto low = hexDigitValue(text[i + 2]);
      if (high && low) {
        out.push_back(static_cast<char>(*high << 4 | *low));
        i += 2;
        continue;
      }
    }
    out.push_back(text[i]);
  }
  return out;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
  }
  return true;
}

/// The path part of a "file:" URL, or empty when its host is not this machine.
std::string_view pathOfFileURL(std::string_view url) {
  std::string_view rest = url.substr(kFileScheme.size());
  if (!rest.starts_with("//")) return rest.starts_with('/') ? rest : std::string_view{};
  rest.remove_prefix(2);
  const std::size_t slash = rest.find('/');
  if (slash == std::string_view::npos) return {};
  const std::string_view host = rest.substr(0, slash);
  if (!host.empty() && host != "localhost") return {};
  return rest.substr(slash);
}

}  // namespace

FileLocation::FileLocation(bool isLocalFile, std::string path)
    : isLocalFile_(isLocalFile), path_(std::move(path)) {}

FileLocation FileLocation::fromPath(std::string_view path) {
  if (path.starts_with('/')) return {true, std::string(path)};
  std::error_code error;
  std::string base = std::filesystem::current_path(error).native();
  // From any other folder the path would lead to another file.
  if (error) throw Error::posix(error.value());
  if (base.back() != '/') base.push_back('/');
  base.append(path);
  return {true, std::move(base)};
}

FileLocation FileLocation::fromURL(std::string_view url) {
  if (startsWithIgnoringCase(url, kFileScheme)) {
    const std::string_view path = pathOfFileURL(url);
    if (!path.empty()) return {true, decodePercent(path)};
  }
  return {false, std::string(url)};
}

std::string FileLocation::lastPathComponent() const {
  const std::size_t end = path_.find_last_not_of('/');
  if (end == std::string::npos) return {};
  const std::size_t slash = path_.find_last_of('/', end);
  const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
  return path_.substr(begin, end - begin + 1);
}

std::string FileLocation::shownName() const {
  return visibleText(lastPathComponent());
}

std::string FileLocation::shownPath() const {
  return visibleText(path_);
}

FileLocation FileLocation::directory() const {
  const std::size_t end = path_.find_last_not_of('/');
  if (end == std::string::npos) return *this;
  const std::size_t slash = path_.find_last_of('/', end);
  if (slash == std::string::npos) return {isLocalFile_, {}};
  return {isLocalFile_, slash == 0 ? std::string("/") : path_.substr(0, slash)};
}

FileLocation FileLocation::sibling(std::string_view name) const {
  std::string path = directory().path_;
  if (path.empty() || path.back() != '/') path.push_back('/');
  path.append(name);
  return {isLocalFile_, std::move(path)};
}

std::string FileLocation::standardizedPath() const {
  if (!isLocalFile_) return path_;
  std::string normal = std::filesystem::path(path_).lexically_normal().native();
  while (normal.size() > 1 && normal.back() == '/') normal.pop_back();
  return normal;
}

}  // namespace quillmor
