#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <thread>

namespace quillmor {

using Sha256 = std::array<std::uint8_t, 32>;

/// Returns the SHA-256 (FIPS 180-4) of `bytes`. Throws code 2401 when the library fails.
Sha256 sha256(std::span<const std::uint8_t> bytes);

/// The SHA-256 of bytes that another thread takes while this one writes them. Where there is little
/// to do, or no thread to be had, it is taken in `finished`. Used by one thread.
class PayloadDigest {
 public:
  /// `bytes` outlive this object.
  explicit PayloadDigest(std::span<const std::uint8_t> bytes);
  /// Stops the other thread and waits for it.
  ~PayloadDigest();
  PayloadDigest(const PayloadDigest&) = delete;
  PayloadDigest& operator=(const PayloadDigest&) = delete;

  /// Waits for the digest. Reads none of the bytes once it has returned, or been called before.
  /// Throws code 2401 when the library fails.
  Sha256 finished();

 private:
  std::span<const std::uint8_t> bytes_;
  std::atomic<bool> isAbandoned_{false};
  std::optional<Sha256> digest_;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace quillmor
