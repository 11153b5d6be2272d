// One log entry as one RFC 5424 message, byte for byte: PRI from the level, the entry's own time
// with the offset local time had then, the header fields cut and cleaned, the structured data
// escaped, and the whole entry behind a byte-order mark.
#include "shipping/syslog_message.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "local_zone.h"
#include "platform/process_info.h"

namespace Tavro_KVO_Util::shipping {
namespace {

const std::wstring kDefaultTemplate = L"%L %D %T %Z %A {%P-%t} %m";
const std::vector<std::string> kBerlinZones = {"CET", "CEST"};
const std::string kBom = "\xEF\xBB\xBF";
const std::string kOrigin = "[origin software=\"TavroMedivaneUtil\" swVersion=\"1.2.3\"]";

MessageContext Context() {
  MessageContext context;
  context.hostname = "tablet-7";
  context.softwareVersion = "1.2.3";
  return context;
}

// The default template's entry at noon on 1 July 2026, at `level`.
std::string NoonEntry(char level) {
  return std::string(1, level) +
         " 2026-07-01 12:00:00.045 CEST Bed Monitor {C:\\Program Files\\Ward\\my-app.exe-1234} hello;DATA#42";
}

// RFC 3339 as RFC 5424 restricts it: milliseconds and a numeric offset.
bool IsTimestamp(const std::string& text) {
  return std::regex_match(text, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d)"));
}

using SyslogMessage = InBerlin;

TEST_F(SyslogMessage, EachLevelLetterGivesItsSeverityInTheWholeMessage) {
  // local0 (16) x 8 + severity: REPORT and UNKNOWN are notices (5), the others follow syslog.
  const struct {
    char level;
    const char* pri;
  } kCases[] = {{'R', "<133>"}, {'F', "<130>"}, {'E', "<131>"}, {'W', "<132>"},
                {'I', "<134>"}, {'D', "<135>"}, {'U', "<133>"}};
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.level);
    const std::string entry = NoonEntry(c.level);
    std::string timestamp;
    // The default template has no process id, so PROCID is "-"; the blank of the area becomes "_"
    // in MSGID but stays in the structured data, where the path's backslashes are escaped.
    EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, Context(), timestamp),
              std::string(c.pri) + "1 " + JulyNoonTimestamp() + " tablet-7 my-app - Bed_Monitor " + kOrigin +
                  "[tavro@32473 thread=\"1234\" process=\"C:\\\\Program Files\\\\Ward\\\\my-app.exe\" "
                  "area=\"Bed Monitor\" data=\"42\"] " +
                  kBom + entry);
    EXPECT_EQ(timestamp, JulyNoonTimestamp());
  }
}

#ifndef _WIN32
TEST_F(SyslogMessage, WarningInBerlinSummerIsThisExactMessage) {
  // The whole message spelled out once, without helpers, as a collector receives it.
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  std::string timestamp;
  EXPECT_EQ(
      FormatEntryMessage(NoonEntry('W'), entryTemplate, Context(), timestamp),
      "<132>1 2026-07-01T12:00:00.045+02:00 tablet-7 my-app - Bed_Monitor "
      "[origin software=\"TavroMedivaneUtil\" swVersion=\"1.2.3\"]"
      "[tavro@32473 thread=\"1234\" process=\"C:\\\\Program Files\\\\Ward\\\\my-app.exe\" "
      "area=\"Bed Monitor\" data=\"42\"] \xEF\xBB\xBF"
      "W 2026-07-01 12:00:00.045 CEST Bed Monitor {C:\\Program Files\\Ward\\my-app.exe-1234} hello;DATA#42");
}

// The TIMESTAMP of an entry of the default template at `date` `time` in `zone`.
std::string TimestampOf(const std::string& date, const std::string& time, const std::string& zone) {
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  std::string timestamp;
  FormatEntryMessage("I " + date + " " + time + " " + zone + " Pump {/opt/pump-9} tick", entryTemplate,
                     Context(), timestamp);
  return timestamp;
}

TEST_F(SyslogMessage, SummerEntryHasTheDaylightSavingOffset) {
  EXPECT_EQ(TimestampOf("2026-07-01", "12:00:00.045", "CEST"), "2026-07-01T12:00:00.045+02:00");
}

TEST_F(SyslogMessage, WinterEntryHasTheStandardOffset) {
  EXPECT_EQ(TimestampOf("2026-01-15", "12:00:00.045", "CET"), "2026-01-15T12:00:00.045+01:00");
}

TEST_F(SyslogMessage, RepeatedHourTakesTheOffsetOfTheEntrysZone) {
  // 02:30 on 25 October 2026 happened twice: first in summer time, then an hour later in winter
  // time. The zone the entry shows tells which.
  EXPECT_EQ(TimestampOf("2026-10-25", "02:30:00.000", "CEST"), "2026-10-25T02:30:00.000+02:00");
  EXPECT_EQ(TimestampOf("2026-10-25", "02:30:00.000", "CET"), "2026-10-25T02:30:00.000+01:00");
}

TEST_F(SyslogMessage, RepeatedHourWithoutAKnownZoneTakesTheEarlierOffset) {
  EntryFields fields;
  fields.date = "2026-10-25";
  fields.time = "02:30:00.000";
  EXPECT_EQ(EntryTimestamp(fields), "2026-10-25T02:30:00.000+02:00");
}

TEST_F(SyslogMessage, SkippedHourTakesTheOffsetBeforeTheChange) {
  // 02:30 on 29 March 2026 never showed on a clock in Berlin; an entry claiming it was written
  // just before clocks went forward, in winter time.
  EXPECT_EQ(TimestampOf("2026-03-29", "02:30:00.000", "CET"), "2026-03-29T02:30:00.000+01:00");
}
#endif  // _WIN32

TEST_F(SyslogMessage, EntryTimestampNeedsBothDateAndTime) {
  EntryFields fields;
  fields.date = "2026-07-01";
  EXPECT_EQ(EntryTimestamp(fields), "");
  fields.date.reset();
  fields.time = "12:00:00.045";
  EXPECT_EQ(EntryTimestamp(fields), "");
}

TEST_F(SyslogMessage, EntryTimestampOfAnImpossibleMonthIsEmpty) {
  EntryFields fields;
  fields.date = "2026-13-01";
  fields.time = "12:00:00.045";
  EXPECT_EQ(EntryTimestamp(fields), "");
}

TEST_F(SyslogMessage, EntryWithEveryFieldCarriesThemAllInTheTavroElement) {
  // APP-NAME is the path's base name without extension, PROCID the process id, MSGID the area.
  const EntryTemplate entryTemplate(L"%L %D %T %Z [%p/%t/%s] %f(%l) %A {%P} %m", kBerlinZones);
  const std::string entry =
      "E 2026-07-01 12:00:00.045 CEST [4321/77/2] main.cpp(120) Pump {/opt/ward/pump.bin} failed";
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, Context(), timestamp),
            "<131>1 " + JulyNoonTimestamp() + " tablet-7 pump 4321 Pump " + kOrigin +
                "[tavro@32473 thread=\"77\" session=\"2\" file=\"main.cpp\" line=\"120\" "
                "process=\"/opt/ward/pump.bin\" area=\"Pump\"] " +
                kBom + entry);
}

TEST_F(SyslogMessage, BlankSourceFileIsLeftOut) {
  // The logger writes a single blank when it was given no source file.
  const EntryTemplate entryTemplate(L"%L %D %T %Z [%p/%t/%s] %f(%l) %A {%P} %m", kBerlinZones);
  const std::string entry =
      "E 2026-07-01 12:00:00.045 CEST [4321/77/2]  (0) Pump {/opt/ward/pump.bin} failed";
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, Context(), timestamp),
            "<131>1 " + JulyNoonTimestamp() + " tablet-7 pump 4321 Pump " + kOrigin +
                "[tavro@32473 thread=\"77\" session=\"2\" line=\"0\" process=\"/opt/ward/pump.bin\" "
                "area=\"Pump\"] " +
                kBom + entry);
}

TEST_F(SyslogMessage, GarbageLineIsANoticeWithNoFieldsAtTheTimeItWasRead) {
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  std::string timestamp;
  const std::string message = FormatEntryMessage("garbage line", entryTemplate, Context(), timestamp);
  ASSERT_TRUE(IsTimestamp(timestamp)) << timestamp;
  EXPECT_EQ(message, "<133>1 " + timestamp + " tablet-7 - - - " + kOrigin + " " + kBom + "garbage line");
}

TEST_F(SyslogMessage, TemplateWithoutLevelGivesNotices) {
  const EntryTemplate entryTemplate(L"%D %T %A: %m", kBerlinZones);
  const std::string entry = "2026-07-01 12:00:00.045 Pump: started";
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, Context(), timestamp),
            "<133>1 " + JulyNoonTimestamp() + " tablet-7 - - Pump " + kOrigin +
                "[tavro@32473 area=\"Pump\"] " + kBom + entry);
}

TEST_F(SyslogMessage, LongAppNameAndMsgIdAreCutToTheirLimits) {
  // RFC 5424 allows 48 characters of APP-NAME and 32 of MSGID; the structured data keeps them whole.
  const std::string name(60, 'a');
  const std::string area(40, 'b');
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  const std::string entry = "I 2026-07-01 12:00:00.045 CEST " + area + " {/opt/" + name + ".bin-9} x";
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, Context(), timestamp),
            "<134>1 " + JulyNoonTimestamp() + " tablet-7 " + std::string(48, 'a') + " - " +
                std::string(32, 'b') + " " + kOrigin + "[tavro@32473 thread=\"9\" process=\"/opt/" + name +
                ".bin\" area=\"" + area + "\"] " + kBom + entry);
}

TEST_F(SyslogMessage, OtherFacilityChangesThePri) {
  // local7 (23) x 8 + debug (7).
  MessageContext context = Context();
  context.facility = 23;
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  const std::string entry = NoonEntry('D');
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, context, timestamp),
            "<191>1 " + JulyNoonTimestamp() + " tablet-7 my-app - Bed_Monitor " + kOrigin +
                "[tavro@32473 thread=\"1234\" process=\"C:\\\\Program Files\\\\Ward\\\\my-app.exe\" "
                "area=\"Bed Monitor\" data=\"42\"] " +
                kBom + entry);
}

TEST_F(SyslogMessage, EnterpriseNumberNamesTheTavroElement) {
  // A sub-identifier under a private enterprise number is allowed in an SD-ID ("tavro@1.2").
  MessageContext context = Context();
  context.enterpriseNumber = "1.2";
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  const std::string entry = NoonEntry('I');
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, context, timestamp),
            "<134>1 " + JulyNoonTimestamp() + " tablet-7 my-app - Bed_Monitor " + kOrigin +
                "[tavro@1.2 thread=\"1234\" process=\"C:\\\\Program Files\\\\Ward\\\\my-app.exe\" "
                "area=\"Bed Monitor\" data=\"42\"] " +
                kBom + entry);
}

TEST_F(SyslogMessage, ParamValuesAreEscapedAndHeaderFieldsCleaned) {
  // In MSGID the quote, backslash and bracket are printable ASCII and stay, the blanks become "_";
  // in the structured data the three are escaped.
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  const std::string entry = "I 2026-07-01 12:00:00.045 CEST Ward \"7\" \\ North] {/opt/ward-5} hi";
  std::string timestamp;
  EXPECT_EQ(FormatEntryMessage(entry, entryTemplate, Context(), timestamp),
            "<134>1 " + JulyNoonTimestamp() + " tablet-7 ward - Ward_\"7\"_\\_North] " + kOrigin +
                "[tavro@32473 thread=\"5\" process=\"/opt/ward\" area=\"Ward \\\"7\\\" \\\\ North\\]\"] " +
                kBom + entry);
}

TEST_F(SyslogMessage, ShipperMessageIsFromMvutilAboutLogShipping) {
  std::string message = FormatShipperMessage(kSeverityWarning, "3 entries lost", Context());
  // The timestamp is the time of the call: checked for its shape, then the rest exactly.
  ASSERT_EQ(message.compare(0, 7, "<132>1 "), 0) << message;
  const std::size_t end = message.find(' ', 7);
  ASSERT_NE(end, std::string::npos);
  EXPECT_TRUE(IsTimestamp(message.substr(7, end - 7))) << message;
  EXPECT_EQ(message.substr(end), " tablet-7 mvutil " + std::to_string(platform::CurrentProcessId()) +
                                     " LogShipping " + kOrigin + " " + kBom + "3 entries lost");
}

TEST_F(SyslogMessage, MessageTimestampReadsBackTheTimestampOfAnEntrysMessage) {
  const EntryTemplate entryTemplate(kDefaultTemplate, kBerlinZones);
  std::string timestamp;
  const std::string message = FormatEntryMessage(NoonEntry('I'), entryTemplate, Context(), timestamp);
  EXPECT_EQ(MessageTimestamp(message), timestamp);
  EXPECT_EQ(MessageTimestamp(message), JulyNoonTimestamp());
}

TEST_F(SyslogMessage, MessageTimestampReadsBackTheTimestampOfTheShippersOwnMessage) {
  const std::string message = FormatShipperMessage(kSeverityWarning, "3 entries lost", Context());
  EXPECT_EQ(MessageTimestamp(message), message.substr(7, message.find(' ', 7) - 7));
}

TEST(SyslogMessageTimestamp, NilOrMissingTimestampIsEmpty) {
  EXPECT_EQ(MessageTimestamp("<134>1 - host app - - - text"), "");
  EXPECT_EQ(MessageTimestamp("<134>1 2026-07-01T12:00:00.045+02:00"), "");
  EXPECT_EQ(MessageTimestamp("<134>1"), "");
  EXPECT_EQ(MessageTimestamp(""), "");
}

TEST(SyslogHeaderField, IsCutAtTheLimit) {
  EXPECT_EQ(HeaderField(std::string(60, 'a'), 48), std::string(48, 'a'));
  EXPECT_EQ(HeaderField(std::string(48, 'a'), 48), std::string(48, 'a'));
  EXPECT_EQ(HeaderField(std::string(40, 'b'), 32), std::string(32, 'b'));
}

TEST(SyslogHeaderField, NonAsciiCharacterBecomesOneUnderscore) {
  // UTF-8 of "Ü" (two bytes), "€" (three) and an emoji (four).
  const std::string umlaut = "\xC3\x9C";
  const std::string euro = "\xE2\x82\xAC";
  const std::string emoji = "\xF0\x9F\x92\x89";
  EXPECT_EQ(HeaderField("Bett-" + umlaut + "berwachung", 32), "Bett-_berwachung");
  EXPECT_EQ(HeaderField(euro + "5", 32), "_5");
  EXPECT_EQ(HeaderField(emoji, 32), "_");
  // The limit counts what is written, not what was read.
  EXPECT_EQ(HeaderField(umlaut + umlaut + umlaut, 2), "__");
}

TEST(SyslogHeaderField, BlanksAndControlCharactersBecomeUnderscores) {
  EXPECT_EQ(HeaderField("a b\tc\x7f", 32), "a_b_c_");
}

TEST(SyslogHeaderField, EmptyFieldIsTheNilValue) { EXPECT_EQ(HeaderField("", 48), "-"); }

TEST(SyslogParamValue, QuoteBackslashAndClosingBracketAreEscaped) {
  EXPECT_EQ(EscapeParamValue("say \"hi\" \\ [x]"), "say \\\"hi\\\" \\\\ [x\\]");
  EXPECT_EQ(EscapeParamValue(""), "");
  // UTF-8 is allowed in PARAM-VALUE and stays as it is.
  EXPECT_EQ(EscapeParamValue("\xC3\x9C"), "\xC3\x9C");
}

TEST(SyslogSeverity, LevelLettersMapToSyslogSeverities) {
  EXPECT_EQ(SeverityOfLevel('R'), 5);
  EXPECT_EQ(SeverityOfLevel('F'), 2);
  EXPECT_EQ(SeverityOfLevel('E'), 3);
  EXPECT_EQ(SeverityOfLevel('W'), 4);
  EXPECT_EQ(SeverityOfLevel('I'), 6);
  EXPECT_EQ(SeverityOfLevel('D'), 7);
  EXPECT_EQ(SeverityOfLevel('U'), 5);
  EXPECT_EQ(SeverityOfLevel(std::nullopt), 5);
}

TEST(SyslogTimestamp, OffsetIsWrittenAsHoursAndMinutesWithItsSign) {
  EXPECT_EQ(Rfc3339(2026, 11, 24, 14, 2, 7, 45, 3600), "2026-11-24T14:02:07.045+01:00");
  EXPECT_EQ(Rfc3339(2026, 1, 2, 3, 4, 5, 6, -(3 * 3600 + 30 * 60)), "2026-01-02T03:04:05.006-03:30");
  EXPECT_EQ(Rfc3339(2026, 7, 1, 0, 0, 0, 0, 5 * 3600 + 45 * 60), "2026-07-01T00:00:00.000+05:45");
  EXPECT_EQ(Rfc3339(2026, 7, 1, 23, 59, 59, 999, 0), "2026-07-01T23:59:59.999+00:00");
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
