#pragma once

#include <cstdint>

#include "tools/edits/ToolLimits.h"

namespace quillmor {

// The safety limits of an editor window. Sizes are bytes unless the name says otherwise.

inline constexpr std::int64_t backgroundEditThresholdBytes =
    1'048'576;  ///< transformed off the main thread
inline constexpr std::int64_t backgroundSearchThresholdBytes =
    1'048'576;  ///< searched off the main thread
inline constexpr std::int64_t maxUtilityReportCharacters =
    4'194'304;  ///< Unicode scalars in a report window

}  // namespace quillmor
