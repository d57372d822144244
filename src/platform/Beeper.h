#pragma once

namespace quillmor {

/// The system alert sound. Main thread only.
class Beeper {
 public:
  virtual ~Beeper() = default;
  virtual void beep() = 0;
};

}  // namespace quillmor
