# Every target of the project links quillmor_options, so that flags stand in one place.
add_library(quillmor_options INTERFACE)
target_compile_options(quillmor_options INTERFACE -Wall -Wextra -Wconversion -Wshadow)
# Only clang knows the lock annotations of base/ThreadSafety.h.
target_compile_options(quillmor_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
if(QUILLMOR_WARNINGS_AS_ERRORS)
  target_compile_options(quillmor_options INTERFACE -Werror)
endif()
if(QUILLMOR_SANITIZE)
  target_compile_options(quillmor_options INTERFACE
    -fsanitize=${QUILLMOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quillmor_options INTERFACE -fsanitize=${QUILLMOR_SANITIZE})
endif()
