# Warnings, sanitizers and static runtime linking.
#
# Sanitizers are switched on for the whole build tree, GoogleTest included, so that instrumented
# and uninstrumented code never mix. Warnings-as-errors apply to the project's own targets only.

option(TAVRO_SANITIZE "Build everything with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(TAVRO_TSAN "Build everything with ThreadSanitizer" OFF)

if(TAVRO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()
if(TAVRO_TSAN)
  add_compile_options(-fsanitize=thread)
  add_link_options(-fsanitize=thread)
endif()

function(tavro_apply_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
  if(NOT WIN32)
    target_compile_options(${target} PRIVATE -pthread)
  endif()
endfunction()

function(tavro_apply_link_options target)
  if(WIN32)
    # libgcc, libstdc++ and winpthread go into the binary itself: the tablet has only system DLLs.
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++)
  else()
    target_link_options(${target} PRIVATE -pthread)
  endif()
endfunction()

# The wide CRC-32 kernels are the only code built for AVX2 or AVX-512, each in a file of its own,
# and they run only where the processor and the operating system have said yes at load. MinGW's
# GCC does not align the stack for 32- and 64-byte registers, so on Windows the assembler writes
# every aligned vector move as an unaligned one, in case a register is ever spilled. `target` is
# the target the files are compiled into.
function(tavro_compile_wide_crc_kernels target)
  set(windows $<$<PLATFORM_ID:Windows>:-Wa,-muse-unaligned-vector-move>)
  set_source_files_properties(${PROJECT_SOURCE_DIR}/foundation/crc32_clmul_ymm.cpp TARGET_DIRECTORY ${target}
    PROPERTIES COMPILE_OPTIONS "-mavx2;-mvpclmulqdq;-mpclmul;-msse4.1;${windows}")
  set_source_files_properties(${PROJECT_SOURCE_DIR}/foundation/crc32_clmul_zmm.cpp TARGET_DIRECTORY ${target}
    PROPERTIES COMPILE_OPTIONS "-mavx512f;-mvpclmulqdq;-mpclmul;-msse4.1;${windows}")
endfunction()
