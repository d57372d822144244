#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quillmor::test {

/// True where every point is to be tried: QUILLMOR_FAULTS is "all" in the environment. Otherwise
/// the tests try fewer, so that all of them together take less than a minute.
bool triesEverything();

/// What one test counts for a row of the table of reliability. Several tests may count for a row.
/// The end of the object hands the figures to the test's properties, from which the table is made,
/// and fails the test unless nothing was lost, left behind or wrong.
class Score {
 public:
  explicit Score(const std::string& row);
  ~Score();
  Score(const Score&) = delete;
  Score& operator=(const Score&) = delete;

  /// One fault, state or round was tried.
  void countPoint() { ++points_; }
  void countPoints(std::int64_t count) { points_ += count; }
  /// Neither the old nor the new bytes can be had any more.
  void countLost(const std::string& where) { lost_.push_back(where); }
  /// A file remains that nobody needs.
  void countLeftBehind(const std::string& where) { leftBehind_.push_back(where); }
  /// The program said something untrue, or does not work afterwards.
  void countWrong(const std::string& where) { wrong_.push_back(where); }

 private:
  std::int64_t points_ = 0;
  std::vector<std::string> lost_;
  std::vector<std::string> leftBehind_;
  std::vector<std::string> wrong_;
};

/// Appends the figures of each test that has some to the file that QUILLMOR_FAULTS_SCORES names, a
/// line a test: row, points, lost, left behind, wrong, "passed", "failed" or why it was skipped,
/// and the milliseconds it took, separated by tabs.
class ScoreListener : public testing::EmptyTestEventListener {
 public:
  void OnTestEnd(const testing::TestInfo& test) override;
};

}  // namespace quillmor::test
