cmake_minimum_required(VERSION 3.25)
# Installs the build into a scratch prefix, then configures, builds and runs a separate consumer
# project that finds the package with find_package(TavroMedivaneUtil CONFIG REQUIRED).
#   PROGRAM: the consumer's executable (default "consumer"); EXPECTED: a regular expression its
#   whole output must match (default: the C++ consumer's line).
if(NOT PROGRAM)
  set(PROGRAM consumer)
endif()
if(NOT EXPECTED)
  set(EXPECTED "^consumer: CBF43926 B4C8 77073096 locked\r?\n$")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "failed (${code}): ${ARGN}\n${out}\n${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(configure ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH=${prefix})
if(TOOLCHAIN)
  # A cross build searches only below its find roots, so the scratch prefix becomes one.
  list(APPEND configure -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_FIND_ROOT_PATH=${prefix})
endif()
run(${configure})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)

if(EMULATOR)
  # Windows: the DLL is found beside the program, as an application ships it.
  file(COPY ${prefix}/Bin/TavroMedivaneUtil.dll DESTINATION ${WORK_DIR}/build)
  run(${EMULATOR} ${WORK_DIR}/build/${PROGRAM}.exe)
else()
  run(${WORK_DIR}/build/${PROGRAM})
endif()
if(NOT run_output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "unexpected consumer output: '${run_output}'")
endif()
