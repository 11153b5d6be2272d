// Config: change detection, Reload, and writing one key back into the file.
#include <chrono>
#include <cwchar>
#include <thread>

#include "Config.h"
#include "OsAutoLock.h"
#include "config/safe_profile.h"
#include "config/stamp_text.h"
#include "config/text_decoding.h"
#include "logging/log_levels.h"
#include "platform/file.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

constexpr int kWriteAttempts = 5;
constexpr auto kRetryPause = std::chrono::milliseconds(200);

}  // namespace

bool Config::CfgFileModified() {
  Log(kLevelDebug, __LINE__, L"*** Config::CfgFileModified ***");
  OsAutoLock lock(&mCritSect);
  // The file's time rendered in the zone saved with the stamp, so that a change of the machine's
  // zone alone is no change of the file. Rendered only when the raw time is new (stamp_text.h).
  const wchar_t* now = CurrentStampText(mConfigFile, mFileTime.timeZone);
  if (now == nullptr) {
    Log(kLevelDebug, __LINE__, L"GetFSFModTime failed so return true to force reparse");
    return true;
  }
  if (std::wcscmp(now, mFileTime.timeString) != 0) {
    Log(kLevelDebug, __LINE__, L"Time strings were different so return true to force reparse");
    return true;
  }
  Log(kLevelDebug, __LINE__, L"Time strings were same so return false as not to reparse");
  return false;
}

CFGStatus Config::Reload(bool force) {
  Log(kLevelDebug, __LINE__, L"*** Config::Reload ***");
  mWasReloaded = false;
  if (!force && !mForceParse && !CfgFileModified()) return CFG_SUCCESS;
  const CFGStatus status = ParseFile();
  if (status != CFG_SUCCESS) {
    Log(kLevelError, __LINE__, L"Error parsing the Config file!");
    return status;
  }
  // The misspelling is in every log support has ever read; keep it.
  Log(kLevelDebug, __LINE__, L"Config file reloaded seccessfully");
  mWasReloaded = true;
  return CFG_SUCCESS;
}

CFGStatus Config::SetParameter(const std::wstring& key, const wchar_t* value) {
  if (!mWritable) return CFG_WRITE_NOT_ALLOWED;
  Reload(false);
  if (key.empty() || value == nullptr) return CFG_INVALID_PARAMETER;
  if (value[0] == L'\0') {
    Log(kLevelWarn, __LINE__, L"The following key is being set to a blank value: %s***", key.c_str());
  }
  Log(kLevelDebug, __LINE__, L"The following key value was set: %s***", value);

  CFGStatus result = CFG_SUCCESS;
  if (UpdateUnorderedList(key, value)) {
    if (!WriteFile()) {
      LogAlways(kLevelError, __LINE__, L"Config file could not be written to");
      result = CFG_WRITE_FAILED;
    }
  } else {
    // Logged always and as an error: the product's support tools look for it there.
    LogAlways(kLevelError, __LINE__, L"Not updating the value as it was same.");
  }
  // The map is rebuilt from the file, never edited: after a failed write the change is gone.
  Reload(true);
  return result;
}

bool Config::UpdateUnorderedList(const std::wstring& key, const std::wstring& value) {
  for (ConfigLine& line : mUnorderedList) {
    if (line.type != CFG_LINE_KEY_VALUE || line.key != key) continue;
    // Only the first line of the key changes; a later line of it still wins after the reparse.
    if (line.value == value) return false;
    line = {CFG_LINE_KEY_VALUE, key, value};
    return true;
  }
  mUnorderedList.push_back({CFG_LINE_KEY_VALUE, key, value});
  return true;
}

bool Config::WriteFile() {
  // Always UTF-16LE with a mark from now on, CR LF between records and nothing after the last.
  std::string bytes("\xFF\xFE", 2);
  bool first = true;
  for (const ConfigLine& line : mUnorderedList) {
    if (!first) AppendUtf16Le(bytes, L"\r\n");
    first = false;
    switch (line.type) {
      case CFG_LINE_KEY_VALUE:
        AppendUtf16Le(bytes, line.key);
        AppendUtf16Le(bytes, L"=");
        AppendUtf16Le(bytes, line.value);
        break;
      case CFG_LINE_COMMENT:
      case CFG_LINE_MALFORMED:
        AppendUtf16Le(bytes, line.key);
        break;
      case CFG_LINE_BLANK:
        break;
    }
  }
  // The safe profile never empties the file in place: a crash or power loss in that moment would
  // leave every program on the tablet without its settings. Off, the file is emptied and written
  // in place, as it always was.
  const bool replace = internal::SafeProfileOn(mConfigMap);
  for (int attempt = 0; attempt < kWriteAttempts; ++attempt) {
    int error = 0;
    if (replace ? platform::ReplaceWholeFile(mConfigFile, bytes, error)
                : platform::WriteWholeFile(mConfigFile, bytes, error)) {
      return true;
    }
    std::this_thread::sleep_for(kRetryPause);
  }
  return false;
}

}  // namespace Tavro_KVO_Util
