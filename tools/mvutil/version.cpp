#include "version.h"

namespace mvutil {

// MVUTIL_VERSION comes from the build: the project's version, or the next one for the upgrade test.
const char kVersion[] = MVUTIL_VERSION;

}  // namespace mvutil
