// A DACL that lets in SYSTEM, Administrators and one group, and nobody else: the safe profile's
// protection of the log lock and the log file (platform/object_access.h).
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_RESTRICTED_DACL_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_RESTRICTED_DACL_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include <string>
#include <vector>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

// Not copyable or movable: the attributes point at the descriptor, and it at the ACL, inside the
// same object.
class RestrictedDacl {
 public:
  // `fullAccess` goes to SYSTEM and Administrators, `groupAccess` to `group` (an account name;
  // empty: the built-in Users group).
  RestrictedDacl(const std::wstring& group, DWORD fullAccess, DWORD groupAccess);
  RestrictedDacl(const RestrictedDacl&) = delete;
  RestrictedDacl& operator=(const RestrictedDacl&) = delete;

  // False when the group is unknown (ERROR_NONE_MAPPED) or the ACL could not be made.
  bool Valid() const { return mError == ERROR_SUCCESS; }
  DWORD Error() const { return mError; }

  PACL Acl() { return reinterpret_cast<PACL>(mAcl.data()); }
  // Attributes for a new object, with the DACL protected from inheritance. Only when Valid().
  SECURITY_ATTRIBUTES* Attributes() { return &mAttributes; }

 private:
  std::vector<unsigned char> mAcl;
  std::vector<unsigned char> mGroupSid;
  SECURITY_DESCRIPTOR mDescriptor{};
  SECURITY_ATTRIBUTES mAttributes{};
  DWORD mError = ERROR_SUCCESS;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_RESTRICTED_DACL_H
