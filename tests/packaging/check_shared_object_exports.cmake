cmake_minimum_required(VERSION 3.25)
# Fails unless the shared library's dynamic symbol table defines each symbol below. Programs built
# against earlier headers call these checksum members out of line; the members are inline now,
# and the library must still define them (TAVRO_KVO_UTIL_KEEP_EXPORTED). Mangled names, since a
# program calls the complete-object constructor and destructor (C1, D1) in particular.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE code)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "${NM} -D failed: ${code}")
endif()
set(expected
  _ZN14Tavro_KVO_Util5Crc32C1Ev           # Crc32::Crc32()
  _ZN14Tavro_KVO_Util5Crc32C1Em           # Crc32::Crc32(unsigned long)
  _ZN14Tavro_KVO_Util5Crc32D1Ev           # Crc32::~Crc32()
  _ZNK14Tavro_KVO_Util5Crc329GetResultEv  # Crc32::GetResult() const
  _ZN14Tavro_KVO_Util5Crc3213ProcessBufferEPKhj
  _ZN14Tavro_KVO_Util5Crc3211mCrc32TableE
  _ZN14Tavro_KVO_Util5CRC16C1Ev           # CRC16::CRC16()
  _ZN14Tavro_KVO_Util5CRC165FinalEv       # CRC16::Final()
  _ZN14Tavro_KVO_Util5CRC166DigestEPKhm)
foreach(name IN LISTS expected)
  if(NOT table MATCHES " [TWRBDV] ${name}\n")
    message(SEND_ERROR "not exported: ${name}")
  endif()
endforeach()
