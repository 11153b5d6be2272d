#include "shipping/entry_template.h"

#include <utility>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::shipping {
namespace {

// The tokens in the order the logger substitutes them. "%%" is left out: the logger puts the
// same two characters back, so it changes nothing.
constexpr const wchar_t* kTokens[] = {L"%p", L"%t", L"%P", L"%T", L"%D", L"%Z",
                                      L"%f", L"%l", L"%A", L"%m", L"%L", L"%s"};

// Backtracking gives up after this many steps: a template of many adjacent free text fields can
// make matching slow, and an entry that costs more than this is sent as one that does not fit.
constexpr std::size_t kStepBudget = 200000;

void PlaceToken(std::vector<TemplatePiece>& pieces, const std::wstring& token) {
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (pieces[i].isField) continue;
    const std::size_t at = pieces[i].text.find(token);
    if (at == std::wstring::npos) continue;
    const std::wstring before = pieces[i].text.substr(0, at);
    const std::wstring after = pieces[i].text.substr(at + token.size());
    pieces[i] = {true, token};
    pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(i) + 1, {false, after});
    pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(i), {false, before});
    return;  // first occurrence only
  }
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// True when `text` at `at` has the shape of `pattern`, where '9' stands for any digit.
bool HasShape(std::string_view text, std::size_t at, std::string_view pattern) {
  if (text.size() - at < pattern.size()) return false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = text[at + i];
    if (pattern[i] == '9' ? !IsDigit(c) : c != pattern[i]) return false;
  }
  return true;
}

}  // namespace

std::vector<TemplatePiece> SplitEntryTemplate(const std::wstring& format) {
  std::vector<TemplatePiece> pieces{{false, format}};
  for (const wchar_t* token : kTokens) PlaceToken(pieces, token);
  std::vector<TemplatePiece> kept;
  for (TemplatePiece& piece : pieces) {
    if (!piece.isField && piece.text.empty()) continue;
    kept.push_back(std::move(piece));
  }
  return kept;
}

struct EntryTemplate::Match {
  std::vector<std::pair<std::size_t, std::size_t>> spans;  // per step: start and length
  std::size_t dataStart = std::string_view::npos;
  std::size_t budget = kStepBudget;
};

EntryTemplate::EntryTemplate(const std::wstring& format, std::vector<std::string> zoneNames)
    : mZoneNames(std::move(zoneNames)) {
  for (const TemplatePiece& piece : SplitEntryTemplate(format)) {
    if (!piece.isField) {
      mSteps.push_back({Shape::kLiteral, 0, platform::WideToUtf8(piece.text)});
      continue;
    }
    const char token = static_cast<char>(piece.text[1]);
    Shape shape = Shape::kText;
    switch (token) {
      case 'L':
        shape = Shape::kLevel;
        break;
      case 'D':
        shape = Shape::kDate;
        break;
      case 'T':
        shape = Shape::kTime;
        break;
      case 'p':
      case 's':
        shape = Shape::kUnsigned;
        break;
      case 't':
      case 'l':
        shape = Shape::kSigned;
        break;
      case 'Z':
        shape = Shape::kZone;
        break;
      default:
        break;
    }
    mSteps.push_back({shape, token, {}});
  }
}

bool EntryTemplate::HasField(wchar_t token) const {
  for (const Step& step : mSteps) {
    if (step.shape != Shape::kLiteral && step.token == static_cast<char>(token)) return true;
  }
  return false;
}

// The end of the template: nothing more, or the data suffix.
bool EntryTemplate::MatchEnd(std::size_t at, std::string_view entry, Match& match) const {
  constexpr std::string_view kDataMark = ";DATA#";
  if (at == entry.size()) {
    match.dataStart = std::string_view::npos;
    return true;
  }
  if (entry.compare(at, kDataMark.size(), kDataMark) != 0) return false;
  match.dataStart = at + kDataMark.size();
  return true;
}

bool EntryTemplate::MatchFrom(std::size_t step, std::size_t at, std::string_view entry, Match& match) const {
  if (match.budget == 0) return false;
  --match.budget;
  if (step == mSteps.size()) return MatchEnd(at, entry, match);
  const Step& s = mSteps[step];
  auto take = [&](std::size_t length) {
    match.spans[step] = {at, length};
    return MatchFrom(step + 1, at + length, entry, match);
  };
  switch (s.shape) {
    case Shape::kLiteral:
      return entry.compare(at, s.text.size(), s.text) == 0 && take(s.text.size());
    case Shape::kLevel:
      return at < entry.size() && std::string_view("RFEWIDU").find(entry[at]) != std::string_view::npos &&
             take(1);
    case Shape::kDate:
      return HasShape(entry, at, "9999-99-99") && take(10);
    case Shape::kTime:
      return HasShape(entry, at, "99:99:99.999") && take(12);
    case Shape::kUnsigned:
    case Shape::kSigned: {
      const std::size_t sign = s.shape == Shape::kSigned && at < entry.size() && entry[at] == '-' ? 1 : 0;
      std::size_t digits = 0;
      while (at + sign + digits < entry.size() && IsDigit(entry[at + sign + digits])) ++digits;
      // An unreadable session id is written as nothing at all.
      const std::size_t fewest = s.token == 's' ? 0 : 1;
      for (std::size_t n = digits + 1; n-- > fewest;) {
        if (take(sign + n)) return true;
      }
      return false;
    }
    case Shape::kZone: {
      for (const std::string& name : mZoneNames) {
        if (!name.empty() && entry.compare(at, name.size(), name) == 0 && take(name.size())) return true;
      }
      // A zone of another machine: Windows' names end in "Time" ("W. Europe Standard Time"),
      // so an end there is tried before any other.
      const Step* next = step + 1 < mSteps.size() ? &mSteps[step + 1] : nullptr;
      if (next != nullptr && next->shape == Shape::kLiteral) {
        constexpr std::string_view kTime = "Time";
        for (std::size_t end = entry.find(next->text, at); end != std::string_view::npos;
             end = entry.find(next->text, end + 1)) {
          if (end - at >= kTime.size() && entry.compare(end - kTime.size(), kTime.size(), kTime) == 0 &&
              take(end - at)) {
            return true;
          }
          if (match.budget == 0) return false;
        }
      }
      [[fallthrough]];
    }
    case Shape::kText: {
      // Shortest first. When literal text follows, only the places where it occurs can end the
      // field.
      const Step* next = step + 1 < mSteps.size() ? &mSteps[step + 1] : nullptr;
      if (next != nullptr && next->shape == Shape::kLiteral) {
        for (std::size_t end = entry.find(next->text, at); end != std::string_view::npos;
             end = entry.find(next->text, end + 1)) {
          if (take(end - at)) return true;
          if (match.budget == 0) return false;
        }
        return false;
      }
      for (std::size_t length = 0; at + length <= entry.size(); ++length) {
        if (take(length)) return true;
        if (match.budget == 0) return false;
      }
      return false;
    }
  }
  return false;
}

bool EntryTemplate::Parse(std::string_view entry, EntryFields& fields) const {
  fields = EntryFields();
  Match match;
  match.spans.assign(mSteps.size(), {0, 0});
  if (!MatchFrom(0, 0, entry, match)) return false;
  for (std::size_t i = 0; i < mSteps.size(); ++i) {
    const Step& step = mSteps[i];
    if (step.shape == Shape::kLiteral) continue;
    std::string value(entry.substr(match.spans[i].first, match.spans[i].second));
    switch (step.token) {
      case 'L':
        fields.level = value[0];
        break;
      case 'D':
        fields.date = std::move(value);
        break;
      case 'T':
        fields.time = std::move(value);
        break;
      case 'Z':
        fields.zone = std::move(value);
        break;
      case 'p':
        fields.processId = std::move(value);
        break;
      case 't':
        fields.threadId = std::move(value);
        break;
      case 's':
        fields.sessionId = std::move(value);
        break;
      case 'P':
        fields.processPath = std::move(value);
        break;
      case 'f':
        fields.sourceFile = std::move(value);
        break;
      case 'l':
        fields.sourceLine = std::move(value);
        break;
      case 'A':
        fields.area = std::move(value);
        break;
      case 'm':
        fields.message = std::move(value);
        break;
      default:
        break;
    }
  }
  if (match.dataStart != std::string_view::npos) fields.data = std::string(entry.substr(match.dataStart));
  return true;
}

}  // namespace Tavro_KVO_Util::shipping
