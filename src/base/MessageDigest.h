#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace quillmor {

/// A digest of bytes that come in pieces, computed by the system's cryptographic library. Used by
/// one thread at a time.
class MessageDigest {
 public:
  /// `algorithm` is the library's name for it: "MD5", "SHA1", "SHA256". Throws code 2401 when the
  /// library does not offer it or does not allow it.
  explicit MessageDigest(const char* algorithm);
  ~MessageDigest();
  MessageDigest(const MessageDigest&) = delete;
  MessageDigest& operator=(const MessageDigest&) = delete;

  /// Throws code 2401 when the library fails.
  void add(std::span<const std::uint8_t> bytes);

  /// Returns the digest of all bytes in lowercase hexadecimal; called once, at the end. Throws code
  /// 2401 when the library fails.
  std::string finished();

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace quillmor
