// Logger: the singleton, its settings from the configuration file, and the write rule.
#include "Logger.h"

#include <chrono>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "Config.h"
#include "OsAutoLock.h"
#include "config/safe_profile.h"
#include "logging/event_log_report.h"
#include "logging/log_access.h"
#include "logging/log_levels.h"
#include "logging/logger_process_state.h"
#include "logging/logger_settings.h"
#include "logging/singleton_manager.h"
#include "platform/event_log.h"

namespace Tavro_KVO_Util {

using namespace internal;

Logger* Logger::mInstance = nullptr;

namespace {

constexpr wchar_t kKeyPrefix[] = L"/Tavro/MedivaneSDK/Logging/";
constexpr wchar_t kDefaultLogFileName[] = L"KVO.log";

// One flag for every settings-read failure: only the first in the life of the process reaches
// the event log, or a missing configuration file would flood it on every log call.
void ReportSettingsError(const wchar_t* message) {
  ReportOnce(ProcessState().settingsErrorReported, message);
}

std::wstring Key(const wchar_t* name) { return std::wstring(kKeyPrefix) + name; }

// Reads a text setting of at most `maxLength` characters through the store's buffer getter.
bool ReadText(Config& config, const wchar_t* name, int maxLength, std::wstring& value) {
  std::vector<wchar_t> buffer(static_cast<std::size_t>(maxLength) + 2, L'\0');
  int size = maxLength;
  if (config.GetParameter(Key(name), buffer.data(), &size) != CFG_SUCCESS) return false;
  value.assign(buffer.data());
  return true;
}

// At most the first 260 characters: the location and name buffers hold 261 with the terminator.
std::wstring Limited260(const std::wstring& text) { return text.substr(0, 260); }

// Leading decimal digits as an unsigned 64-bit number; no digits give 0.
unsigned long long LeadingDigits(const std::wstring& text) {
  unsigned long long value = 0;
  for (const wchar_t c : text) {
    if (c < L'0' || c > L'9') break;
    value = value * 10 + static_cast<unsigned long long>(c - L'0');
  }
  return value;
}

}  // namespace

Logger* Logger::GetInstance() {
  if (mInstance == nullptr) {
    mInstance = new (std::nothrow) Logger();
    SingletonManager::Instance().mLogger = mInstance;
  }
  return mInstance;
}

Logger::Logger()
    : mSettings(std::make_shared<const Settings>()),
      DefaultLevel(kLevelDebug),
      mLogFilePath{},
      mConfig(nullptr),
      mConfigMissedAtMs(0),
      mSafeProfileFromEnvironment(internal::SafeProfileInEnvironment()) {
  if (mSafeProfileFromEnvironment) {
    // Narrowed from the start, also when no configuration file can be read (the default group).
    auto settings = std::make_shared<Settings>();
    settings->Access = LogAccessFor(true, std::wstring());
    RestrictLogLock(settings->Access);
    mSettings = std::move(settings);
  }
  if (!GetConfig(false))
    ReportToEventLog(L"Error getting Config using the default parameters", platform::kEventError);
  if (!makenewdir(CurrentSettings()->LogFileLocation.c_str()))
    ReportToEventLog(L"Error creating logging directory path", platform::kEventError);
  GetLogFileName();
}

Logger::~Logger() {
  ClearAreaList();
  delete mConfig;
  if (mInstance == this) mInstance = nullptr;
}

bool Logger::GetConfig(bool force) {
  OsAutoLock lock(&mCritSect);
  bool madeNow = false;
  if (mConfig == nullptr) {
    // The store reads its file as it is made: in the safe profile, once.
    std::optional<internal::SingleOpenAttempt> once;
    if (mSafeProfileFromEnvironment) once.emplace();
    // Logging and writing off: the logger's own store must never log into the logger.
    mConfig = new (std::nothrow) Config(/*logging=*/false, /*writable=*/false);
    if (mConfig == nullptr) return false;
    madeNow = true;
  }
  if (mSafeProfileFromEnvironment || mSettings->SafeProfile) {
    if (!ReloadAtMostOnceASecond()) return true;  // keep the settings we have
  } else if (mConfig->Reload(false) != CFG_SUCCESS) {
    return true;  // keep the settings we have
  }
  if (!force && !madeNow && !mConfig->WasReloaded()) return true;
  try {
    // A new value, so that entries still working from the old one keep it intact.
    auto next = std::make_shared<Settings>(*mSettings);
    ReadSettings(*next);
    mSettings = std::move(next);
  } catch (const std::bad_alloc&) {
    // Out of memory: the settings we have stay in force until the next change is read.
  }
  return true;
}

// The safe profile: a configuration file that cannot be read is looked for once, without the
// store's five attempts 200 ms apart, and not again for a second; the calls in between keep the
// settings they have and do not wait.
bool Logger::ReloadAtMostOnceASecond() {
  const long long now = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::steady_clock::now().time_since_epoch())
                            .count();
  const long long missed = mConfigMissedAtMs.load();
  if (missed != 0 && now - missed < 1000) return false;
  const internal::SingleOpenAttempt once;
  if (mConfig->Reload(false) != CFG_SUCCESS) {
    mConfigMissedAtMs.store(now == 0 ? 1 : now);
    return false;
  }
  mConfigMissedAtMs.store(0);
  return true;
}

Logger::SettingsView Logger::CurrentSettings() const {
  OsAutoLock lock(&mCritSect);
  return mSettings;
}

void Logger::KeepDefaultLogFileName() {
  OsAutoLock lock(&mCritSect);
  if (!mSettings->LogFileName.empty()) return;
  auto next = std::make_shared<Settings>(*mSettings);
  next->LogFileName = kDefaultLogFileName;
  mSettings = std::move(next);
}

void Logger::ReadSettings(Settings& settings) {
  Config& config = *mConfig;
  long number = 0;
  if (config.GetParameter(Key(L"MaxLogFileBackups"), number) == CFG_SUCCESS) {
    settings.MaxLogFileBackups = number;
  } else {
    ReportSettingsError(L"Error getting maximum log files from Configuration");
  }
  if (config.GetParameter(Key(L"MaxLogFileSize"), number) == CFG_SUCCESS) {
    settings.MaxLogFileSize = number;
  } else {
    ReportSettingsError(L"Error getting maximum log file size from Configuration");
  }

  std::wstring text;
  if (ReadText(config, L"LogFileLocation", 261, text)) {
    if (settings.LogFileLocation.empty()) {
      settings.LogFileLocation = Limited260(text);
    } else if (settings.LogFileLocation != Limited260(text)) {
      // Reported at every reload that sees the difference, not under the once-flag.
      ReportToEventLog(L"LogFileLocation change does not affect a running program.",
                       platform::kEventInformation);
    }
  } else {
    ReportSettingsError(L"Error getting log file location from Configuration");
  }

  if (ReadText(config, L"DefaultLevel", 10, text)) {
    // "REPORT" counts as "ERROR": callers have always configured it that way.
    if (text == L"DEBUG")
      DefaultLevel = kLevelDebug;
    else if (text == L"INFO")
      DefaultLevel = kLevelInfo;
    else if (text == L"WARN")
      DefaultLevel = kLevelWarn;
    else if (text == L"ERROR" || text == L"REPORT")
      DefaultLevel = kLevelError;
    else if (text == L"FATAL")
      DefaultLevel = kLevelFatal;
  } else {
    ReportSettingsError(L"Error getting default logging level from Configuration");
  }

  GetEventLogSetting(settings);

  if (ReadText(config, L"LogFileName", 261, text)) {
    settings.LogFileName = Limited260(text);
  } else {
    settings.LogFileName.clear();
    ReportSettingsError(L"Error getting log file name from Configuration");
  }

  if (ReadText(config, L"FreeSpaceMinimum", 20, text)) {
    settings.FreeSpaceMinimum = LeadingDigits(text);
  } else {
    ReportSettingsError(L"Error getting free space minimum from Configuration");
  }

  if (ReadText(config, L"ThresholdExceeded", 15, text)) {
    if (text == L"pauseLogging")
      settings.pauseLogging = true;
    else if (text == L"deleteOld")
      settings.pauseLogging = false;
  } else {
    // The misspelling is the text support has always searched for; keep it.
    ReportSettingsError(
        L"Error getting treshold exceeded parameter (pauseLogging or deleteOld) from Configuration");
  }

  std::wstring format;
  if (config.GetParameter(Key(L"FormatString"), format) == CFG_SUCCESS) {
    settings.FormatString = format;
  } else {
    ReportSettingsError(L"Error getting FormatString from Configuration");
  }

  if (ReadText(config, L"WriteErrorsToEventLog", 10, text)) {
    settings.WriteErrorsToEventLog = text == L"true";
  } else {
    ReportSettingsError(L"Error getting write errors to event log setting from Configuration");
  }

  // Read without reporting: a file without the key is the usual case.
  std::wstring safe;
  settings.SafeProfile =
      config.GetParameter(internal::kSafeProfileKey, safe) == CFG_SUCCESS && safe == L"true";
  internal::NoteSafeProfileInConfiguration(settings.SafeProfile);
  std::wstring group;
  const bool safeProfile = mSafeProfileFromEnvironment || settings.SafeProfile;
  if (safeProfile) config.GetParameter(Key(kAccessGroupName), group);
  settings.Access = LogAccessFor(safeProfile, group);
  RestrictLogLock(settings.Access);

  ReadDebugAreas();
}

void Logger::GetEventLogSetting(Settings& settings) {
  std::wstring text;
  if (!ReadText(*mConfig, L"SysDefaultLevel", 10, text)) return;
  if (text == L"ERROR")
    settings.SysDefaultLevel = kLevelError;
  else if (text == L"FATAL")
    settings.SysDefaultLevel = kLevelFatal;
}

void Logger::ReadDebugAreas() {
  ClearAreaList();
  std::wstring text;
  if (!ReadText(*mConfig, L"DebugAreas", 500, text)) return;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = text.find_first_of(L" ,\t\n", at);
    const std::wstring token = text.substr(at, end == std::wstring::npos ? std::wstring::npos : end - at);
    if (!token.empty() && !AreaExists(token.c_str())) mDebugAreas.push_back({1, token});
    if (end == std::wstring::npos) break;
    at = end + 1;
  }
}

bool Logger::IsThisLevelLoggable(const wchar_t* area, int level) {
  if (!GetConfig(false)) DefaultLevel.store(kLevelDebug, std::memory_order_relaxed);
  // No lock on this path: a reload seen half-done is accepted for the sake of every log call.
  if (level <= DefaultLevel.load(std::memory_order_relaxed) || level == kLevelReport) return true;
  OsAutoLock lock(&mCritSect);
  if (area == nullptr) return false;
  for (const DebugArea& debugArea : mDebugAreas) {
    if (debugArea.name == area) return debugArea.enabled == 1;
  }
  return false;
}

bool Logger::AreaExists(const wchar_t* area) const {
  OsAutoLock lock(&mCritSect);
  if (area == nullptr) return false;
  for (const DebugArea& debugArea : mDebugAreas) {
    if (debugArea.name == area) return true;
  }
  return false;
}

void Logger::ClearAreaList() { mDebugAreas.clear(); }

}  // namespace Tavro_KVO_Util
