// The entry parser on entries as the logger writes them: every field of the default template,
// zones with blanks, tokens the logger leaves as they are, and entries that do not fit.
#include "shipping/entry_template.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tavro_KVO_Util::shipping {
namespace {

const std::wstring kDefaultTemplate = L"%L %D %T %Z %A {%P-%t} %m";
const std::vector<std::string> kWindowsZones = {"W. Europe Standard Time", "W. Europe Daylight Time"};
const std::string kWindowsEntry =
    "W 2026-11-24 14:02:07.045 W. Europe Standard Time Bed Monitor "
    "{C:\\Program Files\\Ward\\my-app.exe-1234} hello;DATA#42";

// All fields in one line, the absent ones left out, so that one comparison checks them all.
std::string Describe(const EntryFields& fields) {
  std::string text;
  auto add = [&text](const char* name, const std::optional<std::string>& value) {
    if (!value) return;
    if (!text.empty()) text += ' ';
    text += std::string(name) + "=[" + *value + "]";
  };
  add("level", fields.level ? std::optional<std::string>(std::string(1, *fields.level)) : std::nullopt);
  add("date", fields.date);
  add("time", fields.time);
  add("zone", fields.zone);
  add("processId", fields.processId);
  add("threadId", fields.threadId);
  add("sessionId", fields.sessionId);
  add("processPath", fields.processPath);
  add("sourceFile", fields.sourceFile);
  add("sourceLine", fields.sourceLine);
  add("area", fields.area);
  add("message", fields.message);
  add("data", fields.data);
  return text;
}

// The pieces in one line: fields in <>, literal text in ''.
std::wstring Describe(const std::vector<TemplatePiece>& pieces) {
  std::wstring text;
  for (const TemplatePiece& piece : pieces) {
    text += piece.isField ? L"<" + piece.text + L">" : L"'" + piece.text + L"'";
  }
  return text;
}

const std::string kWindowsFields =
    "level=[W] date=[2026-11-24] time=[14:02:07.045] zone=[W. Europe Standard Time] threadId=[1234] "
    "processPath=[C:\\Program Files\\Ward\\my-app.exe] area=[Bed Monitor] message=[hello] data=[42]";

TEST(EntryTemplate, ZoneWithBlanksIsReadByTheMachinesZoneNames) {
  // The zone and the area both have blanks; only the known zone name tells where one ends. The
  // process path has a "-" of its own before the one in front of the thread id.
  const EntryTemplate entryTemplate(kDefaultTemplate, kWindowsZones);
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse(kWindowsEntry, fields));
  EXPECT_EQ(Describe(fields), kWindowsFields);
}

TEST(EntryTemplate, ZoneOfAnotherMachineEndsAtTheWordTime) {
  // Without the zone names, the shortest zone would be "W." and the rest would go to the area;
  // Windows' zone names end in "Time", so that end is preferred.
  const EntryTemplate entryTemplate(kDefaultTemplate, {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse(kWindowsEntry, fields));
  EXPECT_EQ(Describe(fields), kWindowsFields);
}

TEST(EntryTemplate, ZoneNotAmongTheMachinesNamesIsStillRead) {
  // An entry copied from a machine in another zone: the Linux names do not fit, "Time" does.
  const EntryTemplate entryTemplate(kDefaultTemplate, {"CET", "CEST"});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse(kWindowsEntry, fields));
  EXPECT_EQ(Describe(fields), kWindowsFields);
}

TEST(EntryTemplate, ZoneAbbreviationWithoutZoneNamesIsTheFirstWord) {
  // No "Time" anywhere: the zone falls back to the shortest text that lets the rest match.
  const EntryTemplate entryTemplate(kDefaultTemplate, {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I 2026-07-01 12:00:00.045 CEST Bed Monitor {/opt/ward/monitor-77} started",
                                  fields));
  EXPECT_EQ(Describe(fields),
            "level=[I] date=[2026-07-01] time=[12:00:00.045] zone=[CEST] threadId=[77] "
            "processPath=[/opt/ward/monitor] area=[Bed Monitor] message=[started]");
}

TEST(EntryTemplate, LongerZoneNameIsTriedWhenAShorterOneIsItsStart) {
  // "GMT" fits the start of "GMT+1" but leaves "+1" where a blank must be.
  const EntryTemplate entryTemplate(L"%L %Z %m", {"GMT", "GMT+1"});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I GMT+1 started", fields));
  EXPECT_EQ(Describe(fields), "level=[I] zone=[GMT+1] message=[started]");
}

TEST(EntryTemplate, MessageWithoutDataSuffixHasNoData) {
  const EntryTemplate entryTemplate(kDefaultTemplate, {"CET", "CEST"});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("E 2026-01-15 08:30:00.000 CET Pump {/opt/pump-9} flow too low", fields));
  EXPECT_EQ(Describe(fields),
            "level=[E] date=[2026-01-15] time=[08:30:00.000] zone=[CET] threadId=[9] processPath=[/opt/pump] "
            "area=[Pump] message=[flow too low]");
}

TEST(EntryTemplate, SecondOccurrenceOfATokenStaysLiteralText) {
  // The logger replaces the first "%T" only; the second is written as it is.
  const EntryTemplate entryTemplate(L"%L %T %T %m", {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I 14:02:07.045 %T hello", fields));
  EXPECT_EQ(Describe(fields), "level=[I] time=[14:02:07.045] message=[hello]");
  // So a second time where the literal "%T" belongs does not fit.
  EXPECT_FALSE(entryTemplate.Parse("I 14:02:07.045 14:02:07.045 hello", fields));
}

TEST(EntryTemplate, DoublePercentIsLiteralText) {
  // The logger writes "%%" back as "%%".
  const EntryTemplate entryTemplate(L"%L 100%% %m", {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I 100%% done", fields));
  EXPECT_EQ(Describe(fields), "level=[I] message=[done]");
  EXPECT_FALSE(entryTemplate.Parse("I 100% done", fields));
}

TEST(EntryTemplate, TemplateWithoutLevelGivesNoLevel) {
  const EntryTemplate entryTemplate(L"%D %T %A: %m", {});
  EXPECT_FALSE(entryTemplate.HasField(L'L'));
  EXPECT_TRUE(entryTemplate.HasField(L'A'));
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("2026-07-01 12:00:00.045 Pump: started", fields));
  EXPECT_EQ(Describe(fields), "date=[2026-07-01] time=[12:00:00.045] area=[Pump] message=[started]");
}

TEST(EntryTemplate, GarbageLineDoesNotFitAndLeavesNoFields) {
  const EntryTemplate entryTemplate(kDefaultTemplate, kWindowsZones);
  EntryFields fields;
  fields.level = 'W';  // left from an earlier entry: must not survive
  fields.message = "earlier";
  EXPECT_FALSE(entryTemplate.Parse("garbage line", fields));
  EXPECT_EQ(Describe(fields), "");
}

TEST(EntryTemplate, LevelOutsideTheKnownLettersDoesNotFit) {
  const EntryTemplate entryTemplate(L"%L %m", {});
  EntryFields fields;
  EXPECT_FALSE(entryTemplate.Parse("X hello", fields));
  EXPECT_EQ(Describe(fields), "");
}

TEST(EntryTemplate, DateOrTimeOfAnotherShapeDoesNotFit) {
  const EntryTemplate entryTemplate(L"%D %T %m", {});
  EntryFields fields;
  EXPECT_FALSE(entryTemplate.Parse("2026-7-01 12:00:00.045 hello", fields));
  EXPECT_FALSE(entryTemplate.Parse("2026-07-01 12:00:00 hello", fields));
  EXPECT_EQ(Describe(fields), "");
}

TEST(EntryTemplate, NegativeThreadIdIsRead) {
  // "%t" is signed: the "-" before the digits belongs to the thread id, not to the process path.
  const EntryTemplate entryTemplate(kDefaultTemplate, {"CET", "CEST"});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I 2026-07-01 12:00:00.045 CEST Pump {/opt/ward/pump--7} started", fields));
  EXPECT_EQ(Describe(fields),
            "level=[I] date=[2026-07-01] time=[12:00:00.045] zone=[CEST] threadId=[-7] "
            "processPath=[/opt/ward/pump] area=[Pump] message=[started]");
}

TEST(EntryTemplate, ProcessIdIsUnsigned) {
  const EntryTemplate entryTemplate(L"%L %p %m", {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I 4321 started", fields));
  EXPECT_EQ(Describe(fields), "level=[I] processId=[4321] message=[started]");
  EXPECT_FALSE(entryTemplate.Parse("I -4321 started", fields));
}

TEST(EntryTemplate, EmptySessionIdIsReadAsEmpty) {
  // The logger writes nothing at all for a session id it cannot read.
  const EntryTemplate entryTemplate(L"%L [%s] %m", {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("I [] hello", fields));
  EXPECT_EQ(Describe(fields), "level=[I] sessionId=[] message=[hello]");
  ASSERT_TRUE(entryTemplate.Parse("I [2] hello", fields));
  EXPECT_EQ(Describe(fields), "level=[I] sessionId=[2] message=[hello]");
}

TEST(EntryTemplate, SourceFileAndLineAreRead) {
  const EntryTemplate entryTemplate(L"%L %f(%l): %m", {});
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse("D .\\main.cpp(120): tick", fields));
  EXPECT_EQ(Describe(fields), "level=[D] sourceFile=[.\\main.cpp] sourceLine=[120] message=[tick]");
}

TEST(EntryTemplate, LongMessageIsReadWhole) {
  const std::string message(10000, 'x');
  const EntryTemplate entryTemplate(kDefaultTemplate, kWindowsZones);
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse(
      "I 2026-11-24 14:02:07.045 W. Europe Standard Time Pump {C:\\pump.exe-5} " + message + ";DATA#7",
      fields));
  EXPECT_EQ(fields.message, message);
  EXPECT_EQ(fields.data, "7");
  EXPECT_EQ(fields.area, "Pump");
}

TEST(EntryTemplate, AreaWithQuoteBackslashAndBracketIsReadAsWritten) {
  // These are the characters a syslog PARAM-VALUE escapes; the parser must hand them on as they are.
  const EntryTemplate entryTemplate(kDefaultTemplate, kWindowsZones);
  EntryFields fields;
  ASSERT_TRUE(entryTemplate.Parse(
      "I 2026-11-24 14:02:07.045 W. Europe Standard Time Ward \"7\" \\ North] {C:\\ward.exe-5} hello",
      fields));
  EXPECT_EQ(Describe(fields),
            "level=[I] date=[2026-11-24] time=[14:02:07.045] zone=[W. Europe Standard Time] threadId=[5] "
            "processPath=[C:\\ward.exe] area=[Ward \"7\" \\ North]] message=[hello]");
}

TEST(EntryTemplate, DefaultTemplateSplitsIntoItsFieldsAndBlanks) {
  EXPECT_EQ(Describe(SplitEntryTemplate(kDefaultTemplate)),
            L"<%L>' '<%D>' '<%T>' '<%Z>' '<%A>' {'<%P>'-'<%t>'} '<%m>");
}

TEST(EntryTemplate, TokenThatAppearsTwiceIsAFieldOnlyTheFirstTime) {
  EXPECT_EQ(Describe(SplitEntryTemplate(L"%L %m (%L)")), L"<%L>' '<%m>' (%L)'");
}

TEST(EntryTemplate, TemplateWithoutTokensIsOneLiteral) {
  EXPECT_EQ(Describe(SplitEntryTemplate(L"100%% fixed")), L"'100%% fixed'");
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
