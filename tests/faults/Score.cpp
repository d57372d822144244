#include "faults/Score.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace quillmor::test {

namespace {

constexpr const char* kRow = "row";
constexpr const char* kPoints = "points";
constexpr const char* kLost = "lost";
constexpr const char* kLeftBehind = "leftBehind";
constexpr const char* kWrong = "wrong";

void record(const char* name, std::size_t count) {
  testing::Test::RecordProperty(name, std::to_string(count));
}

/// The first few of many.
std::string listed(const std::vector<std::string>& places) {
  constexpr std::size_t kMost = 12;
  std::string text;
  for (std::size_t i = 0; i < std::min(places.size(), kMost); ++i) text += "  " + places[i] + "\n";
  if (places.size() > kMost) text += "  ...\n";
  return text;
}

std::string propertyOf(const testing::TestResult& result, const std::string& name) {
  for (int i = 0; i < result.test_property_count(); ++i) {
    if (result.GetTestProperty(i).key() == name) return result.GetTestProperty(i).value();
  }
  return "";
}

/// What a test said when it skipped itself, on one line.
std::string reasonOfSkipping(const testing::TestResult& result) {
  for (int i = 0; i < result.total_part_count(); ++i) {
    if (!result.GetTestPartResult(i).skipped()) continue;
    std::string reason = result.GetTestPartResult(i).message();
    while (reason.ends_with('\n')) reason.pop_back();
    std::ranges::replace(reason, '\n', ' ');
    return "skipped: " + reason;
  }
  return "skipped";
}

}  // namespace

bool triesEverything() {
  const char* const form = std::getenv("QUILLMOR_FAULTS");
  return form != nullptr && std::string(form) == "all";
}

Score::Score(const std::string& row) {
  testing::Test::RecordProperty(kRow, row);
}

Score::~Score() {
  testing::Test::RecordProperty(kPoints, std::to_string(points_));
  record(kLost, lost_.size());
  record(kLeftBehind, leftBehind_.size());
  record(kWrong, wrong_.size());
  if (testing::Test::IsSkipped()) return;
  EXPECT_GT(points_, 0) << "nothing was tried";
  EXPECT_EQ(lost_.size(), 0U) << "of " << points_ << ":\n" << listed(lost_);
  EXPECT_EQ(leftBehind_.size(), 0U) << "of " << points_ << ":\n" << listed(leftBehind_);
  EXPECT_EQ(wrong_.size(), 0U) << "of " << points_ << ":\n" << listed(wrong_);
}

void ScoreListener::OnTestEnd(const testing::TestInfo& test) {
  const char* const scores = std::getenv("QUILLMOR_FAULTS_SCORES");
  const testing::TestResult& result = *test.result();
  const std::string row = propertyOf(result, kRow);
  if (scores == nullptr || row.empty()) return;
  std::string line = row;
  for (const char* const name : {kPoints, kLost, kLeftBehind, kWrong})
    line += "\t" + propertyOf(result, name);
  const std::string outcome = result.Failed() ? "failed" : "passed";
  std::ofstream(scores, std::ios::app)
      << line + "\t" + (result.Skipped() ? reasonOfSkipping(result) : outcome) + "\t" +
             std::to_string(result.elapsed_time()) + "\n";
}

}  // namespace quillmor::test
