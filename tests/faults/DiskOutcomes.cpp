#include "faults/DiskOutcomes.h"

namespace quillmor::test {

Outcome DiskOutcomes::on(const DiskImage& image) {
  const auto file = image.files.find(trial_.places().file());
  if (file != image.files.end() && file->second == trial_.save().newBytes) return Outcome::newBytes;
  if (file != image.files.end() && file->second == trial_.save().oldBytes) return Outcome::oldBytes;
  DiskImage rest = image;
  rest.files[trial_.places().file()] = "torn";
  rest.files.erase(trial_.exportPath());
  const auto known = outcomes_.find(rest);
  if (known != outcomes_.end()) return known->second;
  const std::string copy = (copies_.path() / "disk").native();
  materialize(rest, top_, copy);
  return outcomes_[rest] = trial_.outcomeIn({.files = copy + "/files", .state = copy + "/state"});
}

}  // namespace quillmor::test
