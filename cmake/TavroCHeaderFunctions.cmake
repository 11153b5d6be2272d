# tavro_c_header_functions(<header> <windows> <out-var>)
#
# The names of the functions the C header declares (each declaration starts with TMU_API), read
# from the header itself so that a function added there is checked without touching any list.
# With <windows> false the Windows-only block (the dialog functions) is left out. Fails when the
# header no longer looks as expected.
function(tavro_c_header_functions header windows out)
  file(READ ${header} text)
  string(REGEX MATCH "#if defined\\(_WIN32\\)\n/\\* Proportional layout.*#endif" windowsBlock "${text}")
  if(windowsBlock STREQUAL "")
    message(FATAL_ERROR "the Windows-only block of ${header} was not found")
  endif()
  if(NOT windows)
    string(REPLACE "${windowsBlock}" "" text "${text}")
  endif()
  string(REGEX MATCHALL "TMU_API [^;(]*[ *](tmu_[a-z0-9_]+)\\(" declarations "${text}")
  set(names)
  foreach(declaration IN LISTS declarations)
    string(REGEX MATCH "(tmu_[a-z0-9_]+)\\($" name "${declaration}")
    list(APPEND names ${CMAKE_MATCH_1})
  endforeach()
  list(LENGTH names count)
  if(count LESS 40)
    message(FATAL_ERROR "only ${count} declarations read from ${header}: the pattern no longer matches")
  endif()
  set(${out} ${names} PARENT_SCOPE)
endfunction()
