#include "base/ShieldedArguments.h"

namespace quillmor {

namespace {

constexpr char kShield = '\0';

std::string shieldedOption(std::string argument) {
  const std::size_t sign = argument.find('=');
  if (argument.starts_with("--") && sign != std::string::npos)
    argument.insert(sign + 1, 1, kShield);
  return argument;
}

}  // namespace

std::vector<std::string> shieldedArguments(const std::vector<std::string>& arguments) {
  std::vector<std::string> shielded(arguments.rbegin(), arguments.rend());
  bool onlyValuesFollow = false;
  for (auto argument = shielded.rbegin(); argument != shielded.rend(); ++argument) {
    if (onlyValuesFollow || !argument->starts_with('-')) {
      argument->insert(argument->begin(), kShield);
    } else if (*argument == "--") {
      onlyValuesFollow = true;
    } else {
      *argument = shieldedOption(std::move(*argument));
    }
  }
  return shielded;
}

std::string unshielded(std::string text) {
  std::erase(text, kShield);
  return text;
}

}  // namespace quillmor
