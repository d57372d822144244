#pragma once

#include <memory>
#include <utility>

#include "platform/MemoryUserDefaults.h"

namespace quillmor {

/// The settings of others, which are read and never written: what is set here is lost with this
/// object. Main thread only.
class TransientUserDefaults final : public UserDefaults {
 public:
  /// `base` is not null.
  explicit TransientUserDefaults(std::unique_ptr<const UserDefaults> base)
      : base_(std::move(base)) {}

  std::optional<std::int64_t> integer(const std::string& key) const override {
    const auto changed = changes_.integer(key);
    return changed ? changed : base_->integer(key);
  }
  std::optional<bool> boolean(const std::string& key) const override {
    const auto changed = changes_.boolean(key);
    return changed ? changed : base_->boolean(key);
  }
  void setInteger(const std::string& key, std::int64_t value) override {
    changes_.setInteger(key, value);
  }
  void setBoolean(const std::string& key, bool value) override { changes_.setBoolean(key, value); }

 private:
  const std::unique_ptr<const UserDefaults> base_;
  MemoryUserDefaults changes_;
};

}  // namespace quillmor
