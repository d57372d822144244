#include "fileaccess/FileReservationRegistry.h"

#include <utility>

#include "base/Error.h"

namespace quillmor {

namespace {

Error beingWrittenError(const std::string& displayName) {
  return Error::quillmor(1208,
                         displayName +
                             " is currently being written by another save or export. Wait for "
                             "that operation to finish before opening or reading it.");
}

Error tooManyReadsError(const std::string& displayName) {
  return Error::quillmor(1209, "Too many concurrent read operations are active for " + displayName +
                                   ". Wait for existing operations to finish and try again.");
}

Error conflictingOutputError(const std::string& displayName) {
  return Error::quillmor(
      1207, "Another operation is already reading or writing " + displayName +
                ". Choose a different destination or wait for that operation to finish.");
}

template <typename Key>
std::int64_t countOf(const Key& key, const std::unordered_map<Key, std::int64_t>& map) {
  const auto found = map.find(key);
  return found == map.end() ? 0 : found->second;
}

template <typename Key>
void decrement(const Key& key, std::unordered_map<Key, std::int64_t>& map) {
  const auto found = map.find(key);
  if (found == map.end()) return;
  if (found->second <= 1) {
    map.erase(found);
  } else {
    --found->second;
  }
}

}  // namespace

FileReservationRegistry::FileReservationRegistry(std::int64_t maximumReadCount)
    : maximumReadCount_(maximumReadCount) {}

std::shared_ptr<ReadReservation> FileReservationRegistry::reserveRead(
    const ReservationKeys& keys, const std::string& displayName) {
  // All that needs memory comes first, so that nothing stays reserved for want of a token.
  auto reservation = std::make_shared<ReadReservation>();
  std::function<void()> releaseHandler = [this, keys] { releaseRead(keys); };
  switch (admitRead(keys)) {
    case Admission::beingWritten:
      throw beingWrittenError(displayName);
    case Admission::tooManyReads:
      throw tooManyReadsError(displayName);
    case Admission::granted:
      break;
  }
  reservation->begin(std::move(releaseHandler));
  return reservation;
}

std::shared_ptr<OutputReservation> FileReservationRegistry::reserveOutput(
    const ReservationKeys& keys, const std::string& displayName) {
  auto reservation = std::make_shared<OutputReservation>();
  std::function<void()> releaseHandler = [this, keys] { releaseOutput(keys); };
  if (!admitOutput(keys)) throw conflictingOutputError(displayName);
  reservation->begin(std::move(releaseHandler));
  return reservation;
}

void FileReservationRegistry::validateIsNotReservedForOutput(const ReservationKeys& keys,
                                                             const std::string& displayName) {
  bool isReserved = false;
  {
    const MutexLock guard(lock_);
    isReserved = isReservedForOutput(keys);
  }
  if (isReserved) throw beingWrittenError(displayName);
}

FileReservationRegistry::Admission FileReservationRegistry::admitRead(const ReservationKeys& keys) {
  const MutexLock guard(lock_);
  if (isReservedForOutput(keys)) return Admission::beingWritten;
  const std::int64_t pathCount = countOf(keys.canonicalPath, readPathCounts_);
  const std::int64_t identityCount =
      keys.identity ? countOf(*keys.identity, readIdentityCounts_) : 0;
  if (pathCount >= maximumReadCount_ || identityCount >= maximumReadCount_)
    return Admission::tooManyReads;
  addRead(keys);
  return Admission::granted;
}

bool FileReservationRegistry::admitOutput(const ReservationKeys& keys) {
  const MutexLock guard(lock_);
  if (isReservedForOutput(keys) || isReservedForReading(keys)) return false;
  addOutput(keys);
  return true;
}

void FileReservationRegistry::addRead(const ReservationKeys& keys) {
  ++readPathCounts_[keys.canonicalPath];
  if (!keys.identity) return;
  try {
    ++readIdentityCounts_[*keys.identity];
  } catch (...) {
    decrement(keys.canonicalPath, readPathCounts_);
    throw;
  }
}

void FileReservationRegistry::addOutput(const ReservationKeys& keys) {
  outputPaths_.insert(keys.canonicalPath);
  if (!keys.identity) return;
  try {
    outputIdentities_.insert(*keys.identity);
  } catch (...) {
    outputPaths_.erase(keys.canonicalPath);
    throw;
  }
}

void FileReservationRegistry::releaseRead(const ReservationKeys& keys) {
  const MutexLock guard(lock_);
  decrement(keys.canonicalPath, readPathCounts_);
  if (keys.identity) decrement(*keys.identity, readIdentityCounts_);
}

void FileReservationRegistry::releaseOutput(const ReservationKeys& keys) {
  const MutexLock guard(lock_);
  outputPaths_.erase(keys.canonicalPath);
  if (keys.identity) outputIdentities_.erase(*keys.identity);
}

bool FileReservationRegistry::isReservedForOutput(const ReservationKeys& keys) const {
  return outputPaths_.contains(keys.canonicalPath) ||
         (keys.identity && outputIdentities_.contains(*keys.identity));
}

bool FileReservationRegistry::isReservedForReading(const ReservationKeys& keys) const {
  return readPathCounts_.contains(keys.canonicalPath) ||
         (keys.identity && readIdentityCounts_.contains(*keys.identity));
}

FileReservationRegistry& SecureFileAccess::fileReservationRegistry() {
  // Never destroyed, so that a reservation released while the process ends still finds it.
  static FileReservationRegistry& registry = *new FileReservationRegistry;
  return registry;
}

}  // namespace quillmor
