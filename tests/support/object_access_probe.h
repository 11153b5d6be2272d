// Reads back who may use a file or a named mutex, for the tests of the safe profile's access
// rules: the DACL on Windows, the mode and group on Linux.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_OBJECT_ACCESS_PROBE_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_OBJECT_ACCESS_PROBE_H

#include <filesystem>
#include <string>
#include <vector>

#ifdef _WIN32
#include "platform/win32/windows_include.h"

#include <aclapi.h>
#include <sddl.h>
#else
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Tavro_KVO_Util::testing {

#ifdef _WIN32

inline constexpr wchar_t kSystemSid[] = L"S-1-5-18";
inline constexpr wchar_t kAdministratorsSid[] = L"S-1-5-32-544";
inline constexpr wchar_t kUsersSid[] = L"S-1-5-32-545";

struct AccessEntry {
  std::wstring sid;  // as "S-1-5-32-545"
  unsigned long mask;
  bool operator==(const AccessEntry& other) const { return sid == other.sid && mask == other.mask; }
};

struct DaclInfo {
  bool read = false;                 // the descriptor could be read
  bool isNull = false;               // a null DACL: everyone may do everything
  bool isProtected = false;          // not inheriting from the parent
  std::vector<AccessEntry> allowed;  // the access-allowed entries, in order
};

inline DaclInfo ReadDacl(PSECURITY_DESCRIPTOR descriptor, PACL dacl) {
  DaclInfo info;
  info.read = true;
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  if (GetSecurityDescriptorControl(descriptor, &control, &revision)) {
    info.isProtected = (control & SE_DACL_PROTECTED) != 0;
  }
  info.isNull = dacl == nullptr;
  for (DWORD i = 0; dacl != nullptr && i < dacl->AceCount; ++i) {
    void* ace = nullptr;
    if (!GetAce(dacl, i, &ace)) continue;
    const auto* header = static_cast<ACE_HEADER*>(ace);
    if (header->AceType != ACCESS_ALLOWED_ACE_TYPE) continue;
    auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
    wchar_t* text = nullptr;
    if (ConvertSidToStringSidW(&allowed->SidStart, &text)) {
      info.allowed.push_back({text, allowed->Mask});
      LocalFree(text);
    }
  }
  LocalFree(descriptor);
  return info;
}

inline DaclInfo FileDacl(const std::filesystem::path& file) {
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(file.wstring().c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                            nullptr, &dacl, nullptr, &descriptor) != ERROR_SUCCESS) {
    return DaclInfo();
  }
  return ReadDacl(descriptor, dacl);
}

inline DaclInfo MutexDacl(const std::wstring& name) {
  HANDLE mutex = OpenMutexW(READ_CONTROL, FALSE, name.c_str());
  if (mutex == nullptr) return DaclInfo();
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const DWORD status = GetSecurityInfo(mutex, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                       &dacl, nullptr, &descriptor);
  CloseHandle(mutex);
  if (status != ERROR_SUCCESS) return DaclInfo();
  return ReadDacl(descriptor, dacl);
}

#else

struct ModeAndGroup {
  bool read = false;
  unsigned mode = 0;  // the permission bits
  gid_t group = 0;
};

inline ModeAndGroup FileModeAndGroup(const std::filesystem::path& file) {
  struct stat info {};
  if (::stat(file.c_str(), &info) != 0) return ModeAndGroup();
  return {true, static_cast<unsigned>(info.st_mode & 07777), info.st_gid};
}

// The id of the group `name`, or -1 when this machine has none of that name.
inline long GroupId(const char* name) {
  const group* found = ::getgrnam(name);
  return found != nullptr ? static_cast<long>(found->gr_gid) : -1;
}

#endif

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_OBJECT_ACCESS_PROBE_H
