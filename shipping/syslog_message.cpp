#include "shipping/syslog_message.h"

#include <cstdio>
#include <cstdlib>

#include "platform/process_info.h"
#include "platform/time_zone.h"

namespace Tavro_KVO_Util::shipping {
namespace {

// RFC 5424's limits for the header fields.
constexpr std::size_t kHostnameLimit = 255;
constexpr std::size_t kAppNameLimit = 48;
constexpr std::size_t kProcIdLimit = 128;
constexpr std::size_t kMsgIdLimit = 32;

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

int Number(std::string_view text, std::size_t at, std::size_t digits) {
  int value = 0;
  for (std::size_t i = 0; i < digits; ++i) value = value * 10 + (text[at + i] - '0');
  return value;
}

// "C:\Program Files\Ward\Monitor.exe" gives "Monitor".
std::string AppName(std::string_view path) {
  const std::size_t slash = path.find_last_of("\\/");
  std::string_view base = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const std::size_t dot = base.rfind('.');
  if (dot != std::string_view::npos && dot > 0) base = base.substr(0, dot);
  return std::string(base);
}

void AddParam(std::string& data, const char* name, const std::optional<std::string>& value) {
  if (!value) return;
  data += ' ';
  data += name;
  data += "=\"";
  data += EscapeParamValue(*value);
  data += '"';
}

std::string Header(int facility, int severity, const std::string& timestamp, const std::string& hostname,
                   std::string_view appName, std::string_view procId, std::string_view msgId) {
  std::string header = "<" + std::to_string(facility * 8 + severity) + ">1 ";
  header += timestamp;
  header += ' ';
  header += HeaderField(hostname, kHostnameLimit);
  header += ' ';
  header += HeaderField(appName, kAppNameLimit);
  header += ' ';
  header += HeaderField(procId, kProcIdLimit);
  header += ' ';
  header += HeaderField(msgId, kMsgIdLimit);
  header += ' ';
  return header;
}

std::string Origin(const MessageContext& context) {
  return "[origin software=\"TavroMedivaneUtil\" swVersion=\"" + EscapeParamValue(context.softwareVersion) +
         "\"]";
}

}  // namespace

std::string Rfc3339(int year, int month, int day, int hour, int minute, int second, int millisecond,
                    int offsetSeconds) {
  const int offsetMinutes = std::abs(offsetSeconds) / 60;
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d%c%02d:%02d", year, month, day, hour,
                minute, second, millisecond, offsetSeconds < 0 ? '-' : '+', offsetMinutes / 60,
                offsetMinutes % 60);
  return text;
}

std::string CurrentTimestamp() {
  platform::CivilTime now;
  int offset = 0;
  platform::CurrentLocalTime(now, offset);
  return Rfc3339(now.year, now.month, now.day, now.hour, now.minute, now.second, now.millisecond, offset);
}

std::string EntryTimestamp(const EntryFields& fields) {
  if (!fields.date || !fields.time) return std::string();
  const std::string& date = *fields.date;
  const std::string& time = *fields.time;
  platform::CivilTime local{Number(date, 0, 4), Number(date, 5, 2), Number(date, 8, 2), Number(time, 0, 2),
                            Number(time, 3, 2), Number(time, 6, 2), Number(time, 9, 3)};
  int offset = 0;
  if (!platform::LocalTimeUtcOffset(local, fields.zone.value_or(std::string()), offset)) return std::string();
  return Rfc3339(local.year, local.month, local.day, local.hour, local.minute, local.second,
                 local.millisecond, offset);
}

int SeverityOfLevel(std::optional<char> level) {
  switch (level.value_or('U')) {
    case 'F':
      return 2;
    case 'E':
      return 3;
    case 'W':
      return 4;
    case 'I':
      return 6;
    case 'D':
      return 7;
    default:
      return kSeverityNotice;  // R (REPORT), U, and no level at all
  }
}

std::string HeaderField(std::string_view text, std::size_t limit) {
  std::string field;
  // One "_" per character, not per byte: UTF-8 continuation bytes add nothing.
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80 && byte < 0xC0) continue;
    field += byte > 32 && byte < 127 ? c : '_';
    if (field.size() == limit) break;
  }
  return field.empty() ? std::string("-") : field;
}

std::string EscapeParamValue(std::string_view value) {
  std::string escaped;
  escaped.reserve(value.size());
  for (const char c : value) {
    if (c == '"' || c == '\\' || c == ']') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string FormatEntryMessage(std::string_view entry, const EntryTemplate& entryTemplate,
                               const MessageContext& context, std::string& timestamp) {
  EntryFields fields;
  const bool fits = entryTemplate.Parse(entry, fields);
  timestamp = EntryTimestamp(fields);
  if (timestamp.empty()) timestamp = CurrentTimestamp();
  // The logger writes a single blank for a source file it was not given.
  if (fields.sourceFile && *fields.sourceFile == " ") fields.sourceFile.reset();

  std::string message = Header(context.facility, fits ? SeverityOfLevel(fields.level) : kSeverityNotice,
                               timestamp, context.hostname, AppName(fields.processPath.value_or("")),
                               fields.processId.value_or(""), fields.area.value_or(""));
  message += Origin(context);
  std::string tavro = "[tavro@" + context.enterpriseNumber;
  const std::size_t bare = tavro.size();
  AddParam(tavro, "thread", fields.threadId);
  AddParam(tavro, "session", fields.sessionId);
  AddParam(tavro, "file", fields.sourceFile);
  AddParam(tavro, "line", fields.sourceLine);
  AddParam(tavro, "process", fields.processPath);
  AddParam(tavro, "area", fields.area);
  AddParam(tavro, "data", fields.data);
  if (tavro.size() > bare) message += tavro + "]";
  message += ' ';
  message += kByteOrderMark;
  message.append(entry.data(), entry.size());
  return message;
}

std::string_view MessageTimestamp(std::string_view message) {
  const std::size_t start = message.find(' ');
  if (start == std::string_view::npos) return {};
  const std::size_t end = message.find(' ', start + 1);
  if (end == std::string_view::npos) return {};
  const std::string_view field = message.substr(start + 1, end - start - 1);
  return field == "-" ? std::string_view() : field;
}

std::string FormatShipperMessage(int severity, std::string_view text, const MessageContext& context) {
  std::string message = Header(context.facility, severity, CurrentTimestamp(), context.hostname, "mvutil",
                               std::to_string(platform::CurrentProcessId()), "LogShipping");
  message += Origin(context);
  message += ' ';
  message += kByteOrderMark;
  message.append(text.data(), text.size());
  return message;
}

}  // namespace Tavro_KVO_Util::shipping
