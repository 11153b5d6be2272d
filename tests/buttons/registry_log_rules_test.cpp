// How the registries' failures reach the log: area "BN", level ERROR, the registry's own source
// file and the line of the call, and only when the logger says that ERROR in "BN" is loggable.
#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"
#include "buttons/button_log_fixture.h"
#include "buttons/button_records.h"
#include "buttons/button_registry_test_peer.h"
#include "foundation/lock_probe.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::ButtonLogTest;
using testing::RecordingLock;
using testing::ScopedLockSwap;
using testing::Window;

using RegistryLogRules = ButtonLogTest;

// "<prefix><line number> <message>" with a positive line number.
bool IsLineWithSourceLocation(const std::wstring& line, const std::wstring& prefix,
                              const std::wstring& message) {
  if (line.compare(0, prefix.size(), prefix) != 0) return false;
  std::size_t at = prefix.size();
  const std::size_t digits = at;
  while (at < line.size() && std::iswdigit(line[at])) ++at;
  if (at == digits || line[digits] == L'0') return false;
  return line.substr(at) == L" " + message;
}

TEST_F(RegistryLogRules, WindowRegistryNamesItsSourceFileAndALine) {
  WriteConfig({{L"FormatString", L"%L %A %f %l %m"}});
  ButtonActionInfoList registry;
  RecordingLock refusing(false);
  ScopedLockSwap<ButtonActionInfoList> swap(registry, refusing);
  EXPECT_FALSE(registry.Remove(Window(1), Button(1)));
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(IsLineWithSourceLocation(lines[0], L"E BN .\\ButtonActionInfoList.cpp ",
                                       L"ButtonActionInfoList::Remove - could not get critical section lock"))
      << ::testing::PrintToString(lines[0]);
}

TEST_F(RegistryLogRules, PidRegistryNamesItsSourceFileAndALine) {
  WriteConfig({{L"FormatString", L"%L %A %f %l %m"}});
  ButtonActionInfoPidList registry;
  RecordingLock refusing(false);
  ScopedLockSwap<ButtonActionInfoPidList> swap(registry, refusing);
  EXPECT_FALSE(registry.Remove(1, Button(1)));
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(
      IsLineWithSourceLocation(lines[0], L"E BN .\\ButtonActionInfoPidList.cpp ",
                               L"ButtonActionInfoPidList::Remove - could not get critical section lock"))
      << ::testing::PrintToString(lines[0]);
}

TEST_F(RegistryLogRules, NothingIsWrittenWhenErrorsAreBelowTheThreshold) {
  WriteConfig({{L"DefaultLevel", L"FATAL"}});
  ButtonActionInfoList registry;
  RecordingLock refusing(false);
  ScopedLockSwap<ButtonActionInfoList> swap(registry, refusing);
  EXPECT_FALSE(registry.Remove(Window(1), Button(1)));
  EXPECT_TRUE(Lines().empty());
}

TEST_F(RegistryLogRules, TheAreaBNAsADebugAreaIsWrittenAboveTheThreshold) {
  WriteConfig({{L"DefaultLevel", L"FATAL"}, {L"DebugAreas", L"Config,BN"}});
  ButtonActionInfoPidList registry;
  RecordingLock refusing(false);
  ScopedLockSwap<ButtonActionInfoPidList> swap(registry, refusing);
  EXPECT_FALSE(registry.Remove(1, Button(1)));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoPidList::Remove - could not get critical section lock"));
}

}  // namespace
}  // namespace Tavro_KVO_Util
