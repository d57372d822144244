#include "recovery/PayloadDigest.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "base/ByteUnits.h"
#include "base/HexText.h"
#include "base/MessageDigest.h"

namespace quillmor {

namespace {

/// Less is done sooner than a thread has started.
constexpr std::size_t kMinimumForThread = 256 * kKiB;
constexpr std::size_t kSlice = 4 * kMiB;

/// Ends early, with a digest of no use, once `isAbandoned`.
Sha256 digestOf(std::span<const std::uint8_t> bytes, const std::atomic<bool>& isAbandoned) {
  MessageDigest digest("SHA256");
  while (!bytes.empty() && !isAbandoned.load(std::memory_order_relaxed)) {
    const auto slice = bytes.first(std::min(bytes.size(), kSlice));
    digest.add(slice);
    bytes = bytes.subspan(slice.size());
  }
  const std::string text = digest.finished();
  Sha256 result{};
  for (std::size_t index = 0; index < result.size(); ++index) {
    const auto high = hexDigitValue(text[index * 2]);
    const auto low = hexDigitValue(text[index * 2 + 1]);
    result[index] = static_cast<std::uint8_t>((*high << 4) | *low);
  }
  return result;
}

}  // namespace

Sha256 sha256(std::span<const std::uint8_t> bytes) {
  const std::atomic<bool> isAbandoned{false};
  return digestOf(bytes, isAbandoned);
}

PayloadDigest::PayloadDigest(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
  if (bytes.size() < kMinimumForThread) return;
  try {
    thread_ = std::thread([this] {
      try {
        digest_ = digestOf(bytes_, isAbandoned_);
      } catch (...) {
        failure_ = std::current_exception();
      }
    });
  } catch (const std::system_error&) {
    return;
  }
}

PayloadDigest::~PayloadDigest() {
  isAbandoned_.store(true, std::memory_order_relaxed);
  if (thread_.joinable()) thread_.join();
}

Sha256 PayloadDigest::finished() {
  if (thread_.joinable()) thread_.join();
  if (failure_) std::rethrow_exception(failure_);
  if (!digest_) digest_ = sha256(bytes_);
  return *digest_;
}

}  // namespace quillmor
