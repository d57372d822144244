#pragma once

#include <map>

#include "platform/UserDefaults.h"

namespace quillmor {

/// Settings that start empty and are lost with this object. Main thread only.
class MemoryUserDefaults final : public UserDefaults {
 public:
  std::optional<std::int64_t> integer(const std::string& key) const override {
    return found(integers_, key);
  }
  std::optional<bool> boolean(const std::string& key) const override {
    return found(booleans_, key);
  }
  void setInteger(const std::string& key, std::int64_t value) override { integers_[key] = value; }
  void setBoolean(const std::string& key, bool value) override { booleans_[key] = value; }

 private:
  template <typename Value>
  static std::optional<Value> found(const std::map<std::string, Value>& values,
                                    const std::string& key) {
    const auto place = values.find(key);
    if (place == values.end()) return std::nullopt;
    return place->second;
  }

  std::map<std::string, std::int64_t> integers_;
  std::map<std::string, bool> booleans_;
};

}  // namespace quillmor
