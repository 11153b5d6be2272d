#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/win32/restricted_dacl.h"

#include "platform/object_access.h"

namespace Tavro_KVO_Util::platform {
namespace {

bool WellKnownSid(WELL_KNOWN_SID_TYPE type, std::vector<unsigned char>& sid) {
  DWORD size = SECURITY_MAX_SID_SIZE;
  sid.assign(size, 0);
  if (!CreateWellKnownSid(type, /*DomainSid=*/nullptr, sid.data(), &size)) return false;
  sid.resize(size);
  return true;
}

bool AccountSid(const std::wstring& name, std::vector<unsigned char>& sid) {
  DWORD sidSize = SECURITY_MAX_SID_SIZE;
  sid.assign(sidSize, 0);
  wchar_t domain[256];
  DWORD domainSize = 256;
  SID_NAME_USE use{};
  if (!LookupAccountNameW(/*lpSystemName=*/nullptr, name.c_str(), sid.data(), &sidSize, domain, &domainSize,
                          &use)) {
    return false;
  }
  sid.resize(sidSize);
  return true;
}

}  // namespace

bool IsKnownGroup(const std::wstring& group) {
  std::vector<unsigned char> sid;
  return group.empty() || AccountSid(group, sid);
}

RestrictedDacl::RestrictedDacl(const std::wstring& group, DWORD fullAccess, DWORD groupAccess) {
  std::vector<unsigned char> system;
  std::vector<unsigned char> administrators;
  if (!WellKnownSid(WinLocalSystemSid, system) ||
      !WellKnownSid(WinBuiltinAdministratorsSid, administrators) ||
      !(group.empty() ? WellKnownSid(WinBuiltinUsersSid, mGroupSid) : AccountSid(group, mGroupSid))) {
    mError = GetLastError();
    if (mError == ERROR_SUCCESS) mError = ERROR_INVALID_SID;
    return;
  }
  const auto aceSize = [](const std::vector<unsigned char>& sid) {
    return static_cast<DWORD>(sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + sid.size());
  };
  const DWORD aclSize = sizeof(ACL) + aceSize(system) + aceSize(administrators) + aceSize(mGroupSid);
  mAcl.assign((aclSize + sizeof(DWORD) - 1) / sizeof(DWORD) * sizeof(DWORD), 0);
  if (!InitializeAcl(Acl(), static_cast<DWORD>(mAcl.size()), ACL_REVISION) ||
      !AddAccessAllowedAce(Acl(), ACL_REVISION, fullAccess, system.data()) ||
      !AddAccessAllowedAce(Acl(), ACL_REVISION, fullAccess, administrators.data()) ||
      !AddAccessAllowedAce(Acl(), ACL_REVISION, groupAccess, mGroupSid.data()) ||
      !InitializeSecurityDescriptor(&mDescriptor, SECURITY_DESCRIPTOR_REVISION) ||
      !SetSecurityDescriptorDacl(&mDescriptor, /*bDaclPresent=*/TRUE, Acl(), /*bDaclDefaulted=*/FALSE) ||
      !SetSecurityDescriptorControl(&mDescriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
    mError = GetLastError();
    if (mError == ERROR_SUCCESS) mError = ERROR_INVALID_ACL;
    return;
  }
  mAttributes.nLength = sizeof mAttributes;
  mAttributes.bInheritHandle = FALSE;
  mAttributes.lpSecurityDescriptor = &mDescriptor;
}

}  // namespace Tavro_KVO_Util::platform
