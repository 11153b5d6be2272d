// tmu_status_text and tmu_free.
#include <cstdlib>

#include "TavroMedivaneUtil_c.h"

extern "C" {

const char* tmu_status_text(tmu_status status) {
  switch (status) {
    case TMU_OK:
      return "TMU_OK: success";
    case TMU_BUFFER_TOO_SMALL:
      return "TMU_BUFFER_TOO_SMALL: the output does not fit in the buffer";
    case TMU_CFG_FILE_OPEN_FAILED:
      return "TMU_CFG_FILE_OPEN_FAILED: the configuration file could not be opened";
    case TMU_CFG_FILE_UTF8:
      return "TMU_CFG_FILE_UTF8: the configuration file has a UTF-8 byte-order mark";
    case TMU_CFG_CONVERSION_FAILED:
      return "TMU_CFG_CONVERSION_FAILED: the value does not convert to that type";
    case TMU_NOT_FOUND:
      return "TMU_NOT_FOUND: no such key, section, array or entry";
    case TMU_CFG_WRITE_NOT_ALLOWED:
      return "TMU_CFG_WRITE_NOT_ALLOWED: the configuration was opened read-only";
    case TMU_CFG_WRITE_FAILED:
      return "TMU_CFG_WRITE_FAILED: the configuration file could not be written";
    case TMU_INVALID_ARGUMENT:
      return "TMU_INVALID_ARGUMENT: a required argument is null, empty or not UTF-8";
    case TMU_KPS_INVALID_FORMAT:
      return "TMU_KPS_INVALID_FORMAT: the key string is not valid";
    case TMU_KPS_SEND_FAILED:
      return "TMU_KPS_SEND_FAILED: the system refused the key presses";
    case TMU_FAILED:
      return "TMU_FAILED: the operation failed; the log says why";
    case TMU_OUT_OF_MEMORY:
      return "TMU_OUT_OF_MEMORY: memory ran out";
    case TMU_INTERNAL_ERROR:
      return "TMU_INTERNAL_ERROR: the library failed unexpectedly; the log says why";
    default:
      return "unknown status";
  }
}

void tmu_free(void* memory) { std::free(memory); }

}  // extern "C"
