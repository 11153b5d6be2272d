// Picks log entries by level and area, reading both fields by the logger's entry template.
//
// The template ("%L %D %T %Z %A {%P-%t} %m" unless configured otherwise) is plain text with
// two-character tokens, each replaced at its first occurrence only. An entry is kept when it can
// be read as the template with a level letter of the wanted levels at "%L" and exactly the wanted
// area at "%A"; every other token stands for any text, and anything may follow (";DATA#..."). So
// an area or zone name with blanks in it is read correctly; only a message that itself imitates
// the template can make a wrong entry match.
#ifndef MVUTIL_ENTRY_FILTER_H
#define MVUTIL_ENTRY_FILTER_H

#include <optional>
#include <string>
#include <vector>

namespace mvutil {

class EntryFilter {
 public:
  // `format`: the entry template. `maxLevel`: keep levels 0 to maxLevel (a smaller number is more
  // severe; entries of level "U" never pass). `area`: keep only this area (UTF-8, exact).
  EntryFilter(const std::wstring& format, std::optional<int> maxLevel, std::optional<std::string> area);

  // False when a filter is asked for a field the template does not have; `why` says which.
  bool Usable(std::string& why) const;

  // True when `entry` (UTF-8, without its line end) passes; always true without filters.
  bool Matches(const std::string& entry) const;

 private:
  // One step of the pattern: a given byte, one byte of a set, any one byte, or any run of bytes.
  struct Step {
    enum Kind { kByte, kOneOf, kAnyByte, kAnyRun } kind;
    std::string bytes;  // the byte (kByte) or the set (kOneOf)
  };

  void Compile(const std::wstring& format);

  bool mActive;
  bool mHasLevel = false;
  bool mHasArea = false;
  std::optional<int> mMaxLevel;
  std::optional<std::string> mArea;
  std::vector<Step> mSteps;
};

}  // namespace mvutil

#endif  // MVUTIL_ENTRY_FILTER_H
