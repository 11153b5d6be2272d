#include "platform/event_log.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/process_info.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
// clang-format off
#include <sddl.h>
// clang-format on
// <windows.h> turns ReportEvent into ReportEventW; the tests call the library's ReportEvent.
#undef ReportEvent
#else
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "platform/posix/syslog_socket.h"
#include "platform/posix/unique_fd.h"
#include "platform/utf8.h"
#include "support/temp_dir.h"
#endif

namespace Tavro_KVO_Util::platform {
namespace {

// A source of its own per test run, so that no real source's registration is touched.
std::wstring TestSource() { return L"TavroMedivaneUtil Test " + std::to_wstring(CurrentProcessId()); }

#ifdef _WIN32

const std::wstring kSourcesKey = L"SYSTEM\\CurrentControlSet\\Services\\Eventlog\\Application\\";

class EventLogRegistration : public ::testing::Test {
 protected:
  void SetUp() override { RegDeleteKeyW(HKEY_LOCAL_MACHINE, mKey.c_str()); }
  void TearDown() override { RegDeleteKeyW(HKEY_LOCAL_MACHINE, mKey.c_str()); }

  const std::wstring mSource = TestSource();
  const std::wstring mKey = kSourcesKey + mSource;
};

TEST_F(EventLogRegistration, ReportRegistersTheSourceWithTheModuleHoldingTheCode) {
  ASSERT_TRUE(ReportEvent(mSource, L"event log test: error", kEventError));

  // The test links the library's code into its own executable, so that is the message module.
  wchar_t program[MAX_PATH + 1] = {};
  ASSERT_NE(GetModuleFileNameW(/*hModule=*/nullptr, program, MAX_PATH), 0u);
  wchar_t messageFile[1024] = {};
  DWORD size = sizeof messageFile;
  ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, mKey.c_str(), L"EventMessageFile", RRF_RT_REG_SZ,
                         /*pdwType=*/nullptr, messageFile, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(messageFile), std::wstring(program));

  DWORD types = 0;
  size = sizeof types;
  ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, mKey.c_str(), L"TypesSupported", RRF_RT_REG_DWORD,
                         /*pdwType=*/nullptr, &types, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(types, 31u);
}

bool HasMessageFile(const std::wstring& key) {
  return RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"EventMessageFile", RRF_RT_REG_SZ, nullptr, nullptr,
                      nullptr) == ERROR_SUCCESS;
}

void DeleteMessageFile(const std::wstring& key) {
  ASSERT_EQ(RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"EventMessageFile"), ERROR_SUCCESS);
}

TEST_F(EventLogRegistration, ByDefaultEveryReportWritesTheValuesAgain) {
  ASSERT_TRUE(ReportEvent(mSource, L"first", kEventInformation));
  DeleteMessageFile(mKey);
  ASSERT_TRUE(ReportEvent(mSource, L"second", kEventInformation));
  EXPECT_TRUE(HasMessageFile(mKey));
}

TEST_F(EventLogRegistration, OncePerProcessRegistersTheSourceOnlyAtTheFirstReport) {
  ForgetSourceRegistrationsForTesting();
  ASSERT_TRUE(ReportEvent(mSource, L"first", kEventInformation, SourceRegistration::kOncePerProcess));
  EXPECT_TRUE(HasMessageFile(mKey));
  DeleteMessageFile(mKey);
  EXPECT_TRUE(ReportEvent(mSource, L"second", kEventInformation, SourceRegistration::kOncePerProcess));
  EXPECT_FALSE(HasMessageFile(mKey));
}

// While alive, the key can be read but not written, as HKLM is for a standard user: its DACL
// grants everyone KEY_READ and nothing more (its owner may still change the DACL back).
class ReadOnlyKey {
 public:
  explicit ReadOnlyKey(const std::wstring& key) : mKey(key) { mApplied = SetDacl(L"D:(A;;KR;;;WD)"); }
  ~ReadOnlyKey() { SetDacl(L"D:(A;;KA;;;WD)"); }
  ReadOnlyKey(const ReadOnlyKey&) = delete;
  ReadOnlyKey& operator=(const ReadOnlyKey&) = delete;
  bool Applied() const { return mApplied; }

 private:
  bool SetDacl(const wchar_t* sddl) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl, SDDL_REVISION_1, &descriptor, nullptr))
      return false;
    HKEY opened = nullptr;
    bool set = false;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, mKey.c_str(), 0, WRITE_DAC, &opened) == ERROR_SUCCESS) {
      set = RegSetKeySecurity(opened, DACL_SECURITY_INFORMATION, descriptor) == ERROR_SUCCESS;
      RegCloseKey(opened);
    }
    LocalFree(descriptor);
    return set;
  }

  std::wstring mKey;
  bool mApplied = false;
};

// A source the installer registered, in a key the program may not write: the default
// registration fails there and nothing is reported; once per process it only reads the key,
// finds the right values, and reports.
TEST_F(EventLogRegistration, OncePerProcessWritesNothingWhenTheKeyHoldsTheRightValues) {
  ASSERT_TRUE(ReportEvent(mSource, L"as an installer would have it", kEventInformation));
  const ReadOnlyKey readOnly(mKey);
  ASSERT_TRUE(readOnly.Applied());
  EXPECT_FALSE(ReportEvent(mSource, L"default", kEventInformation));
  ForgetSourceRegistrationsForTesting();  // a new process
  EXPECT_TRUE(ReportEvent(mSource, L"safe", kEventInformation, SourceRegistration::kOncePerProcess));
}

TEST_F(EventLogRegistration, OncePerProcessRewritesValuesThatAreWrong) {
  HKEY created = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, mKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &created, nullptr),
            ERROR_SUCCESS);
  const wchar_t old[] = L"C:\\Old\\TavroMedivaneUtil.dll";
  RegSetValueExW(created, L"EventMessageFile", 0, REG_SZ, reinterpret_cast<const BYTE*>(old), sizeof old);
  RegCloseKey(created);
  ForgetSourceRegistrationsForTesting();
  ASSERT_TRUE(ReportEvent(mSource, L"safe", kEventInformation, SourceRegistration::kOncePerProcess));
  wchar_t program[MAX_PATH + 1] = {};
  ASSERT_NE(GetModuleFileNameW(/*hModule=*/nullptr, program, MAX_PATH), 0u);
  wchar_t messageFile[1024] = {};
  DWORD size = sizeof messageFile;
  ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, mKey.c_str(), L"EventMessageFile", RRF_RT_REG_SZ, nullptr,
                         messageFile, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(messageFile), std::wstring(program));
}

TEST_F(EventLogRegistration, EveryEventTypeIsReported) {
  EXPECT_TRUE(ReportEvent(mSource, L"event log test: warning", kEventWarning));
  EXPECT_TRUE(ReportEvent(mSource, L"event log test: information", kEventInformation));
}

#else

// The syslog daemon's side of the socket: a socket bound in a private directory (a datagram
// socket, as daemons use, unless told otherwise), to which the event log is pointed while the
// object lives.
class SyslogListener {
 public:
  explicit SyslogListener(int type = SOCK_DGRAM)
      : mPath((mDir.path() / "log").string()), mSocket(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", mPath.c_str());
    EXPECT_EQ(::bind(mSocket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0)
        << std::strerror(errno);
    if (type == SOCK_STREAM) {
      EXPECT_EQ(::listen(mSocket.get(), 1), 0);
    }
    // A record that never comes fails the test instead of hanging it (also for accept).
    const timeval patience{5, 0};
    ::setsockopt(mSocket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  }

  // The next datagram, or "" when none came.
  std::string Receive() const { return ReadFrom(mSocket.get()); }

  // Everything the next stream connection sent, or "" when none came.
  std::string ReceiveStream() const {
    const UniqueFd connection(::accept(mSocket.get(), nullptr, nullptr));
    if (!connection) return std::string();
    std::string all;
    for (std::string piece; !(piece = ReadFrom(connection.get())).empty();) all += piece;
    return all;
  }

 private:
  static std::string ReadFrom(int fd) {
    char buffer[4096];
    const ssize_t size = ::recv(fd, buffer, sizeof buffer, 0);
    return size > 0 ? std::string(buffer, static_cast<std::size_t>(size)) : std::string();
  }

  testing::TempDir mDir;
  const std::string mPath;
  const UniqueFd mSocket;
  const SyslogSocketForTesting mRedirect{mPath};
};

// RFC 3164's time stamp, "Mmm dd hh:mm:ss" with a blank-padded day, in local time.
std::string SyslogTime(std::time_t when) {
  static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  struct tm local {};
  localtime_r(&when, &local);
  char text[32];
  std::snprintf(text, sizeof text, "%s %2d %02d:%02d:%02d", kMonths[local.tm_mon], local.tm_mday,
                local.tm_hour, local.tm_min, local.tm_sec);
  return text;
}

// Reports one event and returns the record the daemon received, with its time stamp replaced by
// "TIME" once checked against the clock around the call.
std::string ReportAndReceive(const SyslogListener& listener, const std::wstring& message,
                             unsigned short eventType, const std::wstring& source = TestSource()) {
  const std::time_t before = std::time(nullptr);
  EXPECT_TRUE(ReportEvent(source, message, eventType));
  const std::time_t after = std::time(nullptr);
  std::string record = listener.Receive();
  const std::size_t stamp = record.find('>') + 1;
  if (stamp == 0 || record.size() < stamp + 15) return record;
  const std::string time = record.substr(stamp, 15);
  EXPECT_TRUE(time == SyslogTime(before) || time == SyslogTime(after)) << record;
  return record.replace(stamp, 15, "TIME");
}

// The ident as syslog(3) writes it with LOG_PID.
std::string Ident() { return WideToUtf8(TestSource()) + "[" + std::to_string(::getpid()) + "]"; }

// Linux: each record is the one syslog(3) sends with LOG_PID and facility user (8), that is
// "<8 + priority>TIME IDENT[PID]: TEXT".
TEST(EventLog, ErrorReachesSyslogAsOneRecordWithPriorityErr) {
  const SyslogListener listener;
  EXPECT_EQ(ReportAndReceive(listener, L"event log test: error", kEventError),
            "<11>TIME " + Ident() + ": event log test: error");
}

TEST(EventLog, WarningReachesSyslogWithPriorityWarning) {
  const SyslogListener listener;
  EXPECT_EQ(ReportAndReceive(listener, L"event log test: warning", kEventWarning),
            "<12>TIME " + Ident() + ": event log test: warning");
}

TEST(EventLog, InformationReachesSyslogWithPriorityInfo) {
  const SyslogListener listener;
  EXPECT_EQ(ReportAndReceive(listener, L"event log test: information", kEventInformation),
            "<14>TIME " + Ident() + ": event log test: information");
}

TEST(EventLog, SourceAndMessageAreSentAsUtf8) {
  const SyslogListener listener;
  EXPECT_EQ(ReportAndReceive(listener, L"caf\u00E9 \u20AC", kEventError, L"Tavro\u00AE Korvina"),
            "<11>TIME Tavro\xC2\xAE Korvina[" + std::to_string(::getpid()) + "]: caf\xC3\xA9 \xE2\x82\xAC");
}

TEST(EventLog, DaemonOnAStreamSocketGetsTheRecordEndedByANul) {
  const SyslogListener listener(SOCK_STREAM);
  EXPECT_TRUE(ReportEvent(TestSource(), L"event log test: stream", kEventWarning));
  const std::string record = listener.ReceiveStream();
  const std::string tail = " " + Ident() + ": event log test: stream" + std::string(1, '\0');
  ASSERT_GT(record.size(), tail.size()) << record;
  EXPECT_EQ(record.substr(0, 4), "<12>");
  EXPECT_EQ(record.substr(record.size() - tail.size()), tail);
}

TEST(EventLog, ReportFailsWhenNoDaemonListens) {
  testing::TempDir dir;
  const SyslogSocketForTesting redirect((dir.path() / "nobody").string());
  EXPECT_FALSE(ReportEvent(TestSource(), L"event log test: lost", kEventError));
}

#endif

}  // namespace
}  // namespace Tavro_KVO_Util::platform
