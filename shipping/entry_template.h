// Reads the fields of a log entry back out of it, by the entry template that wrote it.
//
// The logger's template ("%L %D %T %Z %A {%P-%t} %m" unless configured otherwise) is plain text
// with two-character tokens, each replaced at its first occurrence only, in a fixed order; text a
// token brought in is searched by the later ones. SplitEntryTemplate repeats that order over the
// template alone, so it knows which tokens became fields and which text stayed literal.
//
// Parsing matches an entry against those pieces. Fields of a fixed shape (level letter, date,
// time, numbers) must have that shape; free text fields (process path, zone, source file, area,
// message) take the shortest text that lets the rest match, except that a zone takes one of the
// machine's own zone names first when one fits (Windows' names have blanks in them, as areas
// may). Whatever follows the template is the data suffix when it starts with ";DATA#", else part
// of the last free text field. An entry that does not fit is reported as such, never guessed at.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_ENTRY_TEMPLATE_H
#define TAVROMEDIVANEUTIL_SHIPPING_ENTRY_TEMPLATE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tavro_KVO_Util::shipping {

// One piece of a template after substitution: literal text, or the field a token became.
struct TemplatePiece {
  bool isField;
  std::wstring text;  // the literal text, or the token ("%L")
};

// The template's pieces in order. Tokens that occur twice become a field once; the second stays
// literal text, as the logger leaves it.
std::vector<TemplatePiece> SplitEntryTemplate(const std::wstring& format);

// The fields of one entry, UTF-8. A field the template lacks stays empty (nullopt).
struct EntryFields {
  std::optional<char> level;        // "R", "F", "E", "W", "I", "D" or "U"
  std::optional<std::string> date;  // "%Y-%m-%d"
  std::optional<std::string> time;  // "%H:%M:%S.mmm"
  std::optional<std::string> zone;
  std::optional<std::string> processId;
  std::optional<std::string> threadId;
  std::optional<std::string> sessionId;
  std::optional<std::string> processPath;
  std::optional<std::string> sourceFile;
  std::optional<std::string> sourceLine;
  std::optional<std::string> area;
  std::optional<std::string> message;
  std::optional<std::string> data;  // the text after ";DATA#"
};

class EntryTemplate {
 public:
  // `format`: the template. `zoneNames`: this machine's zone names (UTF-8), tried first for %Z.
  EntryTemplate(const std::wstring& format, std::vector<std::string> zoneNames);

  // Reads `entry` (UTF-8, without its line end). False when it does not fit the template;
  // `fields` is then left empty.
  bool Parse(std::string_view entry, EntryFields& fields) const;

  bool HasField(wchar_t token) const;

 private:
  enum class Shape { kLiteral, kLevel, kDate, kTime, kUnsigned, kSigned, kText, kZone };
  struct Step {
    Shape shape;
    char token;        // the token's letter ('L', 'D', ...); 0 for literal text
    std::string text;  // the literal text (UTF-8)
  };
  struct Match;

  bool MatchFrom(std::size_t step, std::size_t at, std::string_view entry, Match& match) const;
  bool MatchEnd(std::size_t at, std::string_view entry, Match& match) const;

  std::vector<Step> mSteps;
  std::vector<std::string> mZoneNames;
};

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_ENTRY_TEMPLATE_H
