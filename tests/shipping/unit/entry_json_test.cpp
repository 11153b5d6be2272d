// One log entry as one line of JSON, byte for byte: the ECS names, numbers as numbers, strings
// escaped as JSON asks, and an entry that does not fit kept whole.
#include "shipping/entry_json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "local_zone.h"

namespace Tavro_KVO_Util::shipping {
namespace {

const std::wstring kDefaultTemplate = L"%L %D %T %Z %A {%P-%t} %m";
const std::vector<std::string> kBerlinZones = {"CET", "CEST"};

using EntryJsonLine = InBerlin;

TEST_F(EntryJsonLine, EntryWithDataHasEveryFieldOfTheTemplate) {
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  EXPECT_EQ(EntryJson("W 2026-07-01 12:00:00.045 CEST Bed Monitor {C:\\Program Files\\Ward\\my-app.exe-1234} "
                      "hello;DATA#42",
                      entryTemplate, "tablet-7"),
            R"({"@timestamp":")" + JulyNoonTimestamp() +
                R"(","log.level":"WARN","message":"hello","process.thread.id":1234,)"
                R"("process.executable":"C:\\Program Files\\Ward\\my-app.exe","host.name":"tablet-7",)"
                R"("tavro.area":"Bed Monitor","tavro.zone":"CEST","tavro.data":"42",)"
                R"("tavro.entry":"W 2026-07-01 12:00:00.045 CEST Bed Monitor )"
                R"({C:\\Program Files\\Ward\\my-app.exe-1234} hello;DATA#42","tavro.parsed":true})");
}

TEST_F(EntryJsonLine, NumberFieldsAreUnquotedNumbers) {
  const EntryTemplate entryTemplate(L"%L %D %T %Z [%p/%t/%s] %f(%l) %A {%P} %m", kBerlinZones);
  EXPECT_EQ(
      EntryJson("E 2026-07-01 12:00:00.045 CEST [4321/-5/2] main.cpp(120) Pump {/opt/ward/pump.bin} failed",
                entryTemplate, "tablet-7"),
      R"({"@timestamp":")" + JulyNoonTimestamp() +
          R"(","log.level":"ERROR","message":"failed","process.pid":4321,"process.thread.id":-5,)"
          R"("process.executable":"/opt/ward/pump.bin","log.origin.file.name":"main.cpp",)"
          R"("log.origin.file.line":120,"host.name":"tablet-7","tavro.area":"Pump","tavro.session":2,)"
          R"("tavro.zone":"CEST","tavro.entry":"E 2026-07-01 12:00:00.045 CEST [4321/-5/2] main.cpp(120) )"
          R"(Pump {/opt/ward/pump.bin} failed","tavro.parsed":true})");
}

TEST_F(EntryJsonLine, EmptySessionIdIsAnEmptyStringAndABlankSourceFileIsLeftOut) {
  // An empty session id is no number, so it is written as text; the blank the logger writes for a
  // missing source file is no file name.
  const EntryTemplate entryTemplate(L"%L [%s] %f(%l) %m", {});
  EXPECT_EQ(EntryJson("I []  (0) tick", entryTemplate, ""),
            R"({"log.level":"INFO","message":"tick","log.origin.file.line":0,"tavro.session":"",)"
            R"("tavro.entry":"I []  (0) tick","tavro.parsed":true})");
}

TEST_F(EntryJsonLine, EachLevelLetterHasItsName) {
  // Without date and time there is no @timestamp; without a host name no host.name.
  const EntryTemplate entryTemplate(L"%L %m", {});
  const struct {
    const char* entry;
    const char* json;
  } kCases[] = {
      {"R hi", R"({"log.level":"REPORT","message":"hi","tavro.entry":"R hi","tavro.parsed":true})"},
      {"F hi", R"({"log.level":"FATAL","message":"hi","tavro.entry":"F hi","tavro.parsed":true})"},
      {"E hi", R"({"log.level":"ERROR","message":"hi","tavro.entry":"E hi","tavro.parsed":true})"},
      {"W hi", R"({"log.level":"WARN","message":"hi","tavro.entry":"W hi","tavro.parsed":true})"},
      {"I hi", R"({"log.level":"INFO","message":"hi","tavro.entry":"I hi","tavro.parsed":true})"},
      {"D hi", R"({"log.level":"DEBUG","message":"hi","tavro.entry":"D hi","tavro.parsed":true})"},
      {"U hi", R"({"log.level":"UNKNOWN","message":"hi","tavro.entry":"U hi","tavro.parsed":true})"},
  };
  for (const auto& c : kCases) EXPECT_EQ(EntryJson(c.entry, entryTemplate, ""), c.json);
}

TEST_F(EntryJsonLine, QuotesBackslashesAndControlCharactersAreEscaped) {
  const EntryTemplate entryTemplate(L"%L %m", {});
  EXPECT_EQ(EntryJson("I say \"hi\" \\ now\ttab\x01", entryTemplate, ""),
            R"({"log.level":"INFO","message":"say \"hi\" \\ now\ttab\u0001",)"
            R"("tavro.entry":"I say \"hi\" \\ now\ttab\u0001","tavro.parsed":true})");
}

TEST_F(EntryJsonLine, GarbageLineIsKeptWholeAndMarkedUnparsed) {
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  EXPECT_EQ(EntryJson("garbage line", entryTemplate, ""),
            R"({"message":"garbage line","tavro.entry":"garbage line","tavro.parsed":false})");
}

TEST(EntryJsonNumbers, ANumberWithALeadingZeroIsWrittenAsAString) {
  // JSON has no leading zeros; "007" as a number would make the whole line unreadable.
  const EntryTemplate entryTemplate(L"%t %p %m", {});
  EXPECT_EQ(
      EntryJson("007 0 x", entryTemplate, ""),
      R"({"message":"x","process.pid":0,"process.thread.id":"007","tavro.entry":"007 0 x","tavro.parsed":true})");
}

TEST(JsonString, EscapesWhatJsonRequiresAndNothingElse) {
  EXPECT_EQ(JsonString(""), R"("")");
  EXPECT_EQ(JsonString("a\"b\\c/d"), R"("a\"b\\c/d")");
  EXPECT_EQ(JsonString("\n\r\t\b\f"), R"("\n\r\t\u0008\u000c")");
  EXPECT_EQ(JsonString(std::string("\x00\x1f\x7f", 3)), R"("\u0000\u001f)"
                                                        "\x7f\"");
  // UTF-8 passes as it is.
  EXPECT_EQ(JsonString("\xC3\x9C"), "\"\xC3\x9C\"");
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
