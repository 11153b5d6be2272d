// Config::ParseFile: reading the file and classifying its lines.
#include <algorithm>
#include <chrono>
#include <thread>

#include "Config.h"
#include "OsAutoLock.h"
#include "config/key_map_build.h"
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

// Where the first "//" starts, or npos. Keys are paths full of single slashes, where
// std::wstring::find would start a compare at every one.
std::size_t FindDoubleSlash(const std::wstring& line) {
  // Eight places at a time without an early exit, which the compiler vectorises; the loop below
  // then finds the exact place.
  constexpr std::size_t kStride = 8;
  std::size_t at = 1;
  for (; at + kStride <= line.size(); at += kStride) {
    unsigned found = 0;
    for (std::size_t k = 0; k < kStride; ++k) {
      found |= unsigned{line[at + k] == L'/'} & unsigned{line[at + k - 1] == L'/'};
    }
    if (found != 0) break;
  }
  for (; at < line.size(); ++at) {
    if (line[at] == L'/' && line[at - 1] == L'/') return at - 1;
  }
  return std::wstring::npos;
}

// What one line of the file is. A malformed line is noted for the report that follows the parse.
ConfigLine ClassifyLine(const std::wstring& line, std::size_t index, std::vector<NotedLine>& notes) {
  const std::size_t comment = FindDoubleSlash(line);
  const std::size_t equals = line.find(L'=');
  if (equals == std::wstring::npos || (comment != std::wstring::npos && comment <= equals)) {
    // Only leading blanks go; trailing ones of comment and malformed lines are kept.
    std::size_t lead = 0;
    while (lead < line.size() && IsBlank(line[lead])) ++lead;
    if (lead == line.size()) return {CFG_LINE_BLANK, std::wstring(), std::wstring()};
    if (line.compare(lead, 2, L"//") == 0) return {CFG_LINE_COMMENT, line.substr(lead), std::wstring()};
    notes.push_back({index, LineNote::kMalformed});
    return {CFG_LINE_MALFORMED, line.substr(lead), std::wstring()};
  }
  std::wstring key = TrimBlanks(line, 0, equals);
  if (key.empty()) {
    notes.push_back({index, LineNote::kMalformed});
    return {CFG_LINE_MALFORMED, line, std::wstring()};
  }
  return {CFG_LINE_KEY_VALUE, std::move(key),
          TrimBlanks(line, equals + 1, comment == std::wstring::npos ? line.size() : comment)};
}

// How many records the file makes at most: one more than there are line feed bytes. For UTF-16
// this counts 0x0A bytes within other characters too, which is good enough for a reservation.
std::size_t MostLines(const std::string& bytes, std::size_t bodyStart) {
  return 1 + static_cast<std::size_t>(
                 std::count(bytes.begin() + static_cast<std::ptrdiff_t>(bodyStart), bytes.end(), '\n'));
}

const wchar_t* NoteFormat(LineNote note) {
  switch (note) {
    case LineNote::kMalformed:
      break;
    case LineNote::kOverriding:
      return L"The following line is overriding the value set for this key on a previous line: %s";
    case LineNote::kNoValue:
      return L"The following line did not include a value: %s";
  }
  return L"The following line is not formatted correctly and was ignored: %s";
}

int NoteLevel(LineNote note) { return note == LineNote::kNoValue ? kLevelInfo : kLevelWarn; }

}  // namespace

CFGStatus Config::ParseFile() {
  Log(kLevelDebug, __LINE__, L"*** Config::ParseFile - Config File Parsed is: %s***", mConfigFile);
  mConfigMap.clear();
  mUnorderedList.clear();

  std::string bytes;
  std::size_t bodyStart = 0;
  ConfigEncoding encoding = ConfigEncoding::kAnsi;
  {
    platform::ReadableFile file;
    if (!OpenWithRetries(mConfigFile, file) || !file.ReadAll(bytes)) {
      Log(kLevelError, __LINE__, L"The following Config file could not be opened: %s", mConfigFile);
      return CFG_FILE_OPEN_FAILED;
    }
    encoding = DetectEncoding(bytes, bodyStart);
    if (encoding == ConfigEncoding::kUtf8) {
      Log(kLevelError, __LINE__, L"The following Config file is UTF-8 and can not be parsed:  %s",
          mConfigFile);
      file.LeaveOpen();  // deliberately not closed on this path, as the product has always done
      return CFG_FILE_UTF8;
    }
  }
  Log(kLevelDebug, __LINE__, L"The Config file type is: %s", EncodingName(encoding));

  std::vector<NotedLine> notes;
  mUnorderedList.reserve(MostLines(bytes, bodyStart));
  {
    LineReader lines(bytes, bodyStart, encoding);
    std::wstring line;
    while (lines.Next(line)) mUnorderedList.push_back(ClassifyLine(line, mUnorderedList.size(), notes));
  }
  BuildKeyMap(mUnorderedList, mConfigMap, notes);

  // The reports name each line as the file has it, blanks and all, so the few noted lines are read
  // again rather than every line being kept twice.
  if (mLogging && !notes.empty()) {
    LineReader lines(bytes, bodyStart, encoding);
    std::wstring line;
    std::size_t index = 0;
    for (auto note = notes.begin(); note != notes.end() && lines.Next(line); ++index) {
      for (; note != notes.end() && note->line == index; ++note) {
        Log(NoteLevel(note->note), __LINE__, NoteFormat(note->note), line.c_str());
      }
    }
  }

  OsAutoLock lock(&mCritSect);
  mFileTime.Record(mConfigFile);  // a stamp that cannot be taken makes the next check reparse
  mForceParse = false;
  return CFG_SUCCESS;
}

}  // namespace Tavro_KVO_Util
