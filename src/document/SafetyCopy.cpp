#include "document/SafetyCopy.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace quillmor {

bool hasNoPlaceForSafetyCopy(const Error& error) {
  constexpr std::array kCodes = {ENOSPC, EDQUOT, EROFS,   EACCES,      EPERM,
                                 ENOENT, ELOOP,  ENOTDIR, ENAMETOOLONG};
  return error.domain() == ErrorDomain::posix &&
         std::find(kCodes.begin(), kCodes.end(), error.code()) != kCodes.end();
}

}  // namespace quillmor
