// The section, matching-key and array queries of Config.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Config.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"
#include "support/config_file.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {
namespace {

using internal::kLevelDebug;
using internal::kLevelError;
using internal::kLevelInfo;
using internal::kLevelWarn;
using internal::ReportRecorderForTesting;
using Messages = std::vector<std::wstring>;
using Section = std::map<std::wstring, std::wstring>;
using Indices = std::vector<unsigned int>;

constexpr wchar_t kArrayFile[] =
    L"/A[0]/x=a0\r\n/A[10]/x=a10\r\n/A[1]/x=a1x\r\n/A[1]/y=a1y\r\n/A[2]/x=a2\r\n";

// A logging store read from `text`, written as an 8-bit file in `dir`.
std::unique_ptr<Config> Load(const testing::TempDir& dir, const std::wstring& text) {
  const auto file = dir.WriteFile("TavroMedivane.cfg", testing::AnsiBytes(text));
  return std::make_unique<Config>(testing::WidePath(file).c_str(), /*logging=*/true, /*writable=*/false);
}

// ---- GetArrayIndices ----

TEST(ConfigQueries, ArrayIndicesComeInTheOrderOfTheKeyText) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  Indices indices;
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_SUCCESS);
  EXPECT_EQ(indices, (Indices{0, 10, 1, 2}));
}

TEST(ConfigQueries, ArrayIndicesAcceptASectionEndingInTheBracket) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  Indices indices;
  EXPECT_EQ(config->GetArrayIndices(L"/A[", indices), CFG_SUCCESS);
  EXPECT_EQ(indices, (Indices{0, 10, 1, 2}));
}

TEST(ConfigQueries, ArrayIndicesAreAppendedAgainOnASecondCall) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  Indices indices;
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_SUCCESS);
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_SUCCESS);
  EXPECT_EQ(indices, (Indices{0, 10, 1, 2, 0, 10, 1, 2}));
}

TEST(ConfigQueries, ArrayIndicesReadBareAndNestedKeysOfTheArrayOnly) {
  testing::TempDir dir;
  const auto config =
      Load(dir, L"/A=top\r\n/A[7]=bare\r\n/A[7]/Name=nested\r\n/AB[4]/x=other\r\n/B[3]=b\r\n");
  Indices indices{99};
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_SUCCESS);
  EXPECT_EQ(indices, (Indices{99, 7}));
}

TEST(ConfigQueries, ArrayIndicesOfAMissingArrayAreNotFound) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  Indices indices{5};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetArrayIndices(L"/B", indices), CFG_NOT_FOUND);
  EXPECT_EQ(indices, Indices{5});
  EXPECT_EQ(recorder.Messages(kLevelInfo),
            Messages{L"Could not get array indices from the following section: /B"});
  EXPECT_EQ(recorder.Messages(kLevelDebug),
            Messages{L"*** Config::GetArrayIndices \u2013 Requested Section is: /B***"});
}

TEST(ConfigQueries, ArrayIndicesReportTheSectionAsGiven) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  Indices indices;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetArrayIndices(L"/B[", indices), CFG_NOT_FOUND);
  EXPECT_EQ(recorder.Messages(kLevelDebug),
            Messages{L"*** Config::GetArrayIndices \u2013 Requested Section is: /B[***"});
  EXPECT_EQ(recorder.Messages(kLevelInfo),
            Messages{L"Could not get array indices from the following section: /B["});
}

TEST(ConfigQueries, ArrayIndicesRefuseAnEmptySection) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  Indices indices{5};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetArrayIndices(L"", indices), CFG_INVALID_PARAMETER);
  EXPECT_EQ(indices, Indices{5});
  EXPECT_EQ(recorder.Messages(kLevelError), Messages{L"Config::GetArrayIndices - empty section"});
  EXPECT_TRUE(recorder.Messages(kLevelDebug).empty());
}

// The store answers from what it read: a changed file is seen only after a reload.
TEST(ConfigQueries, QueriesDoNotReload) {
  testing::TempDir dir;
  const auto config = Load(dir, kArrayFile);
  const auto file = dir.path() / "TavroMedivane.cfg";
  const auto before = std::filesystem::last_write_time(file);
  testing::WriteBytes(file, testing::AnsiBytes(L"/A[5]/x=new\r\n"));
  std::filesystem::last_write_time(file, before + std::chrono::seconds(2));
  Indices indices;
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_SUCCESS);
  EXPECT_EQ(indices, (Indices{0, 10, 1, 2}));
  Section out;
  EXPECT_EQ(config->GetSection(L"/A[5]", out), CFG_NOT_FOUND);
}

// An index that is negative or not a number stops the walk on its key for good (old behaviour,
// kept). The child process of the death test proves the call does not come back: a watchdog
// thread ends it with 42 after two seconds, while a returning call would end it with 0.
void ExpectArrayIndicesNeverReturn(const std::wstring& text) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        testing::TempDir dir;
        const auto config = Load(dir, text);
        const std::filesystem::path folder = dir.path();
        std::thread([folder] {
          std::this_thread::sleep_for(std::chrono::seconds(2));
          std::error_code ignored;
          std::filesystem::remove_all(folder, ignored);  // the dir's destructor never runs here
          std::_Exit(42);
        }).detach();
        Indices indices;
        config->GetArrayIndices(L"/A", indices);
        std::_Exit(0);
      },
      ::testing::ExitedWithCode(42), "");
}

TEST(ConfigQueriesDeathTest, ArrayIndicesNeverReturnForAnIndexThatIsNotANumber) {
  ExpectArrayIndicesNeverReturn(L"/A[1]/x=1\r\n/A[x]/y=2\r\n");
}

TEST(ConfigQueriesDeathTest, ArrayIndicesNeverReturnForANegativeIndex) {
  ExpectArrayIndicesNeverReturn(L"/A[-1]/x=1\r\n/A[1]/x=2\r\n");
}

// Only "1" and "true" switch the safe profile on; any other value keeps the old walk.
TEST(ConfigQueriesDeathTest, ArrayIndicesStillNeverReturnWhenTheSafeProfileIsSwitchedOffByName) {
  const testing::ScopedEnvironmentVariable variable("KVO_SAFE_PROFILE", "0");
  ExpectArrayIndicesNeverReturn(L"/A[1]/x=1\r\n/A[x]/y=2\r\n/Tavro/MedivaneSDK/SafeProfile=false\r\n");
}

// The safe profile: such keys are passed over with one WARN each, and the call answers with the
// indices it found.
constexpr wchar_t kBadIndexFile[] = L"/A[-1]/x=neg\r\n/A[1]/x=one\r\n/A[2]/x=two\r\n/A[x]/y=word\r\n";

void ExpectBadIndicesPassedOver(const std::wstring& text) {
  testing::TempDir dir;
  const auto config = Load(dir, text);
  Indices indices;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_SUCCESS);
  EXPECT_EQ(indices, (Indices{1, 2}));
  EXPECT_EQ(
      recorder.Messages(kLevelWarn),
      (Messages{L"Config::GetArrayIndices - the key /A[-1]/x has no valid array index (negative or not a "
                L"number) and was passed over",
                L"Config::GetArrayIndices - the key /A[x]/y has no valid array index (negative or not a "
                L"number) and was passed over"}));
}

TEST(ConfigQueries, ArrayIndicesInTheSafeProfileFromTheEnvironmentPassOverKeysWithoutAValidIndex) {
  const testing::ScopedEnvironmentVariable variable("KVO_SAFE_PROFILE", "1");
  ExpectBadIndicesPassedOver(kBadIndexFile);
}

TEST(ConfigQueries, ArrayIndicesInTheSafeProfileFromTheConfigurationPassOverKeysWithoutAValidIndex) {
  const testing::ScopedEnvironmentVariable variable("KVO_SAFE_PROFILE", std::nullopt);
  ExpectBadIndicesPassedOver(std::wstring(kBadIndexFile) + L"/Tavro/MedivaneSDK/SafeProfile=true\r\n");
}

TEST(ConfigQueries, ArrayIndicesInTheSafeProfileWithOnlyBadKeysFindNothing) {
  const testing::ScopedEnvironmentVariable variable("KVO_SAFE_PROFILE", "1");
  testing::TempDir dir;
  const auto config = Load(dir, L"/A[x]/y=word\r\n");
  Indices indices;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetArrayIndices(L"/A", indices), CFG_NOT_FOUND);
  EXPECT_TRUE(indices.empty());
  EXPECT_EQ(recorder.Messages(kLevelWarn).size(), 1u);
  EXPECT_EQ(recorder.Messages(kLevelInfo),
            Messages{L"Could not get array indices from the following section: /A"});
}

// ---- GetSection ----

TEST(ConfigQueries, SectionIsAPlainPrefixOfTheKey) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/0=zero\r\n/A/x=1\r\n/A/y=2\r\n/AB/c=3\r\n/B/z=4\r\n");
  Section out;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetSection(L"/A", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/A/x", L"1"}, {L"/A/y", L"2"}, {L"/AB/c", L"3"}}));
  EXPECT_EQ(recorder.Messages(kLevelDebug),
            (Messages{L"*** Config::GetSection \u2013 Requested Section is: /A***",
                      L"Following section found: /A"}));
}

TEST(ConfigQueries, MissingSectionIsNotFoundAndKeepsTheCallersEntries) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/A/x=1\r\n");
  Section out{{L"keep", L"me"}};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetSection(L"/Q", out), CFG_NOT_FOUND);
  EXPECT_EQ(out, (Section{{L"keep", L"me"}}));
  EXPECT_EQ(recorder.Messages(kLevelInfo), Messages{L"Could not find the following section: /Q***"});
}

TEST(ConfigQueries, SectionNeverReplacesAnEntryTheCallerHolds) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/A/x=1\r\n/A/y=2\r\n");
  Section out{{L"/A/x", L"old"}, {L"other", L"kept"}};
  EXPECT_EQ(config->GetSection(L"/A", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/A/x", L"old"}, {L"/A/y", L"2"}, {L"other", L"kept"}}));
}

TEST(ConfigQueries, SectionAskedTwiceLeavesTheContainerUnchanged) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/A/x=1\r\n/A/y=2\r\n");
  Section out;
  EXPECT_EQ(config->GetSection(L"/A", out), CFG_SUCCESS);
  const Section first = out;
  EXPECT_EQ(config->GetSection(L"/A", out), CFG_SUCCESS);
  EXPECT_EQ(out, first);
}

TEST(ConfigQueries, EmptySectionGivesTheWholeMap) {
  testing::TempDir dir;
  const auto config = Load(dir, L"b=2\r\n/A/x=1\r\nblank=\r\na=0\r\n");
  Section out;
  EXPECT_EQ(config->GetSection(L"", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/A/x", L"1"}, {L"a", L"0"}, {L"b", L"2"}}));
}

TEST(ConfigQueries, SectionGivesTheEffectiveValues) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/A/x=1\r\n/A/x=2\r\n/A/y=\r\n");
  Section out;
  EXPECT_EQ(config->GetSection(L"/A", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/A/x", L"2"}}));
}

// ---- GetSectionWithShortKeys ----

TEST(ConfigQueries, ShortKeysKeepTheFirstInKeyOrder) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/S/a=shallow\r\n/S/T/a=deep\r\n/S/T/b=b\r\n/X/c=c\r\n");
  Section out;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetSectionWithShortKeys(L"/S", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"a", L"deep"}, {L"b", L"b"}}));  // "/S/T/a" sorts before "/S/a"
  const Messages debug = recorder.Messages(kLevelDebug);
  ASSERT_FALSE(debug.empty());
  EXPECT_EQ(debug.front(), L"*** Config::GetSectionWithShortKeys \u2013 Requested Section is: /S***");
}

TEST(ConfigQueries, ShortKeysSkipKeysWithoutSlashOrEndingInSlash) {
  testing::TempDir dir;
  const auto config = Load(dir, L"S1=no slash\r\nS/b=kept\r\nS/c/=ends in slash\r\n");
  Section out;
  EXPECT_EQ(config->GetSectionWithShortKeys(L"S", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"b", L"kept"}}));
}

TEST(ConfigQueries, ShortKeysSucceedWhenNothingIsAdded) {
  testing::TempDir dir;
  const auto config = Load(dir, L"S1=no slash\r\n/E/=ends in slash\r\n");
  Section out;
  EXPECT_EQ(config->GetSectionWithShortKeys(L"S", out), CFG_SUCCESS);
  EXPECT_EQ(config->GetSectionWithShortKeys(L"/E", out), CFG_SUCCESS);
  EXPECT_TRUE(out.empty());
}

TEST(ConfigQueries, ShortKeysNeverReplaceAnEntryTheCallerHolds) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/S/a=new\r\n/S/b=b\r\n");
  Section out{{L"a", L"old"}};
  EXPECT_EQ(config->GetSectionWithShortKeys(L"/S", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"a", L"old"}, {L"b", L"b"}}));
}

TEST(ConfigQueries, ShortKeysOfAMissingSectionAreNotFound) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/S/a=1\r\n");
  Section out{{L"keep", L"me"}};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetSectionWithShortKeys(L"/Q", out), CFG_NOT_FOUND);
  EXPECT_EQ(out, (Section{{L"keep", L"me"}}));
  EXPECT_EQ(recorder.Messages(kLevelInfo), Messages{L"Could not find the following section: /Q***"});
}

// ---- GetMatchingKeys ----

TEST(ConfigQueries, MatchingKeysTakeLastComponentsBeginningWithTheName) {
  testing::TempDir dir;
  const auto config =
      Load(dir, L"/S/x/Name=1\r\n/S/x/Name2=2\r\n/S/x/Nam=3\r\n/S/y/Other=4\r\n/S/Name/z=5\r\n");
  Section out;
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetMatchingKeys(L"/S", L"Name", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/S/x/Name", L"1"}, {L"/S/x/Name2", L"2"}}));
  EXPECT_EQ(recorder.Messages(kLevelDebug),
            (Messages{L"*** Config::GetMatchingKeys \u2013 Requested Section is: /S***",
                      L"*** Config::GetMatchingKeys \u2013 Requested Key is: Name***"}));
}

// The walk does not stop at the first key that fails to match: it goes on to the end of the map.
// So a key that does not match, such as the section's own key "/S", hides nothing behind it;
// keys past the section ("/T/...") are looked at but never taken; and as the section is a plain
// prefix, "/SA/..." belongs to "/S".
TEST(ConfigQueries, MatchingKeysLookAtEveryKeyFromTheSectionOn) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/R/x/Name=r\r\n/S=top\r\n/S/x/Name=s\r\n/SA/y/Name=sa\r\n/T/x/Name=t\r\n");
  Section out;
  EXPECT_EQ(config->GetMatchingKeys(L"/S", L"Name", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/S/x/Name", L"s"}, {L"/SA/y/Name", L"sa"}}));
}

// "/S" holds a "/" and its last component is "S": the section's own key matches the name "S".
TEST(ConfigQueries, MatchingKeysCanTakeTheSectionsOwnKey) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/S=top\r\n/S/x/Name=s\r\n");
  Section out;
  EXPECT_EQ(config->GetMatchingKeys(L"/S", L"S", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"/S", L"top"}}));
}

TEST(ConfigQueries, MatchingKeysWithAnEmptyNameTakeEveryKeyWithASlash) {
  testing::TempDir dir;
  const auto config = Load(dir, L"S=no slash\r\nS/x=1\r\nS/y/=2\r\n");
  Section out;
  EXPECT_EQ(config->GetMatchingKeys(L"S", L"", out), CFG_SUCCESS);
  EXPECT_EQ(out, (Section{{L"S/x", L"1"}, {L"S/y/", L"2"}}));
}

TEST(ConfigQueries, MatchingKeysFindingNothingAreNotFound) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/S/x/Nam=3\r\n");
  Section out{{L"keep", L"me"}};
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->GetMatchingKeys(L"/S", L"Name", out), CFG_NOT_FOUND);
  EXPECT_EQ(out, (Section{{L"keep", L"me"}}));
  EXPECT_EQ(recorder.Messages(kLevelInfo), Messages{L"Could not make array from the following section: /S"});
}

TEST(ConfigQueries, MatchingKeysAskedTwiceLeaveTheContainerUnchanged) {
  testing::TempDir dir;
  const auto config = Load(dir, L"/S/x/Name=1\r\n/S/y/Name=2\r\n");
  Section out;
  EXPECT_EQ(config->GetMatchingKeys(L"/S", L"Name", out), CFG_SUCCESS);
  const Section first = out;
  EXPECT_EQ(config->GetMatchingKeys(L"/S", L"Name", out), CFG_SUCCESS);
  EXPECT_EQ(out, first);
}

}  // namespace
}  // namespace Tavro_KVO_Util
