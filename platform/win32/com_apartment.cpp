#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/com_apartment.h"

#include "platform/image_faults.h"

#include "platform/win32/windows_include.h"
// <objbase.h> separately: WIN32_LEAN_AND_MEAN leaves COM out of <windows.h>.
#include <objbase.h>

namespace Tavro_KVO_Util::platform {

ComStart StartComApartment() {
  if (ImageFaultInjected(ImageFault::kComStart)) return ComStart::kFailed;
  const HRESULT result = CoInitialize(/*pvReserved=*/nullptr);
  // S_FALSE: COM was already initialised in this model; it still counts and must be undone.
  if (result == S_OK || result == S_FALSE) return ComStart::kInitialized;
  if (result == RPC_E_CHANGED_MODE) return ComStart::kOtherModel;
  return ComStart::kFailed;
}

void EndComApartment() { CoUninitialize(); }

}  // namespace Tavro_KVO_Util::platform
