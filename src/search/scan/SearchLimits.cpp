#include "search/scan/SearchLimits.h"

namespace quillmor {

namespace {

thread_local const SearchLimits* innermost = nullptr;

}  // namespace

const SearchLimits& SearchLimits::current() {
  static const SearchLimits usual;
  return innermost != nullptr ? *innermost : usual;
}

ScopedSearchLimits::ScopedSearchLimits(const SearchLimits& limits)
    : limits_(limits), previous_(innermost) {
  innermost = &limits_;
}

ScopedSearchLimits::~ScopedSearchLimits() {
  innermost = previous_;
}

}  // namespace quillmor
