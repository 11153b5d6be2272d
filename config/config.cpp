// Config: construction, where the file is, the basic lookup and the store's log helpers.
#include "Config.h"

#include <cstdarg>
#include <cwchar>

#include "config/config_paths.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"
#include "platform/file.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

// Support tools filter the log on this area and file; keep them exact.
constexpr wchar_t kConfigArea[] = L"Config";
constexpr wchar_t kConfigSourceFile[] = L".\\Config.cpp";

}  // namespace

// A null path is never openable, so this takes the default file.
Config::Config(bool logging, bool writable) : Config(nullptr, logging, writable) {}

Config::Config(const wchar_t* path, bool logging, bool writable)
    : mLogging(logging),
      mForceParse(true),
      mWasReloaded(false),
      mConfigDir{},
      mConfigFile{},
      mWritable(writable) {
  const bool usePath =
      path != nullptr && platform::CanOpenForReadingDenyingWriters(path) && CopyPath(mConfigFile, path);
  // With a path of its own the directory stays empty: GetInstance(fileName, ...) then takes the
  // name as it is.
  if (!usePath) UseDefaultPath();
  Reload(false);
}

Config::~Config() {
  // Either singleton's destruction orphans the other; GetInstance makes them anew.
  mThisInstance = nullptr;
  mThisInstanceNoLogging = nullptr;
  mFileTime.Clear();
}

void Config::UseDefaultPath() {
  const DefaultConfigPath found = FindDefaultConfigPath();
  if (!CopyPath(mConfigDir, found.directory) || !CopyPath(mConfigFile, found.file)) {
    LogAlways(kLevelError, __LINE__, L"Config::Config - the configuration path is too long: %s",
              found.file.c_str());
    mConfigDir[0] = L'\0';
    mConfigFile[0] = L'\0';
  }
}

bool Config::WasReloaded() const { return mWasReloaded; }

bool Config::Lock() { return true; }

bool Config::Unlock() { return true; }

CFGStatus Config::FindKeyReturnVal(const std::wstring& key, std::wstring& value) const {
  if (key.empty()) return CFG_NOT_FOUND;
  const auto found = mConfigMap.find(key);
  if (found == mConfigMap.end()) return CFG_NOT_FOUND;
  value = found->second;
  if (!value.empty()) {
    Log(kLevelDebug, __LINE__, L"The following key value was found: %s***", value.c_str());
    return CFG_SUCCESS;
  }
  // The value, not the key, is the argument: support tools have always seen it this way.
  Log(kLevelWarn, __LINE__, L"The following key was found but the value is blank: %s***", value.c_str());
  return CFG_NOT_FOUND;
}

CFGStatus Config::GetParameter(const std::wstring& key, std::wstring& value) const {
  Log(kLevelDebug, __LINE__, L"*** Config::GetParameter (wstring) \u2013 Requested Key is: %s***",
      key.c_str());
  std::wstring found;
  if (FindKeyReturnVal(key, found) != CFG_SUCCESS) {
    Log(kLevelInfo, __LINE__, L"Could not find the key: %s", key.c_str());
    return CFG_NOT_FOUND;
  }
  value = found;
  return CFG_SUCCESS;
}

void Config::Log(int level, int line, const wchar_t* format, ...) const {
  if (!mLogging) return;
  va_list args;
  va_start(args, format);
  ReportToLogger(kConfigArea, level, kConfigSourceFile, line, format, args);
  va_end(args);
}

void Config::LogAlways(int level, int line, const wchar_t* format, ...) const {
  va_list args;
  va_start(args, format);
  ReportToLogger(kConfigArea, level, kConfigSourceFile, line, format, args);
  va_end(args);
}

}  // namespace Tavro_KVO_Util
