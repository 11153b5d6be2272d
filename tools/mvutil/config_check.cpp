#include "config_check.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <map>
#include <optional>

#include "config/text_decoding.h"
#include "wide_text.h"

namespace mvutil {
namespace {

namespace internal = Tavro_KVO_Util::internal;

constexpr wchar_t kLoggingPrefix[] = L"/Tavro/MedivaneSDK/Logging/";

bool IsTrimmed(wchar_t c) { return c == L' ' || c == L'\t'; }

// Blanks other than space and tab, which the store keeps at the end of a value: vertical tab,
// form feed, and Unicode's spaces (no-break, ideographic and the rest of Zs).
bool IsKeptBlank(wchar_t c) {
  return c == L'\v' || c == L'\f' || c == 0x00A0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) ||
         c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

std::wstring Trim(const std::wstring& text, std::size_t begin, std::size_t end) {
  while (begin < end && IsTrimmed(text[begin])) ++begin;
  while (end > begin && IsTrimmed(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

// One key line as the store splits it.
struct KeyLine {
  std::size_t line;
  std::wstring key;
  std::wstring value;
};

// What the logger accepts for each of its keys; nullopt when the value is fine.
using ValueCheck = std::optional<std::string> (*)(const std::wstring& value);

std::optional<std::string> OneOf(const std::wstring& value, std::initializer_list<const wchar_t*> words) {
  for (const wchar_t* word : words) {
    if (value == word) return std::nullopt;
  }
  std::string accepted;
  for (const wchar_t* word : words) accepted += (accepted.empty() ? "" : ", ") + WideToUtf8(word);
  return "not a value the logger knows, so it keeps its setting; it accepts " + accepted +
         " (exactly as written here)";
}

bool AllDigits(const std::wstring& value) {
  return !value.empty() &&
         std::all_of(value.begin(), value.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

// A whole number from `low` to `high` written in digits alone, as the logger's getters need it.
std::optional<std::string> WholeNumber(const std::wstring& value, unsigned long long low,
                                       unsigned long long high, const char* what) {
  const std::string range = std::to_string(low) + " to " + std::to_string(high);
  if (!AllDigits(value) || value.size() > 20) {
    const unsigned long long leading = std::wcstoull(value.c_str(), nullptr, 10);
    const bool readAsNumber = !value.empty() && value[0] >= L'0' && value[0] <= L'9';
    return std::string("not a whole number of ") + what + " (" + range + ")" +
           (readAsNumber ? "; the logger reads only its leading digits, " + std::to_string(leading) : "");
  }
  const unsigned long long number = std::wcstoull(value.c_str(), nullptr, 10);
  if (number < low || number > high) return std::string("out of range for ") + what + ": " + range;
  return std::nullopt;
}

std::optional<std::string> MaxLength(const std::wstring& value, std::size_t characters) {
  if (value.size() <= characters) return std::nullopt;
  return "longer than the " + std::to_string(characters) +
         " characters the logger reads; it keeps its setting";
}

// The keys the logger reads under kLoggingPrefix, with what it accepts (the lengths are those of
// the buffers it reads them into).
const std::map<std::wstring, ValueCheck>& LoggingKeys() {
  static const std::map<std::wstring, ValueCheck> keys = {
      {L"DefaultLevel",
       [](const std::wstring& v) {
         return OneOf(v, {L"DEBUG", L"INFO", L"WARN", L"ERROR", L"FATAL", L"REPORT"});
       }},
      {L"SysDefaultLevel",
       [](const std::wstring& v) {
         return OneOf(v, {L"ERROR", L"FATAL"});
       }},
      {L"WriteErrorsToEventLog",
       [](const std::wstring& v) {
         return OneOf(v, {L"true", L"false"});
       }},
      {L"ThresholdExceeded",
       [](const std::wstring& v) {
         return OneOf(v, {L"pauseLogging", L"deleteOld"});
       }},
      {L"MaxLogFileSize", [](const std::wstring& v) { return WholeNumber(v, 1, 2147483647ULL, "bytes"); }},
      {L"MaxLogFileBackups",
       [](const std::wstring& v) { return WholeNumber(v, 0, 2147483647ULL, "backups"); }},
      {L"FreeSpaceMinimum",
       [](const std::wstring& v) { return WholeNumber(v, 0, 18446744073709551615ULL, "bytes"); }},
      {L"LogFileLocation", [](const std::wstring& v) { return MaxLength(v, 260); }},
      {L"LogFileName", [](const std::wstring& v) { return MaxLength(v, 260); }},
      {L"DebugAreas", [](const std::wstring& v) { return MaxLength(v, 500); }},
      {L"FormatString", [](const std::wstring&) { return std::optional<std::string>(); }},
      // Read in the safe profile only: the group let into the log (the machine's own accounts are
      // not known here, so any name passes).
      {L"AccessGroup", [](const std::wstring&) { return std::optional<std::string>(); }},
  };
  return keys;
}

std::size_t EditDistance(const std::wstring& a, const std::wstring& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

void CheckLoggingKey(const KeyLine& entry, std::vector<ConfigFinding>& findings) {
  const std::wstring name = entry.key.substr(std::char_traits<wchar_t>::length(kLoggingPrefix));
  const auto known = LoggingKeys().find(name);
  if (known == LoggingKeys().end()) {
    std::wstring nearest;
    std::size_t best = 4;  // further than three edits is no longer a slip of the keyboard
    for (const auto& candidate : LoggingKeys()) {
      const std::size_t distance = EditDistance(name, candidate.first);
      if (distance < best) {
        best = distance;
        nearest = candidate.first;
      }
    }
    findings.push_back({entry.line, false,
                        "unknown key " + WideToUtf8(entry.key) + "; the logger does not read it" +
                            (nearest.empty() ? "" : " (did you mean " + WideToUtf8(nearest) + "?)")});
    return;
  }
  if (entry.value.empty()) return;  // no value: the logger keeps its default, as documented
  if (const auto problem = known->second(entry.value)) {
    findings.push_back(
        {entry.line, false, WideToUtf8(name) + "=" + WideToUtf8(entry.value) + ": " + *problem});
  }
}

// GetArrayIndices(SECTION) reads the index right after "SECTION[" as a decimal long and, when it
// is negative or not a number, looks at the same key again for ever.
void CheckArrayKey(const KeyLine& entry, std::vector<ConfigFinding>& findings) {
  for (std::size_t open = entry.key.find(L'['); open != std::wstring::npos;
       open = entry.key.find(L'[', open + 1)) {
    const std::wstring rest = entry.key.substr(open + 1);
    const long index = std::wcstol(rest.c_str(), nullptr, 10);
    if (index < 0 || (index == 0 && (rest.empty() || rest[0] != L'0'))) {
      findings.push_back({entry.line, true,
                          WideToUtf8(entry.key) +
                              " has no valid array index (negative or not a number): "
                              "GetArrayIndices(\"" +
                              WideToUtf8(entry.key.substr(0, open)) +
                              "\") never returns while this key is in the file"});
      return;
    }
  }
}

void CheckTrailingBlank(const KeyLine& entry, std::vector<ConfigFinding>& findings) {
  if (entry.value.empty() || !IsKeptBlank(entry.value.back())) return;
  char code[16];
  std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(entry.value.back()));
  findings.push_back({entry.line, false,
                      "the value of " + WideToUtf8(entry.key) + " ends in a blank (" + code +
                          ") that the getters keep: only spaces and tabs are trimmed"});
}

// A key on several lines with different values: the map (GetParameter and the typed getters)
// holds the last value, and a line without a value removes the key from it; the line list
// (GetParameterFromUnorderedMap) answers with the first line's value.
void CheckRepeatedKeys(const std::vector<KeyLine>& entries, std::vector<ConfigFinding>& findings) {
  std::map<std::wstring, std::vector<const KeyLine*>> byKey;
  for (const KeyLine& entry : entries) byKey[entry.key].push_back(&entry);
  for (const auto& [key, lines] : byKey) {
    if (std::all_of(lines.begin(), lines.end(),
                    [&](const KeyLine* l) { return l->value == lines[0]->value; }))
      continue;
    std::optional<std::wstring> mapValue;
    std::string lineList;
    for (const KeyLine* entry : lines) {
      mapValue = entry->value.empty() ? std::nullopt : std::optional<std::wstring>(entry->value);
      lineList += (lineList.empty() ? "" : ", ") + std::to_string(entry->line);
    }
    const std::string fromMap = mapValue ? "return '" + WideToUtf8(*mapValue) + "' (the last line)"
                                         : "find no value (the last line has none)";
    findings.push_back({lines.back()->line, false,
                        WideToUtf8(key) + " is set on lines " + lineList +
                            " with different values: GetParameter "
                            "and the typed getters " +
                            fromMap + ", GetParameterFromUnorderedMap returns '" +
                            WideToUtf8(lines[0]->value) + "' (the first line)"});
  }
}

}  // namespace

std::vector<ConfigFinding> CheckConfiguration(const std::string& bytes) {
  std::vector<ConfigFinding> findings;
  std::size_t bodyStart = 0;
  const internal::ConfigEncoding encoding = internal::DetectEncoding(bytes, bodyStart);
  if (encoding == internal::ConfigEncoding::kUtf8) {
    findings.push_back(
        {1, true,
         "the file starts with a UTF-8 byte-order mark, and the library reads no key of it; save "
         "it as UTF-16 LE with a byte-order mark (\"Unicode\" in Notepad) or as 8-bit text "
         "without a mark"});
    return findings;
  }
  internal::LineReader reader(bytes, bodyStart, encoding);
  std::vector<KeyLine> entries;
  std::wstring line;
  for (std::size_t number = 1; reader.Next(line); ++number) {
    const std::size_t comment = line.find(L"//");
    const std::size_t equals = line.find(L'=');
    const bool keyLine = equals != std::wstring::npos && (comment == std::wstring::npos || comment > equals);
    const std::wstring key = keyLine ? Trim(line, 0, equals) : std::wstring();
    if (!keyLine || key.empty()) {
      const std::wstring text = Trim(line, 0, line.size());
      if (keyLine || (!text.empty() && text.compare(0, 2, L"//") != 0)) {
        findings.push_back(
            {number, false, "not a key=value line, a comment or blank; the library ignores it"});
      }
      continue;
    }
    entries.push_back(
        {number, key, Trim(line, equals + 1, comment == std::wstring::npos ? line.size() : comment)});
  }
  for (const KeyLine& entry : entries) {
    if (entry.key.compare(0, std::char_traits<wchar_t>::length(kLoggingPrefix), kLoggingPrefix) == 0) {
      CheckLoggingKey(entry, findings);
    }
    CheckArrayKey(entry, findings);
    CheckTrailingBlank(entry, findings);
  }
  CheckRepeatedKeys(entries, findings);
  std::stable_sort(findings.begin(), findings.end(),
                   [](const ConfigFinding& a, const ConfigFinding& b) { return a.line < b.line; });
  return findings;
}

}  // namespace mvutil
