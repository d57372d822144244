#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace quillmor {

/// The identity of a file, whatever path leads to it.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  bool operator==(const FileIdentity&) const = default;
};

}  // namespace quillmor

template <>
struct std::hash<quillmor::FileIdentity> {
  std::size_t operator()(const quillmor::FileIdentity& identity) const noexcept {
    // The golden-ratio step keeps equal low bits of device and inode from cancelling out.
    constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
    return std::hash<std::uint64_t>{}(identity.inode ^ (identity.device * kGoldenRatio));
  }
};
