// Security attributes that let every user and service open an object: a descriptor with a null
// DACL. Shared objects of the library (the log mutex, the log file) are created this way so that
// processes of other users and services can use them too.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_NULL_DACL_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_NULL_DACL_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

// Not copyable or movable: the attributes point at the descriptor inside the same object.
class NullDaclAttributes {
 public:
  NullDaclAttributes() {
    mAttributes.nLength = sizeof mAttributes;
    mAttributes.bInheritHandle = FALSE;
    mAttributes.lpSecurityDescriptor = nullptr;  // default security unless the descriptor is made
    if (InitializeSecurityDescriptor(&mDescriptor, SECURITY_DESCRIPTOR_REVISION) &&
        SetSecurityDescriptorDacl(&mDescriptor, /*bDaclPresent=*/TRUE, /*pDacl=*/nullptr,
                                  /*bDaclDefaulted=*/FALSE)) {
      mAttributes.lpSecurityDescriptor = &mDescriptor;
    }
  }
  NullDaclAttributes(const NullDaclAttributes&) = delete;
  NullDaclAttributes& operator=(const NullDaclAttributes&) = delete;

  // True when the descriptor could not be made and objects get the default security instead.
  bool DescriptorFailed() const { return mAttributes.lpSecurityDescriptor == nullptr; }

  SECURITY_ATTRIBUTES* get() { return &mAttributes; }

 private:
  SECURITY_DESCRIPTOR mDescriptor{};
  SECURITY_ATTRIBUTES mAttributes{};
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_NULL_DACL_H
