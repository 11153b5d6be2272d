#include "platform/process_info.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <unistd.h>
#endif

namespace Tavro_KVO_Util::platform {
namespace {

#ifdef _WIN32
constexpr wchar_t kProgramTail[] = L"\\platform_test.exe";
#else
constexpr wchar_t kProgramTail[] = L"/platform_test";
#endif

bool EndsWith(const std::wstring& text, const std::wstring& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

TEST(ProcessInfo, ProcessIdIsTheSystemsId) {
#ifdef _WIN32
  EXPECT_EQ(CurrentProcessId(), GetCurrentProcessId());
#else
  EXPECT_EQ(CurrentProcessId(), static_cast<std::uint32_t>(::getpid()));
#endif
}

TEST(ProcessInfo, ThreadIdIsTheSystemsIdAndDiffersBetweenThreads) {
  const long mine = CurrentThreadId();
#ifdef _WIN32
  EXPECT_EQ(mine, static_cast<long>(GetCurrentThreadId()));
#else
  // The tests run on the main thread, whose kernel thread id is the process id.
  EXPECT_EQ(mine, static_cast<long>(::getpid()));
#endif
  long other = mine;
  std::thread([&] { other = CurrentThreadId(); }).join();
  EXPECT_NE(other, mine);
  EXPECT_GT(other, 0);
}

TEST(ProcessInfo, SessionIdIsReadable) {
  std::uint32_t session = 0xFFFFFFFFu;
  ASSERT_TRUE(CurrentSessionId(session));
#ifdef _WIN32
  DWORD expected = 0;
  ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &expected));
  EXPECT_EQ(session, expected);
#else
  EXPECT_EQ(session, static_cast<std::uint32_t>(::getsid(0)));
#endif
}

TEST(ProcessInfo, ProcessPathIsTheFullPathOfTheTestProgram) {
  std::wstring path;
  ASSERT_EQ(CurrentProcessPath(path), ProcessPathResult::kFound);
  EXPECT_TRUE(EndsWith(path, kProgramTail)) << std::string(path.begin(), path.end());
#ifdef _WIN32
  ASSERT_GE(path.size(), 3u);
  EXPECT_EQ(path.substr(1, 2), L":\\");
#else
  EXPECT_EQ(path.front(), L'/');
#endif
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
