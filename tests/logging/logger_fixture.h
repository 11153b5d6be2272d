// A logger test with its own configuration file and log folder, no singletons left over from
// other tests, fresh once-flags, and the event log recorded instead of written.
#ifndef TAVROMEDIVANEUTIL_TESTS_LOGGING_LOGGER_FIXTURE_H
#define TAVROMEDIVANEUTIL_TESTS_LOGGING_LOGGER_FIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Logger.h"
#include "logging/event_log_report.h"
#include "logging/logger_internals.h"
#include "logging/logger_settings.h"
#include "logging/singleton_manager.h"
#include "support/config_file.h"
#include "support/environment.h"
#include "support/file_times.h"
#include "support/log_lines.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {

class LoggerTestPeer {
 public:
  static int DefaultLevel(const Logger& l) { return l.DefaultLevel.load(); }
  static int SysDefaultLevel(const Logger& l) { return l.CurrentSettings()->SysDefaultLevel; }
  static bool WriteErrorsToEventLog(const Logger& l) { return l.CurrentSettings()->WriteErrorsToEventLog; }
  static unsigned long long FreeSpaceMinimum(const Logger& l) {
    return l.CurrentSettings()->FreeSpaceMinimum;
  }
  static std::wstring LogFileLocation(const Logger& l) { return l.CurrentSettings()->LogFileLocation; }
  static std::wstring CurrentPath(const Logger& l) { return l.mLogFilePath; }
  static void WriteToLog(Logger& l, const wchar_t* area, int level, const wchar_t* message) {
    l.WriteToLog(area, level, message, nullptr, L".\\t.cpp", 1);
  }
  static std::vector<std::wstring> Areas(const Logger& l) {
    std::vector<std::wstring> names;
    for (const auto& area : l.mDebugAreas) names.push_back(area.name);
    return names;
  }
};

namespace testing {

using Settings = std::map<std::wstring, std::wstring>;

class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SingletonManager::Instance().DeleteAll();
    ResetLoggerProcessStateForTesting();
    std::filesystem::create_directories(mDir.path() / "Bin");
  }
  void TearDown() override { SingletonManager::Instance().DeleteAll(); }

  // Every logging key, so that no read fails unless a test leaves one out on purpose: the log
  // goes to <dir>/logs/test.log, free space is never short.
  Settings Defaults() const {
    return {{L"MaxLogFileBackups", L"5"},
            {L"MaxLogFileSize", L"1000000"},
            {L"LogFileLocation", LogDirectory().wstring()},
            {L"DefaultLevel", L"DEBUG"},
            {L"SysDefaultLevel", L"FATAL"},
            {L"LogFileName", L"test.log"},
            {L"FreeSpaceMinimum", L"0"},
            {L"ThresholdExceeded", L"deleteOld"},
            {L"FormatString", L"%L %A %m"},
            {L"WriteErrorsToEventLog", L"false"},
            {L"DebugAreas", L"NoSuchArea"}};
  }

  // Writes the configuration: the defaults with `changes` (an empty value removes the key).
  void WriteConfig(const Settings& changes = {}) {
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
      text += L"/Tavro/MedivaneSDK/Logging/" + key + L"=" + value + L"\r\n";
    const auto file = mDir.path() / "Bin" / "TavroMedivane.cfg";
    const bool existed = std::filesystem::exists(file);
    WriteBytes(file, Utf16LeBytes(text));
    // A rewrite must read as a change even within the file system's time resolution.
    if (existed) ShiftLastWrite(file, std::chrono::seconds(2) * (++mRewrites));
  }

  Logger& TheLogger() {
    Logger* logger = Logger::GetInstance();
    EXPECT_NE(logger, nullptr);
    return *logger;
  }

  std::filesystem::path LogDirectory() const { return mDir.path() / "logs"; }
  std::filesystem::path LogFile() const { return LogDirectory() / "test.log"; }

  // The log's lines without their CR LF; the byte-order mark is checked separately.
  static std::vector<std::wstring> Lines(const std::filesystem::path& file) { return ReadLogLines(file); }
  std::vector<std::wstring> Lines() const { return Lines(LogFile()); }

  std::vector<std::wstring> EventMessages() const { return mEvents.Messages(); }

  TempDir mDir;
  ScopedEnvironmentVariable mInstallDir{"KVO_INSTALL_DIR", mDir.path().string()};
  internal::EventLogRecorderForTesting mEvents;
  int mRewrites = 0;
};

}  // namespace testing
}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_TESTS_LOGGING_LOGGER_FIXTURE_H
