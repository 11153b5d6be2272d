#include "shipping/shipping_settings.h"

#include "Config.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::shipping {
namespace {

constexpr wchar_t kKeyPrefix[] = L"/Tavro/MedivaneSDK/LogShipping/";

bool ReadText(const Config& config, const wchar_t* name, std::string& value) {
  std::wstring text;
  if (config.GetParameter(std::wstring(kKeyPrefix) + name, text) != CFG_SUCCESS || text.empty()) return false;
  value = platform::WideToUtf8(text);
  return true;
}

bool ReadNumber(const Config& config, const wchar_t* name, long& value) {
  return config.GetParameter(std::wstring(kKeyPrefix) + name, value) == CFG_SUCCESS;
}

}  // namespace

bool IsFacility(long value) { return value >= 0 && value <= 23; }

bool IsEnterpriseNumber(const std::string& text) {
  if (text.empty() || text.size() > 24 || text.front() == '.' || text.back() == '.') return false;
  return text.find_first_not_of("0123456789.") == std::string::npos && text.find("..") == std::string::npos;
}

ShippingSettings ReadShippingSettings() {
  const Config config(/*logging=*/false, /*writable=*/false);
  ShippingSettings settings;
  std::string protocol = kDefaultProtocol;
  ReadText(config, L"Protocol", protocol);
  std::string host = kDefaultCollectorHost;
  settings.collectorConfigured = ReadText(config, L"CollectorHost", host);
  long port = kDefaultCollectorPort;
  ReadNumber(config, L"CollectorPort", port);
  // An IPv6 address goes in brackets, as in any URL.
  const bool bare6 = host.find(':') != std::string::npos && host.front() != '[';
  settings.destination = protocol + "://" + (bare6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
  std::string path;
  if (ReadText(config, L"CaFile", path)) settings.caFile = std::filesystem::u8path(path);
  if (ReadText(config, L"CertFile", path)) settings.certFile = std::filesystem::u8path(path);
  if (ReadText(config, L"KeyFile", path)) settings.keyFile = std::filesystem::u8path(path);
  if (ReadText(config, L"StateFile", path)) settings.stateFile = std::filesystem::u8path(path);
  ReadText(config, L"Hostname", settings.hostname);
  long number = 0;
  if (ReadNumber(config, L"Facility", number) && IsFacility(number))
    settings.facility = static_cast<int>(number);
  if (ReadNumber(config, L"StartAtEnd", number)) settings.startAtEnd = number != 0;
  std::string enterprise;
  if (ReadText(config, L"EnterpriseNumber", enterprise) && IsEnterpriseNumber(enterprise)) {
    settings.enterpriseNumber = enterprise;
  }
  if (ReadNumber(config, L"WindowSize", number) && number >= 1 && number <= static_cast<long>(kMaxWindow)) {
    settings.window = static_cast<std::size_t>(number);
  }
  return settings;
}

}  // namespace Tavro_KVO_Util::shipping
