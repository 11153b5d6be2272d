cmake_minimum_required(VERSION 3.25)
# Fails unless the library exports, unmangled, every function the C header declares (the
# Windows-only ones only from the DLL).
#
#   cmake -DHEADER=... -DLIBRARY=... -DTOOL=<nm or objdump> -DWINDOWS=ON|OFF -P check_c_exports.cmake
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/TavroCHeaderFunctions.cmake)
tavro_c_header_functions(${HEADER} "${WINDOWS}" names)
list(LENGTH names count)

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
