#include "fileaccess/Reservations.h"

#include <utility>

namespace quillmor {

FileReservation::~FileReservation() {
  release();
}

void FileReservation::begin(std::function<void()> releaseHandler) noexcept {
  const MutexLock guard(lock_);
  releaseHandler_ = std::move(releaseHandler);
}

void FileReservation::release() {
  std::function<void()> handler;
  {
    const MutexLock guard(lock_);
    handler = std::exchange(releaseHandler_, nullptr);
  }
  // Outside the lock, so that this lock and the registry's are never held together.
  if (handler) handler();
}

void ReadReservationHolder::add(std::shared_ptr<ReadReservation> reservation) {
  const ReadReservation* const key = reservation.get();
  const MutexLock guard(lock_);
  reservations_[key] = std::move(reservation);
}

std::shared_ptr<ReadReservation> ReadReservationHolder::remove(const ReadReservation& reservation) {
  const MutexLock guard(lock_);
  const auto found = reservations_.find(&reservation);
  if (found == reservations_.end()) return nullptr;
  std::shared_ptr<ReadReservation> taken = std::move(found->second);
  reservations_.erase(found);
  return taken;
}

void ReadReservationHolder::releaseAll() {
  decltype(reservations_) taken;
  {
    const MutexLock guard(lock_);
    taken.swap(reservations_);
  }
  for (const auto& [key, reservation] : taken) reservation->release();
}

}  // namespace quillmor
