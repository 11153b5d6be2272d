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
