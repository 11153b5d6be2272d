// libFuzzer target: any bytes as a configuration file, parsed by a writable store, then one key
// set, which rewrites the whole file as UTF-16LE and parses it again.
//
// The property checked: write-back loses nothing the store holds. After SetParameter the line
// records are exactly the records before it with the one change made (the first record of the key
// takes the new value, or a record is appended), and the map is what those records give - in the
// store that wrote, and in a fresh store reading the file. That holds for any input, including
// repeated keys (a later record still wins), malformed, comment and blank lines (written back as
// recorded), CR anywhere (never recorded, so never written), and refused UTF-8 files (the store is
// empty, and the file becomes the one new record). It needs a key and value that a file can hold:
// no LF or CR, no "//", no blanks at either end, no "=" in the key, no NUL in the value (it is
// passed as a C string). The key and value chosen below are such.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Config.h"
#include "config_fuzz_support.h"

namespace {

using Tavro_KVO_Util::CFG_LINE_KEY_VALUE;
using Tavro_KVO_Util::CFG_SUCCESS;
using Tavro_KVO_Util::CFGStatus;
using Tavro_KVO_Util::Config;
using Tavro_KVO_Util::ConfigLine;
using Tavro_KVO_Util::ConfigTestPeer;
using Tavro_KVO_Util::fuzzing::CheckStoreIsConsistent;
using Tavro_KVO_Util::fuzzing::InputFile;
using Tavro_KVO_Util::fuzzing::MapFromRecords;
using Tavro_KVO_Util::fuzzing::SameRecords;
using Tavro_KVO_Util::fuzzing::StartsWithUtf8Mark;

// Characters a value may hold anywhere: letters, digits, punctuation without "/" and blanks, and
// characters beyond 8 bits so that the UTF-16 write is exercised.
constexpr wchar_t kValueAlphabet[] = L"aZ09=:._-\\[]\u00E9\u00FF\u0416\uFEFF";
constexpr std::size_t kValueAlphabetSize = sizeof kValueAlphabet / sizeof kValueAlphabet[0] - 1;

// Reads the input's last bytes as choices, so that the mutations libFuzzer makes at the end of the
// input steer the key and value while the rest of the input stays the file.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : mData(data), mLeft(size) {}
  unsigned Next() { return mLeft == 0 ? 0 : mData[--mLeft]; }

 private:
  const std::uint8_t* mData;
  std::size_t mLeft;
};

// An existing key record's key (a third of the time, when there is one) or a new key.
std::wstring ChooseKey(const std::vector<ConfigLine>& lines, Choices& choices) {
  std::vector<const std::wstring*> keys;
  for (const ConfigLine& line : lines) {
    if (line.type == CFG_LINE_KEY_VALUE) keys.push_back(&line.key);
  }
  const unsigned pick = choices.Next();
  if (!keys.empty() && pick % 3 != 0) return *keys[(pick / 3) % keys.size()];
  return L"/Fuzz/Key" + std::to_wstring(pick % 5);
}

// Up to 15 characters from the alphabet; an empty value blanks the key.
std::wstring ChooseValue(Choices& choices) {
  const unsigned length = choices.Next() % 16;
  std::wstring value;
  for (unsigned i = 0; i < length; ++i) value.push_back(kValueAlphabet[choices.Next() % kValueAlphabetSize]);
  return value;
}

// What SetParameter promises to do to the records.
std::vector<ConfigLine> WithKeySet(std::vector<ConfigLine> lines, const std::wstring& key,
                                   const std::wstring& value) {
  for (ConfigLine& line : lines) {
    if (line.type == CFG_LINE_KEY_VALUE && line.key == key) {
      line.value = value;
      return lines;
    }
  }
  lines.push_back({CFG_LINE_KEY_VALUE, key, value});
  return lines;
}

void CheckHolds(const Config& config, const std::vector<ConfigLine>& expected) {
  CheckStoreIsConsistent(config);
  FUZZ_CHECK(SameRecords(ConfigTestPeer::Lines(config), expected));
  FUZZ_CHECK(ConfigTestPeer::Map(config) == MapFromRecords(expected));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Tavro_KVO_Util::fuzzing::SwallowReports();
  const InputFile& file = InputFile::Get();
  file.Write(data, size);
  {
    Config config(file.WidePath().c_str(), /*logging=*/false, /*writable=*/true);
    CheckStoreIsConsistent(config);
    Choices choices(data, size);
    const std::wstring key = ChooseKey(ConfigTestPeer::Lines(config), choices);
    const std::wstring value = ChooseValue(choices);
    const std::vector<ConfigLine> expected = WithKeySet(ConfigTestPeer::Lines(config), key, value);

    const CFGStatus status = config.SetParameter(key, value.c_str());
    FUZZ_CHECK(status == CFG_SUCCESS);  // a private file in /tmp can always be written
    CheckHolds(config, expected);

    const Config fresh(file.WidePath().c_str(), /*logging=*/false, /*writable=*/false);
    CheckHolds(fresh, expected);
  }
  if (StartsWithUtf8Mark(data, size)) file.CloseDescriptorsLeftOpen();
  return 0;
}
