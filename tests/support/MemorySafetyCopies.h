#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "document/SafetyCopy.h"

namespace quillmor::test {

/// Safety copies that take no system calls, for tests that count those of the file itself.
class MemorySafetyCopies : public SafetyCopies {
 public:
  /// The bytes that were kept and not removed since.
  std::vector<std::string> kept;
  /// What is said to be their SHA-256.
  std::string digest;
  /// The error of every attempt to keep a copy.
  std::optional<Error> failure;

  std::unique_ptr<SafetyCopy> keep(const FileLocation& destination,
                                   const std::optional<StableFileStatus>&,
                                   std::span<const std::uint8_t> bytes, const EditorPlaces&,
                                   TaskProgress* progress) override {
    if (progress != nullptr) progress->checkpoint();
    if (failure) throw *failure;
    kept.emplace_back(bytes.begin(), bytes.end());
    return std::make_unique<Copy>(destination, kept, digest);
  }

 private:
  class Copy : public SafetyCopy {
   public:
    Copy(FileLocation file, std::vector<std::string>& kept, std::string digest)
        : file_(std::move(file)), kept_(kept), digest_(std::move(digest)) {}
    std::string name() const override { return "COPY"; }
    std::string sha256() const override { return digest_; }
    FileLocation location() const override { return file_.sibling("COPY"); }
    std::int64_t byteCount() const override { return 0; }
    void remove() override { kept_.clear(); }

   private:
    FileLocation file_;
    std::vector<std::string>& kept_;
    std::string digest_;
  };
};

}  // namespace quillmor::test
