#include "log_settings.h"

#include <vector>

#include "Config.h"
#include "wide_text.h"

namespace mvutil {
namespace {

using Tavro_KVO_Util::Config;

constexpr wchar_t kKeyPrefix[] = L"/Tavro/MedivaneSDK/Logging/";
constexpr wchar_t kDefaultFileName[] = L"KVO.log";
constexpr wchar_t kDefaultFormat[] = L"%L %D %T %Z %A {%P-%t} %m";
constexpr long kDefaultBackups = 5;
// The logger keeps both texts in buffers of 261 characters and uses at most 260 of them.
constexpr int kPathLimit = 261;
constexpr std::size_t kPathKept = 260;

// A text setting read as the logger reads it: through the buffer getter, with the same capacity,
// so that a value too long for the logger is refused here too.
bool ReadText(const Config& config, const wchar_t* name, int capacity, std::wstring& value) {
  std::vector<wchar_t> buffer(static_cast<std::size_t>(capacity) + 2, L'\0');
  int size = capacity;
  if (config.GetParameter(std::wstring(kKeyPrefix) + name, buffer.data(), &size) !=
      Tavro_KVO_Util::CFG_SUCCESS) {
    return false;
  }
  value.assign(buffer.data());
  if (value.size() > kPathKept) value.resize(kPathKept);
  return true;
}

std::filesystem::path ToPath(const std::wstring& text) {
  // Through UTF-8 on both builds: on Linux the library writes wide paths as UTF-8 bytes.
  return std::filesystem::u8path(WideToUtf8(text));
}

}  // namespace

LogSettings ReadLogSettings() {
  Config config(/*logging=*/false, /*writable=*/false);
  LogSettings settings{{}, kDefaultFormat, kDefaultBackups};

  long backups = 0;
  if (config.GetParameter(std::wstring(kKeyPrefix) + L"MaxLogFileBackups", backups) ==
      Tavro_KVO_Util::CFG_SUCCESS) {
    settings.maxBackups = backups;
  }
  std::wstring format;
  if (config.GetParameter(std::wstring(kKeyPrefix) + L"FormatString", format) ==
      Tavro_KVO_Util::CFG_SUCCESS) {
    settings.format = format;
  }

  std::wstring location;
  ReadText(config, L"LogFileLocation", kPathLimit, location);
  std::wstring name;
  if (!ReadText(config, L"LogFileName", kPathLimit, name) || name.empty()) name = kDefaultFileName;

  // The logger joins the directory (the working directory when no location is set) and the name
  // with one separator, as text, and keeps at most 260 characters of the result.
  std::wstring path = location.empty() ? Utf8ToWide(std::filesystem::current_path().u8string()) : location;
  path += static_cast<wchar_t>(std::filesystem::path::preferred_separator);
  path += name;
  if (path.size() > kPathKept) path.resize(kPathKept);
  settings.file = ToPath(path);
  return settings;
}

}  // namespace mvutil
