#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "base/Check.h"

namespace quillmor::cli {

/// A word that a user may choose, and what it stands for.
template <class Value>
struct Choice {
  std::string_view name;
  Value value;
};

/// The words alone, in order.
template <class Value, std::size_t count>
constexpr std::array<std::string_view, count> namesOf(
    const std::array<Choice<Value>, count>& choices) {
  std::array<std::string_view, count> names{};
  std::ranges::transform(choices, names.begin(), &Choice<Value>::name);
  return names;
}

/// What `name`, one of the words, stands for.
template <class Value, std::size_t count>
const Value& chosen(const std::array<Choice<Value>, count>& choices, std::string_view name) {
  const auto found = std::ranges::find(choices, name, &Choice<Value>::name);
  checkPrecondition(found != choices.end(), "a choice that the table of commands offers");
  return found->value;
}

}  // namespace quillmor::cli
