cmake_minimum_required(VERSION 3.25)
# Fails when a binary imports a DLL other than Windows system DLLs: libgcc, libstdc++ and
# winpthread must be linked in statically. Programs may import the library's own DLL.
set(system_dlls kernel32.dll msvcrt.dll user32.dll advapi32.dll gdi32.dll gdiplus.dll ole32.dll
    oleaut32.dll winmm.dll shlwapi.dll psapi.dll version.dll shell32.dll comctl32.dll ws2_32.dll
    secur32.dll crypt32.dll
    tavromedivaneutil.dll)
foreach(binary IN LISTS BINARIES)
  execute_process(COMMAND ${OBJDUMP} -p ${binary} OUTPUT_VARIABLE table RESULT_VARIABLE code)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "${OBJDUMP} -p ${binary} failed: ${code}")
  endif()
  string(REGEX MATCHALL "DLL Name: [^\r\n]+" imports "${table}")
  if(NOT imports)
    message(FATAL_ERROR "${binary}: no imports found in objdump output")
  endif()
  foreach(line IN LISTS imports)
    string(REPLACE "DLL Name: " "" dll "${line}")
    string(TOLOWER "${dll}" dll)
    if(NOT dll IN_LIST system_dlls AND NOT dll MATCHES "^api-ms-win-")
      message(SEND_ERROR "${binary} imports ${dll}, which is not a system DLL")
    endif()
  endforeach()
endforeach()
