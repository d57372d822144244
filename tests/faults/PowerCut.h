#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "faults/EffectLog.h"

namespace quillmor::test {

/// The files and folders of a disk, by their paths.
struct DiskImage {
  std::map<std::string, std::string> files;
  std::set<std::string> folders;

  auto operator<=>(const DiskImage&) const = default;
};

/// A disk as it is now, below some folders.
struct Disk {
  DiskImage image;
  /// The numbers of the files and folders.
  std::map<std::string, std::uint64_t> inodes;
};
Disk diskBelow(const std::vector<std::string>& folders);

/// Writes the files and folders below `from` into `to`, which is made or emptied before.
void materialize(const DiskImage& image, const std::string& from, const std::string& to);

/// What the power may leave of a disk when it goes while a program writes.
///
/// An effect is on the disk for certain once its file (for bytes and sizes) or its folder (for
/// names) was flushed after it. Until then it may be there or not, alone or with any others: a disk
/// and its cache promise no order. A write counts as its new size and its pages of 4 KiB, each of
/// which may be there or not.
class PowerCut {
 public:
  /// `before` is the disk when the first effect began. Throws when an effect is not understood.
  PowerCut(Disk before, const std::vector<Effect>& effects);

  /// The disk with all effects.
  DiskImage whole() const;

  /// Calls `judge` with each different set of effects that may be on the disk when the power goes
  /// at any moment, and returns their number. Where few effects are uncertain at a moment these are
  /// all sets; otherwise all that came first, each alone, all but each one, and random ones, at
  /// most about `samples` at a moment. The text tells the moment.
  std::int64_t forEachState(
      std::size_t samples,
      const std::function<void(const DiskImage&, const std::string& moment)>& judge) const;

 private:
  /// The smallest part of an effect that is on a disk or not.
  struct Part {
    EffectKind kind;
    std::uint64_t file;
    std::int64_t offset;
    std::string path;
    std::string otherPath;
    std::string data;
    /// The index of the effect, and of the flush that makes it certain.
    std::size_t effect;
    std::size_t certainFrom;
  };

  void addParts(const Effect& effect, std::size_t index);
  void addWrite(const Effect& effect, std::size_t index);
  void noteFlush(const Effect& effect, std::size_t index);
  DiskImage imageWith(const std::vector<bool>& isOnDisk) const;
  std::vector<std::vector<bool>> choices(std::size_t moment, std::size_t samples) const;

  Disk before_;
  std::vector<Part> parts_;
  std::vector<std::string> descriptions_;
  /// A number may be given to another file after the first one has gone.
  std::map<std::uint64_t, std::uint64_t> filesOfInodes_;
  std::map<std::uint64_t, std::int64_t> sizes_;
  std::map<std::string, std::uint64_t> foldersOfPaths_;
  std::uint64_t nextFile_ = 1;
};

}  // namespace quillmor::test
