#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace quillmor::test {

inline constexpr const char* kX11 = "libX11.so.6";
inline constexpr const char* kXTest = "libXtst.so.6";

/// A function of a library; libraries stay loaded until the process ends.
template <class Function>
Function* functionOf(const char* library, const char* name) {
  void* const handle = ::dlopen(library, RTLD_NOW);
  void* const symbol = handle != nullptr ? ::dlsym(handle, name) : nullptr;
  if (symbol == nullptr) throw std::runtime_error(std::string("no ") + name + " in " + library);
  return reinterpret_cast<Function*>(symbol);
}

}  // namespace quillmor::test
