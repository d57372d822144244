#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>

namespace quillmor {

/// A reference to a function that says whether a position is accepted. Copies nothing, so it must
/// not outlive what it was made of; meant as a parameter only.
class PositionPredicate {
 public:
  template <class Function>
  requires(!std::is_same_v<std::remove_cvref_t<Function>, PositionPredicate> &&
           std::is_invocable_r_v<bool, Function&, std::int64_t>)
      PositionPredicate(Function&& function)  // NOLINT(bugprone-forwarding-reference-overload)
      : object_(const_cast<void*>(static_cast<const void*>(std::addressof(function)))),
        call_([](void* object, std::int64_t position) -> bool {
          return (*static_cast<std::remove_reference_t<Function>*>(object))(position);
        }) {}

  bool operator()(std::int64_t position) const { return call_(object_, position); }

 private:
  void* object_;
  bool (*call_)(void*, std::int64_t);
};

}  // namespace quillmor
