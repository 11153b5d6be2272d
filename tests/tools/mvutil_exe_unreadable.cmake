cmake_minimum_required(VERSION 3.25)
# Runs the real mvutil on a missing file and a good one: the good one is still printed, the
# missing one is reported on stderr, and the exit code is 1.
execute_process(
  COMMAND ${EMULATOR} ${PROGRAM} crc32 does-not-exist.bin ${CHECK_FILE}
  RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT code EQUAL 1)
  message(FATAL_ERROR "exit code ${code}, expected 1\nstdout: ${out}\nstderr: ${err}")
endif()
if(NOT out MATCHES "^CBF43926  [^\n]*check-123456789.txt\r?\n$")
  message(FATAL_ERROR "stdout: '${out}'")
endif()
if(NOT err MATCHES "^mvutil crc32: does-not-exist.bin: No such file or directory\r?\n$")
  message(FATAL_ERROR "stderr: '${err}'")
endif()
