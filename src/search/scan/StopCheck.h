#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>

#include "base/ByteUnits.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// A reference to a function that long work calls now and then, and that throws to stop it. Without
/// one the work is never stopped. For parameters only: must not outlive what it was made of.
class StopCheck {
 public:
  /// How many bytes may be looked at between two checks: a few milliseconds even for hostile data.
  static constexpr std::int64_t kInterval = kMiB;

  StopCheck() = default;

  StopCheck(const TaskProgress& progress)
      : object_(&progress),
        call_([](const void* object) { static_cast<const TaskProgress*>(object)->checkpoint(); }) {}

  template <class Function>
  requires(!std::is_same_v<Function, StopCheck> && !std::is_same_v<Function, TaskProgress> &&
           std::is_invocable_v<const Function&>) StopCheck(const Function& function)
      : object_(std::addressof(function)),
        call_([](const void* object) { (*static_cast<const Function*>(object))(); }) {}

  /// Throws what the function throws.
  void operator()() const {
    if (call_ != nullptr) call_(object_);
  }

 private:
  const void* object_ = nullptr;
  void (*call_)(const void*) = nullptr;
};

}  // namespace quillmor
