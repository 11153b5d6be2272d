// The Linux sound scheme store, driven directly: the file under XDG_CONFIG_HOME, its exact text,
// the registry's error codes, and changes from two processes at once.
#include "platform/sound_scheme.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/environment.h"
#include "support/private_volumes.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util::platform {

// The player's children (sound_player_posix_test.cpp); this file's main starts both kinds.
int RunSoundPlayerChild(const std::string& argument);

namespace {

using testing::ChildProcess;
using testing::Findings;
using testing::PrivateVolumes;
using testing::ScopedEnvironmentVariable;
using testing::TempDir;

constexpr long kDiskFull = 112;
constexpr long kInvalidHandle = 6;
constexpr long kBadPathname = 161;

// The comment every store file starts with.
constexpr wchar_t kHeader[] =
    L"; TavroMedivane sound scheme: the keys and default values Windows keeps in its registry.\n"
    L"; UTF-16LE, CR LF. \"[A\\B]\" is key B under key A; \"@=REG_SZ:text\" or \"@=REG_EXPAND_SZ:text\"\n"
    L"; is the default value of the key above it (a number instead of the type name: another type).\n"
    L"; Names compare without regard to case. In names and values \"^\" and four hex digits stand for\n"
    L"; one UTF-16 code unit: ^000D CR, ^000A LF, ^0000 null, ^005E \"^\".\n"
    L"; Every change rewrites the whole file: edit it only while no program uses the scheme.\n";

std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The bytes the store writes for `text`: a BOM, then UTF-16LE with every LF written as CR LF.
std::string Utf16LeWithCrLf(const std::wstring& text) {
  std::string out = "\xFF\xFE";
  const auto unit = [&out](std::uint32_t u) {
    out += static_cast<char>(u & 0xFF);
    out += static_cast<char>(u >> 8);
  };
  for (const wchar_t c : text) {
    const auto code = static_cast<char32_t>(c);
    if (code == L'\n') unit(L'\r');
    if (code > 0xFFFF) {
      unit(0xD800 + ((code - 0x10000) >> 10));
      unit(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      unit(code);
    }
  }
  return out;
}

// The store's folder under the test's own XDG_CONFIG_HOME.
class SoundScheme : public ::testing::Test {
 protected:
  std::filesystem::path Folder() const { return mDir.path() / "TavroMedivane"; }
  std::filesystem::path StoreFile() const { return Folder() / "sound-scheme.ini"; }

  static std::vector<std::wstring> Subkeys(const std::wstring& path) {
    SchemeKey key;
    EXPECT_EQ(OpenSchemeKey(path, kSchemeReadAccess, key), kSchemeSuccess) << "opening " << path;
    std::vector<std::wstring> names;
    std::wstring name;
    for (unsigned long index = 0; EnumSchemeSubkey(key, index, 256, name) == kSchemeSuccess; ++index) {
      names.push_back(name);
    }
    return names;
  }

  static long SetValue(const std::wstring& path, unsigned long type, const std::wstring& value) {
    SchemeKey key;
    const long created = CreateSchemeKey(path, key);
    return created != kSchemeSuccess ? created : SetSchemeDefaultValue(key, type, value);
  }

  TempDir mDir;
  ScopedEnvironmentVariable mConfigHome{"XDG_CONFIG_HOME", mDir.path().string()};
};

TEST_F(SoundScheme, CreateMakesTheMissingParentsAndSubkeysEnumerateInOrder) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\Warning\\.Current", key),
            kSchemeSuccess);
  EXPECT_TRUE(key.IsOpen());
  ASSERT_EQ(CreateSchemeKey(L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error\\.Current", key),
            kSchemeSuccess);
  ASSERT_EQ(CreateSchemeKey(L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\alert", key), kSchemeSuccess);

  EXPECT_EQ(Subkeys(L""), std::vector<std::wstring>{L"AppEvents"});
  EXPECT_EQ(Subkeys(L"AppEvents"), std::vector<std::wstring>{L"Schemes"});
  EXPECT_EQ(Subkeys(L"AppEvents\\Schemes\\Apps"), std::vector<std::wstring>{L"Tavro Korvina"});
  EXPECT_EQ(Subkeys(L"AppEvents\\Schemes\\Apps\\Tavro Korvina"),
            (std::vector<std::wstring>{L"alert", L"Error", L"Warning"}));
  EXPECT_EQ(Subkeys(L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error"),
            std::vector<std::wstring>{L".Current"});
  EXPECT_EQ(Subkeys(L"AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error\\.Current"),
            std::vector<std::wstring>{});
}

TEST_F(SoundScheme, NamesCompareWithoutCaseAndKeepTheirFirstSpelling) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"AppEvents\\Tavro Korvina\\Ärger", key), kSchemeSuccess);
  ASSERT_EQ(CreateSchemeKey(L"APPEVENTS\\tavro korvina\\ÄRGER\\.Current", key), kSchemeSuccess);
  EXPECT_EQ(OpenSchemeKey(L"appevents\\TAVRO KORVINA\\ärger\\.CURRENT", kSchemeReadAccess, key),
            kSchemeSuccess);
  EXPECT_EQ(Subkeys(L"aPPeVENTS"), std::vector<std::wstring>{L"Tavro Korvina"});
  EXPECT_EQ(Subkeys(L"AppEvents\\Tavro Korvina"), std::vector<std::wstring>{L"Ärger"});
  EXPECT_EQ(Subkeys(L"AppEvents\\Tavro Korvina\\Ärger"), std::vector<std::wstring>{L".Current"});
}

TEST_F(SoundScheme, OpeningAMissingKeyIsFileNotFoundAndLeavesTheKeyClosed) {
  SchemeKey key;
  EXPECT_EQ(OpenSchemeKey(L"AppEvents", kSchemeReadAccess, key), kSchemeFileNotFound);  // no file at all
  EXPECT_FALSE(key.IsOpen());
  EXPECT_FALSE(std::filesystem::exists(Folder()));  // reading makes nothing
  ASSERT_EQ(CreateSchemeKey(L"AppEvents\\Schemes", key), kSchemeSuccess);
  EXPECT_EQ(OpenSchemeKey(L"AppEvents\\Schemes\\Apps", kSchemeAllAccess, key), kSchemeFileNotFound);
  EXPECT_FALSE(key.IsOpen());
}

TEST_F(SoundScheme, PathsWithEmptyNamesAreRefused) {
  SchemeKey key;
  EXPECT_EQ(CreateSchemeKey(L"\\AppEvents", key), kBadPathname);
  EXPECT_EQ(CreateSchemeKey(L"AppEvents\\\\Schemes", key), kBadPathname);
  EXPECT_FALSE(key.IsOpen());
  EXPECT_EQ(CreateSchemeKey(L"AppEvents\\Schemes\\", key), kSchemeSuccess);  // one trailing "\\" is ignored
  EXPECT_EQ(Subkeys(L"AppEvents"), std::vector<std::wstring>{L"Schemes"});
}

TEST_F(SoundScheme, ValuesOfBothTypesRoundTripAndTheFileIsExactlyAsDocumented) {
  ASSERT_EQ(SetValue(L"Tavro\\Error", kSchemeExpandString, L"%KVO_INSTALL_DIR%Sounds\\Error.wav"),
            kSchemeSuccess);
  ASSERT_EQ(SetValue(L"Tavro\\Plain", kSchemeString, L"/some/path.wav"), kSchemeSuccess);
  SchemeKey empty;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Empty", empty), kSchemeSuccess);

  SchemeKey key;
  unsigned long type = 0;
  std::wstring value;
  ASSERT_EQ(OpenSchemeKey(L"tavro\\error", kSchemeReadAccess, key), kSchemeSuccess);
  ASSERT_EQ(ReadSchemeDefaultValue(key, 520, type, value), kSchemeSuccess);
  EXPECT_EQ(type, kSchemeExpandString);
  EXPECT_EQ(value, L"%KVO_INSTALL_DIR%Sounds\\Error.wav");
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\Plain", kSchemeReadAccess, key), kSchemeSuccess);
  ASSERT_EQ(ReadSchemeDefaultValue(key, 520, type, value), kSchemeSuccess);
  EXPECT_EQ(type, kSchemeString);
  EXPECT_EQ(value, L"/some/path.wav");

  const std::wstring expected = std::wstring(kHeader) +
                                L"\n[Tavro]\n"
                                L"\n[Tavro\\Empty]\n"
                                L"\n[Tavro\\Error]\n"
                                L"@=REG_EXPAND_SZ:%KVO_INSTALL_DIR%Sounds\\Error.wav\n"
                                L"\n[Tavro\\Plain]\n"
                                L"@=REG_SZ:/some/path.wav\n";
  EXPECT_EQ(ReadBytes(StoreFile()), Utf16LeWithCrLf(expected));
}

TEST_F(SoundScheme, AKeyWithoutValueIsFileNotFoundAndAnEmptyValueIsOne) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error", key), kSchemeSuccess);
  unsigned long type = 7;
  std::wstring value = L"untouched";
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeFileNotFound);
  EXPECT_EQ(type, 7u);
  EXPECT_EQ(value, L"untouched");

  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, L""), kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 2, type, value), kSchemeSuccess);  // just the terminator
  EXPECT_EQ(type, kSchemeString);
  EXPECT_EQ(value, L"");
  EXPECT_EQ(ReadSchemeDefaultValue(key, 1, type, value), kSchemeMoreData);
  EXPECT_EQ(ReadBytes(StoreFile()),
            Utf16LeWithCrLf(std::wstring(kHeader) + L"\n[Tavro]\n\n[Tavro\\Error]\n@=REG_SZ:\n"));
}

TEST_F(SoundScheme, ValueSizeIsCountedInUtf16BytesWithTheTerminator) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error", key), kSchemeSuccess);
  unsigned long type = 0;
  std::wstring value;
  const std::wstring fits(255, L'a');
  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, fits), kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeSuccess);
  EXPECT_EQ(value, fits);
  value = L"untouched";
  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, std::wstring(256, L'a')), kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeMoreData);
  EXPECT_EQ(value, L"untouched");
  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, std::wstring(257, L'a')), kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeMoreData);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 516, type, value), kSchemeSuccess);
  EXPECT_EQ(value.size(), 257u);

  // A character above U+FFFF is two UTF-16 units, as the registry stores it.
  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, std::wstring(253, L'a') + L"\U0001F600"),
            kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeSuccess);
  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, std::wstring(254, L'a') + L"\U0001F600"),
            kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeMoreData);
}

TEST_F(SoundScheme, ASubkeyNameLongerThanTheBufferIsMoreData) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error", key), kSchemeSuccess);
  ASSERT_EQ(OpenSchemeKey(L"Tavro", kSchemeReadAccess, key), kSchemeSuccess);
  std::wstring name = L"untouched";
  EXPECT_EQ(EnumSchemeSubkey(key, 0, 5, name), kSchemeMoreData);
  EXPECT_EQ(name, L"untouched");
  EXPECT_EQ(EnumSchemeSubkey(key, 0, 6, name), kSchemeSuccess);
  EXPECT_EQ(name, L"Error");
}

TEST_F(SoundScheme, EnumeratingPastTheLastSubkeyIsNoMoreItems) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error", key), kSchemeSuccess);
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Warning", key), kSchemeSuccess);
  std::wstring name;
  EXPECT_EQ(EnumSchemeSubkey(key, 0, 256, name), kSchemeNoMoreItems);  // Warning has none
  ASSERT_EQ(OpenSchemeKey(L"Tavro", kSchemeReadAccess, key), kSchemeSuccess);
  EXPECT_EQ(EnumSchemeSubkey(key, 1, 256, name), kSchemeSuccess);
  EXPECT_EQ(name, L"Warning");
  EXPECT_EQ(EnumSchemeSubkey(key, 2, 256, name), kSchemeNoMoreItems);
  EXPECT_EQ(EnumSchemeSubkey(key, 1000, 256, name), kSchemeNoMoreItems);
}

TEST_F(SoundScheme, AKeyWithSubkeysCannotBeDeletedButALeafCan) {
  SchemeKey parent;
  SchemeKey leaf;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error\\.Current", leaf), kSchemeSuccess);
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\Error", kSchemeAllAccess, parent), kSchemeSuccess);
  EXPECT_EQ(DeleteOpenSchemeKey(parent), kSchemeAccessDenied);
  EXPECT_EQ(Subkeys(L"Tavro\\Error"), std::vector<std::wstring>{L".Current"});

  EXPECT_EQ(DeleteOpenSchemeKey(leaf), kSchemeSuccess);
  SchemeKey gone;
  EXPECT_EQ(OpenSchemeKey(L"Tavro\\Error\\.Current", kSchemeReadAccess, gone), kSchemeFileNotFound);
  EXPECT_EQ(DeleteOpenSchemeKey(parent), kSchemeSuccess);
  EXPECT_EQ(Subkeys(L"Tavro"), std::vector<std::wstring>{});
  EXPECT_EQ(ReadBytes(StoreFile()), Utf16LeWithCrLf(std::wstring(kHeader) + L"\n[Tavro]\n"));
}

TEST_F(SoundScheme, EveryUseOfAKeyDeletedUnderItsHandleIsKeyDeleted) {
  SchemeKey first;
  SchemeKey second;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error", first), kSchemeSuccess);
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\Error", kSchemeAllAccess, second), kSchemeSuccess);
  ASSERT_EQ(DeleteOpenSchemeKey(second), kSchemeSuccess);

  unsigned long type = 0;
  std::wstring text;
  EXPECT_EQ(SetSchemeDefaultValue(first, kSchemeString, L"x"), kSchemeKeyDeleted);
  EXPECT_EQ(ReadSchemeDefaultValue(first, 512, type, text), kSchemeKeyDeleted);
  EXPECT_EQ(EnumSchemeSubkey(first, 0, 256, text), kSchemeKeyDeleted);
  EXPECT_EQ(DeleteOpenSchemeKey(first), kSchemeKeyDeleted);
  EXPECT_EQ(Subkeys(L"Tavro"), std::vector<std::wstring>{});
}

TEST_F(SoundScheme, AKeyOpenedForReadingRefusesWritesAndOneForDeletionRefusesReads) {
  ASSERT_EQ(SetValue(L"Tavro\\Error", kSchemeString, L"old.wav"), kSchemeSuccess);
  const std::string before = ReadBytes(StoreFile());
  SchemeKey reader;
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\Error", kSchemeReadAccess, reader), kSchemeSuccess);
  EXPECT_EQ(SetSchemeDefaultValue(reader, kSchemeString, L"new.wav"), kSchemeAccessDenied);
  EXPECT_EQ(ReadBytes(StoreFile()), before);
  unsigned long type = 0;
  std::wstring value;
  EXPECT_EQ(ReadSchemeDefaultValue(reader, 512, type, value), kSchemeSuccess);
  EXPECT_EQ(value, L"old.wav");

  // KEY_WRITE with enumeration: no KEY_QUERY_VALUE.
  SchemeKey deleter;
  ASSERT_EQ(OpenSchemeKey(L"Tavro", kSchemeDeleteAccess, deleter), kSchemeSuccess);
  EXPECT_EQ(ReadSchemeDefaultValue(deleter, 512, type, value), kSchemeAccessDenied);
  EXPECT_EQ(EnumSchemeSubkey(deleter, 0, 256, value), kSchemeSuccess);
  EXPECT_EQ(value, L"Error");
}

// RegDeleteKeyW opens the key again with DELETE access, so the rights of the handle it is given do
// not matter there; the store behaves the same.
TEST_F(SoundScheme, DeletingIgnoresTheRightsOfTheHandleAsTheRegistryDoes) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\Error", key), kSchemeSuccess);
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\Error", kSchemeReadAccess, key), kSchemeSuccess);
  EXPECT_EQ(DeleteOpenSchemeKey(key), kSchemeSuccess);
  EXPECT_EQ(Subkeys(L"Tavro"), std::vector<std::wstring>{});
}

TEST_F(SoundScheme, AClosedKeyIsAnInvalidHandle) {
  SchemeKey key;
  unsigned long type = 0;
  std::wstring text;
  EXPECT_EQ(SetSchemeDefaultValue(key, kSchemeString, L"x"), kInvalidHandle);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, text), kInvalidHandle);
  EXPECT_EQ(EnumSchemeSubkey(key, 0, 256, text), kInvalidHandle);
  EXPECT_EQ(DeleteOpenSchemeKey(key), kInvalidHandle);
}

TEST_F(SoundScheme, NewlinesBracketsEqualsCaretsAndCharactersAboveTheBmpRoundTrip) {
  const std::wstring value = L"one\ntwo\r\n[three]=four^0041 \U0001F600";
  const std::wstring name = L"[odd]\nname=^";
  ASSERT_EQ(SetValue(L"Tavro\\" + name, kSchemeString, value), kSchemeSuccess);
  EXPECT_EQ(Subkeys(L"Tavro"), std::vector<std::wstring>{name});
  SchemeKey key;
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\" + name, kSchemeReadAccess, key), kSchemeSuccess);
  unsigned long type = 0;
  std::wstring read;
  ASSERT_EQ(ReadSchemeDefaultValue(key, 512, type, read), kSchemeSuccess);
  EXPECT_EQ(read, value);
  EXPECT_EQ(ReadBytes(StoreFile()),
            Utf16LeWithCrLf(std::wstring(kHeader) +
                            L"\n[Tavro]\n"
                            L"\n[Tavro\\[odd]^000Aname=^005E]\n"
                            L"@=REG_SZ:one^000Atwo^000D^000A[three]=four^005E0041 \U0001F600\n"));
}

TEST_F(SoundScheme, AValueIsReadUpToItsFirstNullButSizedWhole) {
  SchemeKey key;
  ASSERT_EQ(CreateSchemeKey(L"Tavro", key), kSchemeSuccess);
  ASSERT_EQ(SetSchemeDefaultValue(key, kSchemeString, std::wstring(L"abc\0def", 7)), kSchemeSuccess);
  unsigned long type = 0;
  std::wstring value;
  EXPECT_EQ(ReadSchemeDefaultValue(key, 14, type, value), kSchemeMoreData);
  EXPECT_EQ(ReadSchemeDefaultValue(key, 16, type, value), kSchemeSuccess);
  EXPECT_EQ(value, L"abc");
}

TEST_F(SoundScheme, WithoutXdgConfigHomeTheStoreIsUnderHomeDotConfig) {
  const TempDir home;
  const ScopedEnvironmentVariable homeVariable("HOME", home.path().string());
  const auto file = home.path() / ".config" / "TavroMedivane" / "sound-scheme.ini";
  {
    const ScopedEnvironmentVariable unset("XDG_CONFIG_HOME", std::nullopt);
    ASSERT_EQ(SetValue(L"Tavro\\Unset", kSchemeString, L"a.wav"), kSchemeSuccess);
  }
  {
    const ScopedEnvironmentVariable empty("XDG_CONFIG_HOME", "");
    ASSERT_EQ(SetValue(L"Tavro\\Empty", kSchemeString, L"b.wav"), kSchemeSuccess);
  }
  EXPECT_EQ(ReadBytes(file), Utf16LeWithCrLf(std::wstring(kHeader) + L"\n[Tavro]\n"
                                                                     L"\n[Tavro\\Empty]\n@=REG_SZ:b.wav\n"
                                                                     L"\n[Tavro\\Unset]\n@=REG_SZ:a.wav\n"));
  EXPECT_FALSE(std::filesystem::exists(Folder()));
}

TEST_F(SoundScheme, TheFolderIsMadePrivateAndNoTemporaryFileIsLeftBehind) {
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(SetValue(L"Tavro\\Key" + std::to_wstring(i), kSchemeString, L"x.wav"), kSchemeSuccess);
  }
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
    names.insert(entry.path().filename().string());
  }
  EXPECT_EQ(names, (std::set<std::string>{"sound-scheme.ini", "sound-scheme.ini.lock"}));
  struct stat info {};
  ASSERT_EQ(::stat(Folder().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  ASSERT_EQ(::stat(StoreFile().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(SoundScheme, AWriteThatCannotMakeItsTemporaryFileFailsAndKeepsTheOldFile) {
  ASSERT_EQ(SetValue(L"Tavro\\Error", kSchemeString, L"old.wav"), kSchemeSuccess);
  const std::string before = ReadBytes(StoreFile());
  // A folder where the temporary file would go: opening it for writing fails with EISDIR.
  std::filesystem::create_directory(Folder() / ("sound-scheme.ini.tmp." + std::to_string(::getpid())));
  EXPECT_EQ(SetValue(L"Tavro\\Error", kSchemeString, L"new.wav"), kSchemeAccessDenied);
  EXPECT_EQ(ReadBytes(StoreFile()), before);
}

TEST_F(SoundScheme, ALeftoverTemporaryFileOfACrashedWriterChangesNothing) {
  ASSERT_EQ(SetValue(L"Tavro\\Error", kSchemeString, L"old.wav"), kSchemeSuccess);
  std::ofstream(Folder() / "sound-scheme.ini.tmp.999999", std::ios::binary) << "\xFF\xFE[";
  SchemeKey key;
  ASSERT_EQ(OpenSchemeKey(L"Tavro\\Error", kSchemeReadAccess, key), kSchemeSuccess);
  unsigned long type = 0;
  std::wstring value;
  EXPECT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeSuccess);
  EXPECT_EQ(value, L"old.wav");
}

// By hand, without a byte order mark: read as UTF-8; the missing parent is there, the line that
// means nothing is skipped, and the next change writes the whole store in the store's own form.
TEST_F(SoundScheme, AHandWrittenUtf8FileIsReadAndRewrittenInTheStoresForm) {
  std::filesystem::create_directories(Folder());
  std::ofstream(StoreFile(), std::ios::binary)
      << "[Tavro\\\xC3\x84rger]\n@=REG_EXPAND_SZ:x^000Ay.wav\nnonsense\n";
  EXPECT_EQ(Subkeys(L"Tavro"), std::vector<std::wstring>{L"\u00C4rger"});
  SchemeKey key;
  ASSERT_EQ(OpenSchemeKey(L"tavro\\\u00E4RGER", kSchemeAllAccess, key), kSchemeSuccess);
  unsigned long type = 0;
  std::wstring value;
  ASSERT_EQ(ReadSchemeDefaultValue(key, 512, type, value), kSchemeSuccess);
  EXPECT_EQ(type, kSchemeExpandString);
  EXPECT_EQ(value, L"x\ny.wav");
  ASSERT_EQ(CreateSchemeKey(L"Tavro\\New", key), kSchemeSuccess);
  EXPECT_EQ(ReadBytes(StoreFile()),
            Utf16LeWithCrLf(std::wstring(kHeader) + L"\n[Tavro]\n"
                                                    L"\n[Tavro\\New]\n"
                                                    L"\n[Tavro\\\u00C4rger]\n@=REG_EXPAND_SZ:x^000Ay.wav\n"));
}

// On volumes of the test's own: a full one (ENOSPC) and a read-only one (EROFS).
TEST_F(SoundScheme, AFullOrReadOnlyVolumeGivesAnErrorAndKeepsTheOldFile) {
  PrivateVolumes volumes(mDir.path() / "volumes");
  if (!volumes.Unavailable().empty()) GTEST_SKIP() << volumes.Unavailable();
  const auto run = volumes.Run([&](Findings& found) {
    const ScopedEnvironmentVariable home("XDG_CONFIG_HOME", volumes.Small().string());
    const auto file = volumes.Small() / "TavroMedivane" / "sound-scheme.ini";
    found["first"] = std::to_string(SetValue(L"Tavro\\Error", kSchemeString, L"old.wav"));
    found["before"] = ReadBytes(file);
    const std::string filled = testing::FillVolumeLeaving(volumes.Small(), 0);
    if (!filled.empty()) found["error"] = filled;
    found["full"] = std::to_string(SetValue(L"Tavro\\Error", kSchemeString, std::wstring(5000, L'n')));
    found["afterFull"] = ReadBytes(file);
    std::filesystem::remove(volumes.Small() / "filler");
    if (::mount(nullptr, volumes.Small().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
      found["error"] = std::string("remount read-only: ") + std::strerror(errno);
    }
    found["readOnly"] = std::to_string(SetValue(L"Tavro\\Error", kSchemeString, L"new.wav"));
    found["afterReadOnly"] = ReadBytes(file);
    SchemeKey key;
    unsigned long type = 0;
    std::wstring value;
    if (OpenSchemeKey(L"Tavro\\Error", kSchemeReadAccess, key) == kSchemeSuccess &&
        ReadSchemeDefaultValue(key, 512, type, value) == kSchemeSuccess) {
      found["readBack"] = std::string(value.begin(), value.end());
    }
  });
  TAVRO_ASSERT_SCENARIO_RAN(run);
  EXPECT_EQ(run.Found("first"), "0");
  EXPECT_EQ(run.Found("before"),
            Utf16LeWithCrLf(std::wstring(kHeader) + L"\n[Tavro]\n\n[Tavro\\Error]\n@=REG_SZ:old.wav\n"));
  EXPECT_EQ(run.Found("full"), std::to_string(kDiskFull));
  EXPECT_EQ(run.Found("afterFull"), run.Found("before"));
  EXPECT_EQ(run.Found("readOnly"), std::to_string(kSchemeAccessDenied));
  EXPECT_EQ(run.Found("afterReadOnly"), run.Found("before"));
  EXPECT_EQ(run.Found("readBack"), "old.wav");  // reading needs no write access
}

constexpr int kKeysPerProcess = 200;
constexpr int kChildDone = 0;
constexpr int kChildNoGo = 2;
constexpr int kChildFailed = 3;

// "scheme-keys-<n>": waits for the parent's go, then creates Race\P<n>-<i> for every i.
int RunSchemeChild(const std::string& argument) {
  const std::string prefix = "scheme-keys-";
  if (argument.rfind(prefix, 0) != 0) return kChildFailed;
  const std::wstring process = std::to_wstring(std::atoi(argument.c_str() + prefix.size()));
  const char* home = std::getenv("XDG_CONFIG_HOME");
  if (home == nullptr || !testing::WaitForFile(std::filesystem::path(home) / "go")) return kChildNoGo;
  for (int i = 0; i < kKeysPerProcess; ++i) {
    SchemeKey key;
    if (CreateSchemeKey(L"Race\\P" + process + L"-" + std::to_wstring(i), key) != kSchemeSuccess) {
      return kChildFailed;
    }
  }
  return kChildDone;
}

TEST_F(SoundScheme, TwoProcessesCreatingKeysAtOnceLoseNothing) {
  ChildProcess first("scheme-keys-1");
  ChildProcess second("scheme-keys-2");
  ASSERT_TRUE(first.Started());
  ASSERT_TRUE(second.Started());
  std::ofstream(mDir.path() / "go") << "go";
  EXPECT_EQ(first.WaitForExit(), kChildDone);
  EXPECT_EQ(second.WaitForExit(), kChildDone);

  const std::vector<std::wstring> names = Subkeys(L"Race");
  const std::set<std::wstring> found(names.begin(), names.end());
  std::set<std::wstring> expected;
  for (const wchar_t* process : {L"1", L"2"}) {
    for (int i = 0; i < kKeysPerProcess; ++i)
      expected.insert(L"P" + std::wstring(process) + L"-" + std::to_wstring(i));
  }
  EXPECT_EQ(names.size(), 2u * kKeysPerProcess);
  EXPECT_EQ(found, expected);
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform

int main(int argc, char** argv) {
  using Tavro_KVO_Util::platform::RunSchemeChild;
  using Tavro_KVO_Util::platform::RunSoundPlayerChild;
  const auto body = [](const std::string& argument) {
    return argument.rfind("scheme-", 0) == 0 ? RunSchemeChild(argument) : RunSoundPlayerChild(argument);
  };
  if (int code = 0; Tavro_KVO_Util::testing::RunAsChildIfAsked(argc, argv, body, code)) return code;
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
