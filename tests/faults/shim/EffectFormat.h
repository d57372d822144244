#pragma once

#include <cstdint>

namespace quillmor::test {

/// What a system call has done to the files below the watched folders. The library that is loaded
/// into a program appends one entry for each to a log; the tests read them.
enum class EffectKind : std::uint32_t {
  create,         ///< a regular file: inode, path
  makeFolder,     ///< inode, path
  write,          ///< inode, path, offset, data
  setSize,        ///< inode, path, offset is the new size
  rename,         ///< inode, path to otherPath
  link,           ///< inode, path gets a second name, otherPath
  unlink,         ///< inode, path
  removeFolder,   ///< inode, path
  synchronize,    ///< inode and path of a file or a folder
  notUnderstood,  ///< an effect that the log cannot tell; path is the name of the call
};

/// In front of each entry: the two paths and the data follow it.
struct EffectHeader {
  EffectKind kind = EffectKind::notUnderstood;
  std::uint32_t pathLength = 0;
  std::uint32_t otherPathLength = 0;
  std::uint64_t inode = 0;
  std::int64_t offset = 0;
  std::uint64_t dataLength = 0;
};

/// The environment of a program that runs with the library. Folders are separated by colons.
namespace FaultVariables {
inline constexpr const char* kFolders = "QUILLMOR_FAULTS_FOLDERS";
/// Only calls made while this file exists count; always when it is not given.
inline constexpr const char* kArmed = "QUILLMOR_FAULTS_ARMED";
/// Where the calls are listed, a line a call: number, whether it changes anything, name, path.
inline constexpr const char* kCalls = "QUILLMOR_FAULTS_CALLS";
/// Where the effects are logged.
inline constexpr const char* kEffects = "QUILLMOR_FAULTS_EFFECTS";
/// "kill", "killWithin", "fail" or "short"; nothing happens without it.
inline constexpr const char* kMode = "QUILLMOR_FAULTS_MODE";
/// The call that it happens at, from 1; every call when it is 0.
inline constexpr const char* kCall = "QUILLMOR_FAULTS_CALL";
/// The error of a failing call.
inline constexpr const char* kError = "QUILLMOR_FAULTS_ERROR";
/// Given when all later calls that take room on the disk fail too.
inline constexpr const char* kLasting = "QUILLMOR_FAULTS_LASTING";
/// The name of the calls that it happens to, and of the file that they touch; all when empty.
inline constexpr const char* kName = "QUILLMOR_FAULTS_NAME";
inline constexpr const char* kFile = "QUILLMOR_FAULTS_FILE";
/// The most bytes that a short write takes, or one in which the program is killed.
inline constexpr const char* kMost = "QUILLMOR_FAULTS_MOST";
/// What the program is robbed of, to see that the tests notice: "flush", "record", "comparison" or
/// "lock".
inline constexpr const char* kWithout = "QUILLMOR_FAULTS_WITHOUT";
}  // namespace FaultVariables

}  // namespace quillmor::test
