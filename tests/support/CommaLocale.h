#pragma once

#include <clocale>
#include <cstdlib>
#include <string>
#include <tuple>

#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// Makes a locale whose decimal separator is a comma, and that of the process, while it lives.
class CommaLocale {
 public:
  CommaLocale() {
    folder_.write("comma.src",
                  "LC_NUMERIC\ndecimal_point \"<U002C>\"\nthousands_sep \"<U002E>\"\n"
                  "grouping 3;3\nEND LC_NUMERIC\n");
    const std::string base = (folder_.path() / "comma").string();
    // It warns of all other categories, which are missing, and then exits with 1.
    std::ignore = std::system(("localedef -c -i " + base + ".src " + base + " 2>&-").c_str());
    setenv("LOCPATH", folder_.path().c_str(), 1);
    isThere_ = std::setlocale(LC_NUMERIC, "comma") != nullptr;
  }
  ~CommaLocale() {
    std::setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  bool isThere() const { return isThere_; }

 private:
  TemporaryFolder folder_;
  bool isThere_ = false;
};

}  // namespace quillmor::test
