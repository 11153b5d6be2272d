cmake_minimum_required(VERSION 3.25)
# Runs the real mvutil where the shared configuration file does not exist (KVO_INSTALL_DIR names a
# folder that is not there): stderr starts with exactly one warning naming the full path, then the
# verb's own message, and the exit code is the verb's.
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env KVO_INSTALL_DIR=no-such-install-dir
          ${EMULATOR} ${PROGRAM} config get /Tavro/Ward
  RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT code EQUAL 3)
  message(FATAL_ERROR "exit code ${code}, expected 3\nstdout: ${out}\nstderr: ${err}")
endif()
if(NOT out STREQUAL "")
  message(FATAL_ERROR "stdout: '${out}'")
endif()
set(warning "mvutil: warning: no configuration file at (/|[A-Za-z]:\\\\)[^\n]*[/\\\\]no-such-install-dir[/\\\\]Bin[/\\\\]TavroMedivane.cfg; every log call waits at least 1 s for it\r?\n")
if(NOT err MATCHES "^${warning}mvutil config: the default configuration file: cannot open the file\r?\n$")
  message(FATAL_ERROR "stderr: '${err}'")
endif()
