// The DACL the safe profile gives the log lock and new log files, read straight from the
// descriptor the library hands to CreateFileW and SetSecurityInfo: Wine keeps no DACL of a file,
// so this is where the file's entries are checked under Wine.
#include "platform/win32/restricted_dacl.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/object_access.h"
#include "support/object_access_probe.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::vector<testing::AccessEntry> Entries(RestrictedDacl& dacl) {
  // ReadDacl frees the descriptor it is given: hand it a copy of ours in its own allocation.
  SECURITY_DESCRIPTOR* copy =
      static_cast<SECURITY_DESCRIPTOR*>(LocalAlloc(LPTR, sizeof(SECURITY_DESCRIPTOR)));
  *copy = *static_cast<SECURITY_DESCRIPTOR*>(dacl.Attributes()->lpSecurityDescriptor);
  return testing::ReadDacl(copy, dacl.Acl()).allowed;
}

TEST(RestrictedDacl, FileAccessIsFullForSystemAndAdministratorsAndReadWriteDeleteForUsers) {
  RestrictedDacl dacl(L"", FILE_ALL_ACCESS, FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE);
  ASSERT_TRUE(dacl.Valid()) << dacl.Error();
  EXPECT_EQ(Entries(dacl), (std::vector<testing::AccessEntry>{{testing::kSystemSid, 0x1F01FF},
                                                              {testing::kAdministratorsSid, 0x1F01FF},
                                                              {testing::kUsersSid, 0x13019F}}));
}

TEST(RestrictedDacl, TheDescriptorIsProtectedFromInheritanceAndNotInheritedByChildProcesses) {
  RestrictedDacl dacl(L"", FILE_ALL_ACCESS, FILE_GENERIC_READ);
  ASSERT_TRUE(dacl.Valid());
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  ASSERT_TRUE(GetSecurityDescriptorControl(dacl.Attributes()->lpSecurityDescriptor, &control, &revision));
  EXPECT_EQ(control & (SE_DACL_PRESENT | SE_DACL_PROTECTED), SE_DACL_PRESENT | SE_DACL_PROTECTED);
  EXPECT_FALSE(dacl.Attributes()->bInheritHandle);
}

TEST(RestrictedDacl, ANamedGroupTakesTheDefaultGroupsPlace) {
  RestrictedDacl dacl(L"Guests", MUTEX_ALL_ACCESS, SYNCHRONIZE | MUTEX_MODIFY_STATE);
  ASSERT_TRUE(dacl.Valid()) << dacl.Error();
  EXPECT_EQ(Entries(dacl), (std::vector<testing::AccessEntry>{{testing::kSystemSid, 0x1F0001},
                                                              {testing::kAdministratorsSid, 0x1F0001},
                                                              {L"S-1-5-32-546", 0x100001}}));
}

TEST(RestrictedDacl, AGroupTheMachineDoesNotKnowGivesNoDacl) {
  RestrictedDacl dacl(L"NoSuchGroupOnThisTablet", FILE_ALL_ACCESS, FILE_GENERIC_READ);
  EXPECT_FALSE(dacl.Valid());
  EXPECT_EQ(dacl.Error(), static_cast<DWORD>(ERROR_NONE_MAPPED));
  EXPECT_FALSE(IsKnownGroup(L"NoSuchGroupOnThisTablet"));
  EXPECT_TRUE(IsKnownGroup(L""));
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
