cmake_minimum_required(VERSION 3.25)
# Fails unless the library exports, unmangled, every function the C header declares. The names
# are read from the header itself (each declaration starts with TMU_API), so a function added
# there is checked without touching this script. The Windows-only block of the header is checked
# only against the DLL.
#
#   cmake -DHEADER=... -DLIBRARY=... -DTOOL=<nm or objdump> -DWINDOWS=ON|OFF -P check_c_exports.cmake
file(READ ${HEADER} header)
string(REGEX MATCH "#if defined\\(_WIN32\\)\n/\\* Proportional layout.*#endif" windowsBlock "${header}")
if(windowsBlock STREQUAL "")
  message(FATAL_ERROR "the Windows-only block of ${HEADER} was not found")
endif()
if(NOT WINDOWS)
  string(REPLACE "${windowsBlock}" "" header "${header}")
endif()
string(REGEX MATCHALL "TMU_API [^;(]*[ *](tmu_[a-z0-9_]+)\\(" declarations "${header}")
set(names)
foreach(declaration IN LISTS declarations)
  string(REGEX MATCH "(tmu_[a-z0-9_]+)\\($" name "${declaration}")
  list(APPEND names ${CMAKE_MATCH_1})
endforeach()
list(LENGTH names count)
if(count LESS 40)
  message(FATAL_ERROR "only ${count} declarations read from ${HEADER}: the pattern no longer matches")
endif()

if(WINDOWS)
  execute_process(COMMAND ${TOOL} -p ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE code)
  set(pattern "\\] (NAME)\n")  # "[ordinal] name" lines of the export name table
else()
  execute_process(COMMAND ${TOOL} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE code)
  set(pattern " T (NAME)\n")
endif()
if(NOT code EQUAL 0)
  message(FATAL_ERROR "${TOOL} failed: ${code}")
endif()
foreach(name IN LISTS names)
  string(REPLACE "NAME" "${name}" expected "${pattern}")
  if(NOT table MATCHES "${expected}")
    message(SEND_ERROR "not exported unmangled: ${name}")
  endif()
endforeach()
message(STATUS "${count} C functions checked")
