#pragma once

#include <utility>
#include <variant>

#include "base/Error.h"

namespace quillmor {

/// A value, or the error that took its place: how work on another thread hands back its outcome.
template <class T>
class Result {
 public:
  Result(T value) : outcome_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : outcome_(std::in_place_index<1>, std::move(error)) {}

  bool isOk() const { return outcome_.index() == 0; }

  /// The value; only when `isOk`.
  T& value() { return std::get<0>(outcome_); }
  const T& value() const { return std::get<0>(outcome_); }

  /// The error; only when not `isOk`.
  Error& error() { return std::get<1>(outcome_); }
  const Error& error() const { return std::get<1>(outcome_); }

 private:
  std::variant<T, Error> outcome_;
};

/// The value of a `Result` that only says that work succeeded.
using Done = std::monostate;

}  // namespace quillmor
