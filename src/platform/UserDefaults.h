#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillmor {

/// Settings that last from one start to the next. Keys may have any bytes. Main thread only.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  virtual std::optional<std::int64_t> integer(const std::string& key) const = 0;
  virtual std::optional<bool> boolean(const std::string& key) const = 0;
  virtual void setInteger(const std::string& key, std::int64_t value) = 0;
  virtual void setBoolean(const std::string& key, bool value) = 0;
};

}  // namespace quillmor
