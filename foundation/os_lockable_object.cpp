#include "OsLockableObject.h"

namespace Tavro_KVO_Util {

// Defined out of line so that the interface's vtable and type information live in the library.
OsLockableObject::~OsLockableObject() = default;

}  // namespace Tavro_KVO_Util
