#include "recovery/RecordStore.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <set>
#include <string_view>

#include "fileaccess/SystemCalls.h"
#include "platform/RunInBackground.h"
#include "recovery/RecordFile.h"
#include "recovery/RecordNames.h"

namespace quillmor {

namespace {

constexpr int kUntrustedCode = 3103;
constexpr int kMissingCode = 3104;
constexpr int kRunningCode = 3105;

constexpr std::int64_t kSecondsPerDay = 86400;

/// An absolute path from the environment; empty when there is none.
std::string absolutePathIn(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value : std::string();
}

/// Null when there is no such directory.
std::shared_ptr<const RecordDirectory> existingPrivate(const FileLocation& location) {
  try {
    return RecordDirectory::openPrivate(location);
  } catch (const Error& error) {
    if (error.domain() == ErrorDomain::posix && error.code() == ENOENT) return nullptr;
    throw;
  }
}

ListedRecord listed(const RecordDirectory& directory, const std::string& name, std::string id) {
  ListedRecord record{
      .id = std::move(id), .location = directory.locationOf(name), .header = {}, .error = {}};
  auto header = resultOf([&] {
    const RecordFile file = RecordFile::open(directory, name);
    record.byteCount = file.byteCount();
    auto read = resultOf([&] { return file.header(); });
    record.belongsToRunningProcess = file.isHeld(read.isOk() ? &read.value() : nullptr);
    if (!read.isOk()) throw read.error();
    return std::move(read.value());
  });
  if (header.isOk()) {
    record.header = std::move(header.value());
  } else {
    record.error = header.error();
  }
  return record;
}

/// The name that an unfinished record was to get; empty for other names.
std::string_view finishedName(std::string_view name) {
  return name.ends_with(kUnfinishedSuffix) ? name.substr(0, name.size() - kUnfinishedSuffix.size())
                                           : std::string_view();
}

/// A process that was killed while it wrote a record left it. What cannot be removed stays for the
/// next time.
void removeIfAbandoned(const RecordDirectory& directory, const std::string& name) {
  resultOf([&] {
    const RecordFile file = RecordFile::open(directory, name);
    const bool isOld = file.modificationSeconds() < std::time(nullptr) - kSecondsPerDay;
    if (isOld && !file.isHeld()) directory.remove(name);
    return Done();
  });
}

/// The documents, and those of the records: what belongs together may lie in both places.
std::vector<FileLocation> withThoseOf(const std::vector<ListedRecord>& records,
                                      std::span<const FileLocation> documents) {
  std::vector<FileLocation> all(documents.begin(), documents.end());
  std::set<std::string> known;
  for (const FileLocation& document : all) known.insert(document.path());
  for (const ListedRecord& record : records) {
    const bool isNew =
        record.header && !record.header->path.empty() && known.insert(record.header->path).second;
    if (isNew) all.push_back(FileLocation::fromPath(record.header->path));
  }
  return all;
}

}  // namespace

RecordStore RecordStore::ofThisUser() {
  std::string state = absolutePathIn("XDG_STATE_HOME");
  if (state.empty()) {
    std::string home = absolutePathIn("HOME");
    const struct passwd* const user = home.empty() ? ::getpwuid(::geteuid()) : nullptr;
    if (user != nullptr && user->pw_dir != nullptr) home = user->pw_dir;
    state = home + "/.local/state";
  }
  return RecordStore(FileLocation::fromPath(state + "/quillmor/recovery"));
}

std::shared_ptr<const RecordDirectory> RecordStore::directoryOf(const ListedRecord& record) const {
  const FileLocation folder = record.location.directory();
  return folder == directory_ ? RecordDirectory::openPrivate(folder)
                              : RecordDirectory::openShared(folder);
}

std::vector<ListedRecord> RecordStore::list(std::span<const FileLocation> documents) const {
  std::vector<ListedRecord> records;
  if (const auto directory = existingPrivate(directory_)) {
    for (const std::string& name : directory->names()) {
      if (recordIDOfName(finishedName(name))) removeIfAbandoned(*directory, name);
      if (auto id = recordIDOfName(name))
        records.push_back(listed(*directory, name, *std::move(id)));
    }
  }
  for (const FileLocation& document : withThoseOf(records, documents)) {
    resultOf([&] {
      const auto directory = RecordDirectory::openShared(document.directory());
      for (const std::string& name : directory->names()) {
        if (recordIDBeside(finishedName(name), document.path()))
          removeIfAbandoned(*directory, name);
        if (auto id = recordIDBeside(name, document.path()))
          records.push_back(listed(*directory, name, *std::move(id)));
      }
      return Done();
    });
  }
  std::sort(records.begin(), records.end(),
            [](const ListedRecord& a, const ListedRecord& b) { return a.id < b.id; });
  return records;
}

ListedRecord RecordStore::at(const FileLocation& location) const {
  const auto directory = RecordDirectory::openShared(location.directory());
  const std::string name = location.lastPathComponent();
  ListedRecord record = listed(*directory, name, {});
  const std::string path = record.header ? record.header->path : std::string();
  auto id = recordIDOfName(name);
  if (!id) id = recordIDBeside(name, path);
  if (!id) throw record.error.value_or(missingRecordError());
  record.id = *std::move(id);
  return record;
}

void RecordStore::discard(const ListedRecord& record) const {
  const auto directory = directoryOf(record);
  const std::string name = record.location.lastPathComponent();
  if (RecordFile::open(*directory, name).isHeld()) throw runningRecordError();
  directory->remove(name);
  directory->synchronize();
}

void RecordStore::setAside(const ListedRecord& record) const noexcept {
  resultOf([&] {
    const std::string name = record.location.lastPathComponent();
    directoryOf(record)->rename(name, name + std::string(kSetAsideSuffix));
    return Done();
  });
}

Error untrustedRecordError() {
  return Error::quillmor(kUntrustedCode,
                         "The recovery record belongs to another user or is open to others.");
}

Error missingRecordError() {
  return Error::quillmor(kMissingCode, "There is no such recovery record.");
}

Error runningRecordError() {
  return Error::quillmor(kRunningCode, "This record belongs to a running Quillmor.");
}

}  // namespace quillmor
