// Tests of `mvutil log` and `mvutil tail`: a configuration file and log folder shared by every
// test of the program, and a log file of each test's own.
//
// The logger fixes its folder for the life of the process once it has read it, and its private
// configuration store keeps the file it found first. So the tests that log share one folder, made
// once per process with KVO_INSTALL_DIR pointing at it, and each test names its own log file in
// the configuration, which the logger re-reads whenever the file changes.
#ifndef TAVROMEDIVANEUTIL_TESTS_TOOLS_MVUTIL_LOG_FIXTURE_H
#define TAVROMEDIVANEUTIL_TESTS_TOOLS_MVUTIL_LOG_FIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Logger.h"
#include "command.h"
#include "support/config_file.h"
#include "support/environment.h"
#include "support/file_times.h"
#include "support/log_lines.h"
#include "tail_command.h"

namespace mvutil::testing {

namespace support = Tavro_KVO_Util::testing;

// The folder every test of the process logs into; removed when the process ends.
class SharedLogFolder {
 public:
  static SharedLogFolder& Get() {
    static SharedLogFolder folder;
    return folder;
  }
  const std::filesystem::path& Root() const { return mRoot; }

  // Each rewrite of the shared configuration must read as a change to the stores that saw the
  // one before, also within the file system's time resolution: every rewrite moves the file's
  // time further ahead than the last.
  void NoteRewrite(const std::filesystem::path& file) {
    support::ShiftLastWrite(file, std::chrono::seconds(2) * (++mRewrites));
  }

 private:
  SharedLogFolder()
      : mRoot(std::filesystem::temp_directory_path() /
              ("tavro-mvutil-log-" + std::to_string(std::random_device()()))),
        mInstallDir("KVO_INSTALL_DIR", mRoot.string()) {
    std::filesystem::create_directories(mRoot / "Bin");
    std::filesystem::create_directories(mRoot / "logs");
  }
  ~SharedLogFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(mRoot, ignored);
  }

  std::filesystem::path mRoot;
  support::ScopedEnvironmentVariable mInstallDir;
  int mRewrites = 0;
};

struct Result {
  int code;
  std::string out;
  std::string err;
};

using Settings = std::map<std::wstring, std::wstring>;

class MvutilLogTest : public ::testing::Test {
 protected:
  void SetUp() override { WriteConfig(); }

  // Every logging key, so that the logger never falls back to an earlier test's value: entries
  // are "%L %A %m", free space is never short, and the log is this test's own file.
  static Settings Defaults() {
    return {{L"MaxLogFileBackups", L"5"},
            {L"MaxLogFileSize", L"1000000"},
            {L"LogFileLocation", (SharedLogFolder::Get().Root() / "logs").wstring()},
            {L"DefaultLevel", L"DEBUG"},
            {L"SysDefaultLevel", L"FATAL"},
            {L"LogFileName", LogFile().filename().wstring()},
            {L"FreeSpaceMinimum", L"0"},
            {L"ThresholdExceeded", L"deleteOld"},
            {L"FormatString", L"%L %A %m"},
            {L"WriteErrorsToEventLog", L"false"},
            {L"DebugAreas", L"NoSuchArea"}};
  }

  // Writes the configuration: the defaults with `changes` (an empty value removes the key).
  static void WriteConfig(const Settings& changes = {}) {
    Settings settings = Defaults();
    for (const auto& [key, value] : changes) {
      if (value.empty()) {
        settings.erase(key);
      } else {
        settings[key] = value;
      }
    }
    std::wstring text;
    for (const auto& [key, value] : settings)
      text.append(L"/Tavro/MedivaneSDK/Logging/").append(key).append(L"=").append(value).append(L"\r\n");
    const auto file = SharedLogFolder::Get().Root() / "Bin" / "TavroMedivane.cfg";
    support::WriteBytes(file, support::Utf16LeBytes(text));
    SharedLogFolder::Get().NoteRewrite(file);
  }

  // This test's log: <folder>/logs/<Suite>.<Test>.log.
  static std::filesystem::path LogFile() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    return SharedLogFolder::Get().Root() / "logs" /
           (std::string(info->test_suite_name()) + "." + info->name() + ".log");
  }
  static std::filesystem::path Backup(int number) {
    std::filesystem::path path = LogFile();
    path += "." + std::to_string(number);
    return path;
  }

  // Writes one entry through the library's logger, as a program would.
  static void Write(const wchar_t* area, int level, const std::wstring& message) {
    Tavro_KVO_Util::Logger* logger = Tavro_KVO_Util::Logger::GetInstance();
    ASSERT_NE(logger, nullptr);
    logger->Log(area, level, message.c_str(), L".\\test", 1);
  }

  // "entry 01" ... : two digits, so that the entries are all of one length.
  static std::wstring Numbered(int number) {
    return std::wstring(L"entry ") + (number < 10 ? L"0" : L"") + std::to_wstring(number);
  }

  // The log's bytes as lines, without the byte-order mark and CR LF.
  static std::vector<std::wstring> Lines(const std::filesystem::path& file) {
    return support::ReadLogLines(file);
  }

  // Runs `mvutil ARGS...` in-process.
  static Result Run(const Args& args) {
    return Capture([&](Io& io) { return mvutil::Run(args, io); });
  }

  // Runs `mvutil tail ARGS...` with follow options, for -f.
  static Result RunTailFollowing(const Args& args, const FollowOptions& follow) {
    return Capture([&](Io& io) { return RunTail(args, io, follow); });
  }

  template <typename Verb>
  static Result Capture(Verb verb) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    Io io{in, out, err};
    const int code = verb(io);
    return {code, out.str(), err.str()};
  }
};

}  // namespace mvutil::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_TOOLS_MVUTIL_LOG_FIXTURE_H
