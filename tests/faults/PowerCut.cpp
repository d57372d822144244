#include "faults/PowerCut.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <stdexcept>
#include <utility>

#include "faults/SaveUnderFaults.h"

namespace quillmor::test {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kPage = 4096;
constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();
/// Up to so many uncertain parts, all of their sets are tried.
constexpr std::size_t kFewParts = 10;

std::uint64_t inodeOf(const fs::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) throw std::runtime_error("no file " + path.native());
  return status.st_ino;
}

std::string parentOf(const std::string& path) {
  return fs::path(path).parent_path().native();
}

std::string nameOf(EffectKind kind) {
  static const std::map<EffectKind, std::string> names = {
      {EffectKind::create, "create"},     {EffectKind::makeFolder, "make folder"},
      {EffectKind::write, "write"},       {EffectKind::setSize, "set size"},
      {EffectKind::rename, "rename"},     {EffectKind::link, "link"},
      {EffectKind::unlink, "unlink"},     {EffectKind::removeFolder, "remove folder"},
      {EffectKind::synchronize, "flush"}, {EffectKind::notUnderstood, "not understood"}};
  return names.at(kind);
}

bool isAboutNames(EffectKind kind) {
  return kind != EffectKind::write && kind != EffectKind::setSize;
}

/// A file of a disk that is put together from parts.
struct PartialFile {
  std::string bytes;
  std::size_t size = 0;

  /// Bytes that were cut off are zeros when the file grows again.
  void setSize(std::size_t newSize) {
    bytes.resize(std::min(bytes.size(), newSize));
    size = newSize;
  }
  void write(std::size_t offset, const std::string& data) {
    if (bytes.size() < offset + data.size()) bytes.resize(offset + data.size());
    bytes.replace(offset, data.size(), data);
  }
  std::string content() const {
    std::string content = bytes;
    content.resize(size);
    return content;
  }
};

}  // namespace

Disk diskBelow(const std::vector<std::string>& folders) {
  Disk disk;
  for (const std::string& folder : folders) {
    disk.image.folders.insert(folder);
    disk.inodes[folder] = inodeOf(folder);
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      const std::string path = entry.path().native();
      disk.inodes[path] = inodeOf(path);
      if (entry.is_directory()) {
        disk.image.folders.insert(path);
      } else {
        disk.image.files[path] = contentIfAny(path).value_or("");
      }
    }
  }
  return disk;
}

void materialize(const DiskImage& image, const std::string& from, const std::string& to) {
  fs::remove_all(to);
  const auto placeOf = [&](const std::string& path) { return to + path.substr(from.size()); };
  for (const std::string& folder : image.folders) {
    if (!folder.starts_with(from)) continue;
    fs::create_directories(placeOf(folder));
    fs::permissions(placeOf(folder), fs::perms::owner_all);
  }
  for (const auto& [path, content] : image.files) {
    if (!path.starts_with(from)) continue;
    std::ofstream(placeOf(path), std::ios::binary) << content;
    fs::permissions(placeOf(path), fs::perms::owner_read | fs::perms::owner_write);
  }
}

PowerCut::PowerCut(Disk before, const std::vector<Effect>& effects) : before_(std::move(before)) {
  for (const auto& [path, inode] : before_.inodes) {
    const std::uint64_t file = filesOfInodes_.try_emplace(inode, nextFile_).first->second;
    if (file == nextFile_) ++nextFile_;
    if (before_.image.folders.contains(path)) foldersOfPaths_[path] = file;
    const auto content = before_.image.files.find(path);
    if (content != before_.image.files.end())
      sizes_[file] = static_cast<std::int64_t>(content->second.size());
  }
  // From here on the numbers are the tests' own.
  for (auto& [path, inode] : before_.inodes) inode = filesOfInodes_.at(inode);
  for (std::size_t i = 0; i < effects.size(); ++i) addParts(effects[i], i);
}

void PowerCut::addParts(const Effect& effect, std::size_t index) {
  descriptions_.push_back(nameOf(effect.kind) + " " + fs::path(effect.path).filename().native());
  if (effect.kind == EffectKind::notUnderstood)
    throw std::runtime_error("an effect of " + effect.path + " is not understood");
  if (effect.kind == EffectKind::synchronize) {
    noteFlush(effect, index);
    return;
  }
  if (effect.kind == EffectKind::create || effect.kind == EffectKind::makeFolder)
    filesOfInodes_[effect.inode] = nextFile_++;
  const std::uint64_t file = filesOfInodes_.at(effect.inode);
  if (effect.kind == EffectKind::makeFolder) foldersOfPaths_[effect.path] = file;
  if (effect.kind == EffectKind::write) {
    addWrite(effect, index);
    return;
  }
  if (effect.kind == EffectKind::setSize) sizes_[file] = effect.offset;
  parts_.push_back({.kind = effect.kind,
                    .file = file,
                    .offset = effect.offset,
                    .path = effect.path,
                    .otherPath = effect.otherPath,
                    .data = {},
                    .effect = index,
                    .certainFrom = kNever});
}

void PowerCut::addWrite(const Effect& effect, std::size_t index) {
  const std::uint64_t file = filesOfInodes_.at(effect.inode);
  const auto end = effect.offset + static_cast<std::int64_t>(effect.data.size());
  const auto addPart = [&](EffectKind kind, std::int64_t offset, std::string data) {
    parts_.push_back({.kind = kind,
                      .file = file,
                      .offset = offset,
                      .path = {},
                      .otherPath = {},
                      .data = std::move(data),
                      .effect = index,
                      .certainFrom = kNever});
  };
  if (end > sizes_[file]) addPart(EffectKind::setSize, sizes_[file] = end, {});
  for (std::int64_t begin = effect.offset; begin < end;) {
    const std::int64_t next = std::min(end, (begin / kPage + 1) * kPage);
    addPart(EffectKind::write, begin,
            effect.data.substr(static_cast<std::size_t>(begin - effect.offset),
                               static_cast<std::size_t>(next - begin)));
    begin = next;
  }
}

void PowerCut::noteFlush(const Effect& effect, std::size_t index) {
  const std::uint64_t flushed = filesOfInodes_.at(effect.inode);
  const auto isFlushed = [&](const Part& part) {
    if (!isAboutNames(part.kind)) return part.file == flushed;
    // A name that moves to another folder is certain when that one is flushed.
    const std::string& path = part.otherPath.empty() ? part.path : part.otherPath;
    return foldersOfPaths_.at(parentOf(path)) == flushed;
  };
  for (Part& part : parts_)
    if (part.certainFrom == kNever && isFlushed(part)) part.certainFrom = index;
}

DiskImage PowerCut::imageWith(const std::vector<bool>& isOnDisk) const {
  std::map<std::uint64_t, PartialFile> files;
  std::map<std::string, std::uint64_t> names;
  DiskImage image{.files = {}, .folders = before_.image.folders};
  for (const auto& [path, content] : before_.image.files) {
    names[path] = before_.inodes.at(path);
    files[names[path]] = {content, content.size()};
  }
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    if (!isOnDisk[i]) continue;
    const Part& part = parts_[i];
    const auto offset = static_cast<std::size_t>(part.offset);
    if (part.kind == EffectKind::write) files[part.file].write(offset, part.data);
    if (part.kind == EffectKind::setSize) files[part.file].setSize(offset);
    if (part.kind == EffectKind::create) names[part.path] = part.file;
    if (part.kind == EffectKind::makeFolder) image.folders.insert(part.path);
    if (part.kind == EffectKind::removeFolder) image.folders.erase(part.path);
    if (part.kind == EffectKind::unlink || part.kind == EffectKind::rename) names.erase(part.path);
    if (part.kind == EffectKind::link || part.kind == EffectKind::rename)
      names[part.otherPath] = part.file;
  }
  // What lies in a folder that is not on the disk is not there either.
  std::erase_if(image.folders, [&](const std::string& folder) {
    return !before_.image.folders.contains(folder) && !image.folders.contains(parentOf(folder));
  });
  for (const auto& [path, file] : names)
    if (image.folders.contains(parentOf(path))) image.files[path] = files[file].content();
  return image;
}

DiskImage PowerCut::whole() const {
  return imageWith(std::vector<bool>(parts_.size(), true));
}

std::vector<std::vector<bool>> PowerCut::choices(std::size_t moment, std::size_t samples) const {
  std::vector<bool> certain(parts_.size(), false);
  std::vector<std::size_t> open;
  for (std::size_t i = 0; i < parts_.size() && parts_[i].effect < moment; ++i) {
    certain[i] = parts_[i].certainFrom < moment;
    if (!certain[i]) open.push_back(i);
  }
  std::vector<std::vector<bool>> chosen;
  const auto choose = [&](const std::function<bool(std::size_t)>& isThere) {
    chosen.push_back(certain);
    for (std::size_t k = 0; k < open.size(); ++k) chosen.back()[open[k]] = isThere(k);
  };
  if (open.size() <= kFewParts) {
    for (std::size_t set = 0; set < (std::size_t{1} << open.size()); ++set)
      choose([&](std::size_t k) { return ((set >> k) & 1) != 0; });
    return chosen;
  }
  // A quarter of the samples each.
  const std::size_t step = std::max<std::size_t>(1, open.size() * 4 / samples);
  for (std::size_t n = 0; n <= open.size(); n += step) {
    choose([&](std::size_t k) { return k < n; });
    choose([&](std::size_t k) { return k == n; });
    choose([&](std::size_t k) { return k != n; });
  }
  std::mt19937_64 random(moment);
  for (std::size_t n = 0; n < samples / 4; ++n) {
    constexpr std::uint64_t kEighths = 8;
    const std::uint64_t share = 1 + random() % (kEighths - 1);
    choose([&](std::size_t) { return random() % kEighths < share; });
  }
  // Names and sizes with none of the pages, and the other way round.
  for (const bool areData : {true, false})
    choose([&](std::size_t k) { return (parts_[open[k]].kind == EffectKind::write) == areData; });
  return chosen;
}

std::int64_t PowerCut::forEachState(
    std::size_t samples,
    const std::function<void(const DiskImage&, const std::string& moment)>& judge) const {
  std::set<std::vector<bool>> seen;
  for (std::size_t moment = 0; moment <= descriptions_.size(); ++moment) {
    const std::string text = moment == 0 ? "at first"
                                         : "after effect " + std::to_string(moment) + " (" +
                                               descriptions_[moment - 1] + ")";
    for (const auto& isOnDisk : choices(moment, samples))
      if (seen.insert(isOnDisk).second) judge(imageWith(isOnDisk), text);
  }
  return static_cast<std::int64_t>(seen.size());
}

}  // namespace quillmor::test
