#include "shipping/entry_json.h"

#include <cstdio>

#include "shipping/syslog_message.h"

namespace Tavro_KVO_Util::shipping {
namespace {

const char* LevelName(char letter) {
  switch (letter) {
    case 'R':
      return "REPORT";
    case 'F':
      return "FATAL";
    case 'E':
      return "ERROR";
    case 'W':
      return "WARN";
    case 'I':
      return "INFO";
    case 'D':
      return "DEBUG";
    default:
      return "UNKNOWN";
  }
}

// A JSON number: digits without a leading zero (JSON has none), at most 18 of them.
bool IsInteger(const std::string& text) {
  const std::size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
  if (text.size() <= start || text.size() >= 19) return false;
  if (text[start] == '0' && text.size() > start + 1) return false;
  return text.find_first_not_of("0123456789", start) == std::string::npos;
}

class JsonObject {
 public:
  void Text(const char* name, const std::optional<std::string>& value) {
    if (value) Raw(name, JsonString(*value));
  }
  // A number field; text that is not a plain integer is written as a string instead.
  void Number(const char* name, const std::optional<std::string>& value) {
    if (value) Raw(name, IsInteger(*value) ? *value : JsonString(*value));
  }
  void Raw(const char* name, const std::string& value) {
    mText += mText.empty() ? "{" : ",";
    mText += JsonString(name);
    mText += ':';
    mText += value;
  }
  std::string Finish() { return mText.empty() ? "{}" : mText + "}"; }

 private:
  std::string mText;
};

}  // namespace

std::string JsonString(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
        json += "\\\"";
        break;
      case '\\':
        json += "\\\\";
        break;
      case '\n':
        json += "\\n";
        break;
      case '\r':
        json += "\\r";
        break;
      case '\t':
        json += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
          json += escaped;
        } else {
          json += c;
        }
    }
  }
  return json + "\"";
}

std::string EntryJson(std::string_view entry, const EntryTemplate& entryTemplate,
                      const std::string& hostname) {
  EntryFields fields;
  const bool fits = entryTemplate.Parse(entry, fields);
  JsonObject object;
  const std::string timestamp = EntryTimestamp(fields);
  if (!timestamp.empty()) object.Text("@timestamp", timestamp);
  if (fields.level) object.Text("log.level", std::string(LevelName(*fields.level)));
  object.Text("message",
              fits && fields.message ? fields.message : std::optional<std::string>(std::string(entry)));
  object.Number("process.pid", fields.processId);
  object.Number("process.thread.id", fields.threadId);
  object.Text("process.executable", fields.processPath);
  if (fields.sourceFile && *fields.sourceFile != " ") object.Text("log.origin.file.name", fields.sourceFile);
  object.Number("log.origin.file.line", fields.sourceLine);
  if (!hostname.empty()) object.Text("host.name", hostname);
  object.Text("tavro.area", fields.area);
  object.Number("tavro.session", fields.sessionId);
  object.Text("tavro.zone", fields.zone);
  object.Text("tavro.data", fields.data);
  object.Text("tavro.entry", std::string(entry));
  object.Raw("tavro.parsed", fits ? "true" : "false");
  return object.Finish();
}

}  // namespace Tavro_KVO_Util::shipping
