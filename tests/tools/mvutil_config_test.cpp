#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "command.h"
#include "support/config_file.h"
#include "support/temp_dir.h"

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#else
#include <sys/resource.h>

#include <csignal>
#endif

namespace mvutil {
namespace {

using Tavro_KVO_Util::testing::TempDir;
namespace support = Tavro_KVO_Util::testing;

struct Result {
  int code;
  std::string out;
  std::string err;
};

// While alive, `file` can be read but not written, also by root or an administrator, whom
// read-only permissions do not stop.
#ifdef _WIN32
// The file is held open by a handle that shares reading only, as another program that has it open
// would.
class WritesRefused {
 public:
  explicit WritesRefused(const std::filesystem::path& file)
      : mHandle(CreateFileW(file.wstring().c_str(), GENERIC_READ, FILE_SHARE_READ,
                            /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                            /*hTemplateFile=*/nullptr)) {
    EXPECT_NE(mHandle, INVALID_HANDLE_VALUE) << GetLastError();
  }
  ~WritesRefused() {
    if (mHandle != INVALID_HANDLE_VALUE) CloseHandle(mHandle);
  }
  WritesRefused(const WritesRefused&) = delete;
  WritesRefused& operator=(const WritesRefused&) = delete;

 private:
  const HANDLE mHandle;
};
#else
// Linux has no share modes: instead the process may not grow any file past 16 bytes
// (RLIMIT_FSIZE binds root too), as on a full disk. The write then fails with EFBIG; the signal
// that would otherwise end the process is ignored meanwhile.
class WritesRefused {
 public:
  explicit WritesRefused(const std::filesystem::path& /*file*/) : mOldSignal(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &mOldLimit), 0);
    const rlimit small{16, mOldLimit.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  }
  ~WritesRefused() {
    setrlimit(RLIMIT_FSIZE, &mOldLimit);
    std::signal(SIGXFSZ, mOldSignal);
  }
  WritesRefused(const WritesRefused&) = delete;
  WritesRefused& operator=(const WritesRefused&) = delete;

 private:
  rlimit mOldLimit{};
  void (*const mOldSignal)(int);
};
#endif

class MvutilConfig : public ::testing::Test {
 protected:
  void SetUp() override {
    support::WriteBytes(
        File(), support::Utf16LeBytes(L"// sample\r\n"
                                      L"/Tavro/MedivaneSDK/Logging/DefaultLevel=INFO\r\n"
                                      L"/Tavro/MedivaneSDK/Logging/MaxLogFileBackups = 5 // backups\r\n"
                                      L"/Tavro/Buttons[0]/Name=Scan\r\n"
                                      L"/Tavro/Buttons[2]/Name=Call\r\n"
                                      L"/Tavro/Buttons[1]/Name=Light\r\n"
                                      L"/Tavro/Ward=caf\u00E9"));
  }

  std::string File() const { return (mDir.path() / "TavroMedivane.cfg").u8string(); }

  Result Run(Args args) const {
    args.insert(args.begin(), "config");
    args.push_back("--file");
    args.push_back(File());
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    Io io{in, out, err};
    const int code = mvutil::Run(args, io);
    return {code, out.str(), err.str()};
  }

  TempDir mDir;
};

TEST_F(MvutilConfig, GetPrintsTheValue) {
  const Result result = Run({"get", "/Tavro/MedivaneSDK/Logging/MaxLogFileBackups"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "5\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilConfig, GetPrintsNonAsciiValuesAsUtf8) {
  EXPECT_EQ(Run({"get", "/Tavro/Ward"}).out, "caf\xC3\xA9\n");
}

TEST_F(MvutilConfig, GetOfMissingKeySaysNotFoundWithExitCodeOne) {
  const Result result = Run({"get", "/No/Such/Key"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "mvutil config get: /No/Such/Key: not found\n");
}

TEST_F(MvutilConfig, SetRewritesTheFileAndGetSeesTheNewValue) {
  EXPECT_EQ(Run({"set", "/Tavro/MedivaneSDK/Logging/DefaultLevel", "DEBUG"}).code, 0);
  EXPECT_EQ(Run({"get", "/Tavro/MedivaneSDK/Logging/DefaultLevel"}).out, "DEBUG\n");
  EXPECT_EQ(support::ReadBytes(File()),
            support::Utf16LeBytes(L"// sample\r\n"
                                  L"/Tavro/MedivaneSDK/Logging/DefaultLevel=DEBUG\r\n"
                                  L"/Tavro/MedivaneSDK/Logging/MaxLogFileBackups=5\r\n"
                                  L"/Tavro/Buttons[0]/Name=Scan\r\n"
                                  L"/Tavro/Buttons[2]/Name=Call\r\n"
                                  L"/Tavro/Buttons[1]/Name=Light\r\n"
                                  L"/Tavro/Ward=caf\u00E9"));
}

TEST_F(MvutilConfig, SetWithEmptyKeyIsAUsageError) {
  const Result result = Run({"set", "", "x"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil config set: KEY must not be empty\n");
}

TEST_F(MvutilConfig, SetThatCannotBeWrittenFailsWithExitCodeFour) {
  Result result;
  {
    const WritesRefused refused(std::filesystem::u8path(File()));
    result = Run({"set", "/Tavro/Ward", "other"});
  }
  EXPECT_EQ(result.code, 4);
  EXPECT_EQ(result.err, "mvutil config set: " + File() + ": the change could not be written (status -21)\n");
}

TEST_F(MvutilConfig, SectionPrintsPairsInKeyOrder) {
  const Result result = Run({"section", "/Tavro/Buttons"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "/Tavro/Buttons[0]/Name=Scan\n/Tavro/Buttons[1]/Name=Light\n/Tavro/Buttons[2]/Name=Call\n");
}

TEST_F(MvutilConfig, SectionWithShortKeysPrintsLastComponents) {
  const Result result = Run({"section", "/Tavro/MedivaneSDK/Logging/", "--short"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "DefaultLevel=INFO\nMaxLogFileBackups=5\n");
}

TEST_F(MvutilConfig, UnknownSectionSaysSoWithExitCodeOne) {
  const Result result = Run({"section", "/Nothing"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "mvutil config section: /Nothing: no key starts with it\n");
}

TEST_F(MvutilConfig, MatchPrintsKeysWhoseLastComponentStartsWithName) {
  const Result result = Run({"match", "/Tavro/MedivaneSDK", "Max"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "/Tavro/MedivaneSDK/Logging/MaxLogFileBackups=5\n");
  EXPECT_EQ(Run({"match", "/Tavro/MedivaneSDK", "Zzz"}).code, 1);
}

TEST_F(MvutilConfig, IndicesPrintsArrayIndicesInKeyOrder) {
  const Result result = Run({"indices", "/Tavro/Buttons"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "0\n1\n2\n");
}

TEST_F(MvutilConfig, IndicesRefusesAKeyThatWouldNeverReturn) {
  support::WriteBytes(File(), "/A[0]/x=1\n/A[x]=2\n");
  const Result result = Run({"indices", "/A"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err,
            "mvutil config indices: /A[x] has no valid index (a negative or non-numeric index); fix that "
            "key first\n");
}

TEST_F(MvutilConfig, DumpPrintsTheEffectiveMapInKeyOrder) {
  const Result result = Run({"dump"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "/Tavro/Buttons[0]/Name=Scan\n/Tavro/Buttons[1]/Name=Light\n/Tavro/Buttons[2]/Name=Call\n"
            "/Tavro/MedivaneSDK/Logging/DefaultLevel=INFO\n/Tavro/MedivaneSDK/Logging/MaxLogFileBackups=5\n"
            "/Tavro/Ward=caf\xC3\xA9\n");
}

TEST_F(MvutilConfig, Utf8FileIsRefusedWithExitCodeThree) {
  support::WriteBytes(File(), "\xEF\xBB\xBFk=v\n");
  const Result result = Run({"get", "k"});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.err,
            "mvutil config: " + File() +
                " is UTF-8 with a byte-order mark, which the store refuses; save it as UTF-16 or 8-bit "
                "text\n");
}

TEST_F(MvutilConfig, MissingFileIsReportedWithExitCodeThree) {
  std::filesystem::remove(std::filesystem::u8path(File()));
  const Result result = Run({"dump"});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.err, "mvutil config: " + File() + ": cannot open the file\n");
}

TEST_F(MvutilConfig, WrongArgumentsAreUsageErrors) {
  EXPECT_EQ(Run({"get"}).code, 2);
  EXPECT_EQ(Run({"get"}).err, "mvutil config get: usage: mvutil config get KEY\n");
  EXPECT_EQ(Run({"frob"}).err, "mvutil config: unknown verb 'frob'; see 'mvutil config --help'\n");
  EXPECT_EQ(Run({"get", "k", "--short"}).err, "mvutil config get: --short belongs to 'section'\n");
  EXPECT_EQ(Run({"indices", ""}).code, 2);
}

}  // namespace
}  // namespace mvutil
