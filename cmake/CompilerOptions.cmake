# Every target of the project links quillmor_options, so that flags stand in one place.
add_library(quillmor_options INTERFACE)
target_compile_options(quillmor_options INTERFACE -Wall -Wextra -Wconversion -Wshadow)
# Only clang knows the lock annotations of base/ThreadSafety.h.
target_compile_options(quillmor_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
# The test programs are large. What users run is linked by the system's own linker.
find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM)
  target_link_options(quillmor_options INTERFACE $<$<NOT:$<CONFIG:Release>>:-fuse-ld=mold>)
endif()
if(QUILLMOR_WARNINGS_AS_ERRORS)
  target_compile_options(quillmor_options INTERFACE -Werror)
endif()
if(QUILLMOR_SANITIZE)
  target_compile_options(quillmor_options INTERFACE
    -fsanitize=${QUILLMOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quillmor_options INTERFACE -fsanitize=${QUILLMOR_SANITIZE})
endif()
