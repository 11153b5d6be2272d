// CFGStatus: the result of every operation of the configuration store.
//
// 0 is success and every failure is negative. Callers outside the store test only for 0; the
// values are fixed because the product's programs store and compare them.
#ifndef TAVROMEDIVANEUTIL_CFGSTATUS_H
#define TAVROMEDIVANEUTIL_CFGSTATUS_H

#include <cstdint>

namespace Tavro_KVO_Util {

enum CFGStatus : std::int32_t {
  CFG_SUCCESS = 0,
  CFG_BUFFER_TOO_SMALL = -15,   // the caller's buffer cannot hold the value
  CFG_FILE_OPEN_FAILED = -16,   // the configuration file could not be opened
  CFG_FILE_UTF8 = -17,          // the file has a UTF-8 byte-order mark and is refused
  CFG_CONVERSION_FAILED = -18,  // the value does not convert to the requested type
  CFG_NOT_FOUND = -19,          // key, section or array absent, key empty, or value blank
  CFG_WRITE_NOT_ALLOWED = -20,  // SetParameter on an instance made without write permission
  CFG_WRITE_FAILED = -21,       // the file could not be written
  CFG_INVALID_PARAMETER = -22,  // a required argument is missing or empty
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_CFGSTATUS_H
