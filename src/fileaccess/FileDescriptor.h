#pragma once

namespace quillmor {

/// An open file: owns one descriptor and closes it exactly once, at the latest when destroyed.
/// Movable; used by one thread at a time.
class FileDescriptor {
 public:
  /// Takes ownership of an open descriptor.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  /// Closes the descriptor if it is still open; an error is ignored.
  ~FileDescriptor();
  FileDescriptor(FileDescriptor&& other) noexcept;
  FileDescriptor& operator=(FileDescriptor&&) = delete;
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }

  /// The descriptor; negative once closed.
  int get() const { return descriptor_; }

  /// Flushes the file to stable storage, repeated on EINTR. Throws the POSIX error on failure. Such
  /// a failure is final: the system may have dropped the data, and a later call may wrongly
  /// succeed.
  void synchronize() const;

  /// Closes the descriptor, once. An interrupted close has closed it and is no failure. Throws the
  /// POSIX error of any other failure; the descriptor is closed all the same.
  void close();

 private:
  int closeOnce();

  int descriptor_;
};

}  // namespace quillmor
