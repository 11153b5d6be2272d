// Config::ParseFile: reading the file and classifying its lines.
#include <chrono>
#include <thread>

#include "Config.h"
#include "OsAutoLock.h"
#include "config/safe_profile.h"
#include "config/text_decoding.h"
#include "logging/log_levels.h"
#include "platform/file.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

constexpr int kOpenAttempts = 5;
constexpr auto kRetryPause = std::chrono::milliseconds(200);

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

std::wstring TrimBlanks(const std::wstring& text, std::size_t begin, std::size_t end) {
  while (begin < end && IsBlank(text[begin])) ++begin;
  while (end > begin && IsBlank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

// Opens the file, trying again after a pause while another process holds it. The pause follows
// every failed attempt, the last one included. The safe profile's logger asks for one attempt.
bool OpenWithRetries(const wchar_t* path, platform::ReadableFile& file) {
  if (internal::SingleOpenAttemptRequested()) {
    int error = 0;
    return file.Open(path, error);
  }
  for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
    int error = 0;
    if (file.Open(path, error)) return true;
    std::this_thread::sleep_for(kRetryPause);
  }
  return false;
}

}  // namespace

CFGStatus Config::ParseFile() {
  Log(kLevelDebug, __LINE__, L"*** Config::ParseFile - Config File Parsed is: %s***", mConfigFile);
  mConfigMap.clear();
  mUnorderedList.clear();

  std::string bytes;
  {
    platform::ReadableFile file;
    if (!OpenWithRetries(mConfigFile, file) || !file.ReadAll(bytes)) {
      Log(kLevelError, __LINE__, L"The following Config file could not be opened: %s", mConfigFile);
      return CFG_FILE_OPEN_FAILED;
    }
    std::size_t bodyStart = 0;
    const ConfigEncoding encoding = DetectEncoding(bytes, bodyStart);
    if (encoding == ConfigEncoding::kUtf8) {
      Log(kLevelError, __LINE__, L"The following Config file is UTF-8 and can not be parsed:  %s",
          mConfigFile);
      file.LeaveOpen();  // deliberately not closed on this path, as the product has always done
      return CFG_FILE_UTF8;
    }
    Log(kLevelDebug, __LINE__, L"The Config file type is: %s", EncodingName(encoding));

    LineReader lines(bytes, bodyStart, encoding);
    std::wstring line;
    while (lines.Next(line)) AddLine(line);
  }

  OsAutoLock lock(&mCritSect);
  mFileTime.Record(mConfigFile);  // a stamp that cannot be taken makes the next check reparse
  mForceParse = false;
  return CFG_SUCCESS;
}

void Config::AddLine(const std::wstring& line) {
  const std::size_t comment = line.find(L"//");
  const std::size_t equals = line.find(L'=');
  if (equals == std::wstring::npos || (comment != std::wstring::npos && comment <= equals)) {
    // Only leading blanks go; trailing ones of comment and malformed lines are kept.
    std::size_t lead = 0;
    while (lead < line.size() && IsBlank(line[lead])) ++lead;
    std::wstring text = line.substr(lead);
    if (text.empty()) {
      mUnorderedList.push_back({CFG_LINE_BLANK, std::wstring(), std::wstring()});
    } else if (text.compare(0, 2, L"//") == 0) {
      mUnorderedList.push_back({CFG_LINE_COMMENT, std::move(text), std::wstring()});
    } else {
      Log(kLevelWarn, __LINE__, L"The following line is not formatted correctly and was ignored: %s",
          line.c_str());
      mUnorderedList.push_back({CFG_LINE_MALFORMED, std::move(text), std::wstring()});
    }
    return;
  }

  std::wstring key = TrimBlanks(line, 0, equals);
  std::wstring value = TrimBlanks(line, equals + 1, comment == std::wstring::npos ? line.size() : comment);
  if (key.empty()) {
    Log(kLevelWarn, __LINE__, L"The following line is not formatted correctly and was ignored: %s",
        line.c_str());
    mUnorderedList.push_back({CFG_LINE_MALFORMED, line, std::wstring()});
    return;
  }

  const auto at = mConfigMap.lower_bound(key);
  const bool repeated = at != mConfigMap.end() && at->first == key;
  if (repeated) {
    Log(kLevelWarn, __LINE__,
        L"The following line is overriding the value set for this key on a previous line: %s", line.c_str());
  }
  if (value.empty()) {
    // A blank line for a key also removes an earlier value of that key (kept as it always was).
    if (repeated) mConfigMap.erase(at);
    Log(kLevelInfo, __LINE__, L"The following line did not include a value: %s", line.c_str());
  } else if (repeated) {
    at->second = value;
  } else {
    mConfigMap.emplace_hint(at, key, value);
  }
  mUnorderedList.push_back({CFG_LINE_KEY_VALUE, std::move(key), std::move(value)});
}

}  // namespace Tavro_KVO_Util
