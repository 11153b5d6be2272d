// libFuzzer target: any bytes as a configuration file, parsed by a read-only store, then looked up
// in every way that must return. Each answer is checked against the store's own records.
//
// GetArrayIndices is left out on purpose: a key such as "/A[x]" makes it loop for ever, which is
// its documented behaviour, not a finding.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Config.h"
#include "config_fuzz_support.h"

namespace {

using Tavro_KVO_Util::CFG_BUFFER_TOO_SMALL;
using Tavro_KVO_Util::CFG_CONVERSION_FAILED;
using Tavro_KVO_Util::CFG_LINE_KEY_VALUE;
using Tavro_KVO_Util::CFG_NOT_FOUND;
using Tavro_KVO_Util::CFG_SUCCESS;
using Tavro_KVO_Util::CFGStatus;
using Tavro_KVO_Util::Config;
using Tavro_KVO_Util::ConfigLine;
using Tavro_KVO_Util::ConfigTestPeer;
using Tavro_KVO_Util::fuzzing::CheckStoreIsConsistent;
using Tavro_KVO_Util::fuzzing::InputFile;
using Tavro_KVO_Util::fuzzing::StartsWithUtf8Mark;
using Map = std::map<std::wstring, std::wstring>;

bool StartsWith(const std::wstring& text, const std::wstring& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// The first and last key records (present or blanked out), a key made of the input's first bytes
// (mostly absent), and the empty key.
std::vector<std::wstring> KeysToAsk(const Config& config, const std::uint8_t* data, std::size_t size) {
  std::vector<std::wstring> keys;
  const std::vector<ConfigLine>& lines = ConfigTestPeer::Lines(config);
  for (const ConfigLine& line : lines) {
    if (line.type == CFG_LINE_KEY_VALUE) {
      keys.push_back(line.key);
      break;
    }
  }
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    if (line->type == CFG_LINE_KEY_VALUE) {
      keys.push_back(line->key);
      break;
    }
  }
  keys.emplace_back(data, data + (size < 16 ? size : 16));
  keys.emplace_back();
  return keys;
}

void CheckGetParameter(const Config& config, const std::wstring& key) {
  const Map& map = ConfigTestPeer::Map(config);
  const auto found = key.empty() ? map.end() : map.find(key);
  std::wstring value = L"untouched";
  const CFGStatus status = config.GetParameter(key, value);
  if (found != map.end()) {
    FUZZ_CHECK(status == CFG_SUCCESS && value == found->second);
  } else {
    FUZZ_CHECK(status == CFG_NOT_FOUND && value == L"untouched");
  }

  // The buffer form: ask for the size, then fetch into exactly that much.
  int size = 0;
  const CFGStatus sizing = config.GetParameter(key, nullptr, &size);
  if (found == map.end()) {
    FUZZ_CHECK(sizing == CFG_NOT_FOUND && size == 0);
    return;
  }
  FUZZ_CHECK(sizing == CFG_BUFFER_TOO_SMALL && size == static_cast<int>(found->second.size() + 1));
  std::vector<wchar_t> buffer(static_cast<std::size_t>(size));
  FUZZ_CHECK(config.GetParameter(key, buffer.data(), &size) == CFG_SUCCESS);
  FUZZ_CHECK(found->second.compare(0, std::wstring::npos, buffer.data(), buffer.size() - 1) == 0);
}

// The numeric readers see arbitrary text; only their status is predictable from outside.
void CheckNumbers(const Config& config, const std::wstring& key) {
  const bool present = !key.empty() && ConfigTestPeer::Map(config).count(key) == 1;
  auto expected = [present](CFGStatus status) {
    return present ? status == CFG_SUCCESS || status == CFG_CONVERSION_FAILED : status == CFG_NOT_FOUND;
  };
  long asLong = 0;
  double asDouble = 0;
  unsigned long asUnsigned = 0;
  unsigned long long asUnsigned64 = 0;
  FUZZ_CHECK(expected(config.GetParameter(key, asLong)));
  FUZZ_CHECK(expected(config.GetParameter(key, asDouble)));
  FUZZ_CHECK(expected(config.GetParameter(key, 0, asUnsigned)));
  FUZZ_CHECK(expected(config.GetParameter(key, 16, asUnsigned64)));
}

void CheckWholeSection(const Config& config) {
  const Map& map = ConfigTestPeer::Map(config);
  Map all;
  const CFGStatus status = config.GetSection(L"", all);
  FUZZ_CHECK(status == (map.empty() ? CFG_NOT_FOUND : CFG_SUCCESS));
  FUZZ_CHECK(all == map);
}

// A section is any key prefix: take the key up to its last "/", and the start of what follows as
// the name to match.
void CheckSectionQueries(const Config& config, const std::wstring& key) {
  const Map& map = ConfigTestPeer::Map(config);
  const std::size_t slash = key.rfind(L'/');
  const std::wstring section = slash == std::wstring::npos ? std::wstring() : key.substr(0, slash + 1);
  const std::wstring name = key.substr(section.size(), 2);

  Map under;
  config.GetSection(section, under);
  std::size_t expectedCount = 0;
  for (const auto& entry : map) expectedCount += StartsWith(entry.first, section);
  FUZZ_CHECK(under.size() == expectedCount);
  for (const auto& [k, v] : under) FUZZ_CHECK(StartsWith(k, section) && map.at(k) == v);

  Map shortKeys;
  config.GetSectionWithShortKeys(section, shortKeys);
  FUZZ_CHECK(shortKeys.size() <= under.size());

  Map matching;
  config.GetMatchingKeys(section, name, matching);
  for (const auto& [k, v] : matching) FUZZ_CHECK(StartsWith(k, section) && map.at(k) == v);
}

// Answers from the first record of the key in file order, blank values included.
void CheckFirstRecordLookup(Config& config, const std::wstring& key) {
  const std::vector<ConfigLine>& lines = ConfigTestPeer::Lines(config);
  const ConfigLine* first = nullptr;
  for (const ConfigLine& line : lines) {
    if (line.type == CFG_LINE_KEY_VALUE && line.key == key) {
      first = &line;
      break;
    }
  }
  const std::wstring expected = first != nullptr ? first->value : std::wstring();
  unsigned long size = 0;
  const CFGStatus sizing = config.GetParameterFromUnorderedMap(key, nullptr, &size);
  if (first == nullptr) {
    FUZZ_CHECK(sizing == CFG_NOT_FOUND);
    return;
  }
  FUZZ_CHECK(sizing == CFG_BUFFER_TOO_SMALL && size == expected.size() + 1);
  std::vector<wchar_t> buffer(size);
  FUZZ_CHECK(config.GetParameterFromUnorderedMap(key, buffer.data(), &size) == CFG_SUCCESS);
  FUZZ_CHECK(expected.compare(0, std::wstring::npos, buffer.data(), buffer.size() - 1) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Tavro_KVO_Util::fuzzing::SwallowReports();
  const InputFile& file = InputFile::Get();
  file.Write(data, size);
  {
    Config config(file.WidePath().c_str(), /*logging=*/false, /*writable=*/false);
    CheckStoreIsConsistent(config);
    CheckWholeSection(config);
    for (const std::wstring& key : KeysToAsk(config, data, size)) {
      CheckGetParameter(config, key);
      CheckNumbers(config, key);
      CheckSectionQueries(config, key);
      CheckFirstRecordLookup(config, key);
    }
  }
  if (StartsWithUtf8Mark(data, size)) file.CloseDescriptorsLeftOpen();
  return 0;
}
