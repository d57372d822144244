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
  /// `algorithm` is the library's name of it: "MD5", "SHA1", "SHA256". Throws code 2401 when the
  /// library has none of that name, or may not be asked for it.
  explicit MessageDigest(const char* algorithm);
  ~MessageDigest();
  MessageDigest(const MessageDigest&) = delete;
  MessageDigest& operator=(const MessageDigest&) = delete;

  /// Throws code 2401 when the library fails.
  void add(std::span<const std::uint8_t> bytes);

  /// The digest of all bytes in lowercase hexadecimal; to be asked for once, at the end. Throws
  /// code 2401 when the library fails.
  std::string finished();

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace quillmor
