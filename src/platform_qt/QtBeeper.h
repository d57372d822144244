#pragma once

#include "platform/Beeper.h"

namespace quillmor {

/// The desktop's own alert sound. Main thread only.
class QtBeeper : public Beeper {
 public:
  void beep() override;
};

}  // namespace quillmor
