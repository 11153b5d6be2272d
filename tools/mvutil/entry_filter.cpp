#include "entry_filter.h"

#include "level_names.h"
#include "shipping/entry_template.h"
#include "wide_text.h"

namespace mvutil {

EntryFilter::EntryFilter(const std::wstring& format, std::optional<int> maxLevel,
                         std::optional<std::string> area)
    : mActive(maxLevel.has_value() || area.has_value()), mMaxLevel(maxLevel), mArea(std::move(area)) {
  Compile(format);
}

void EntryFilter::Compile(const std::wstring& format) {
  auto addBytes = [this](const std::string& text) {
    for (const char c : text) mSteps.push_back({Step::kByte, std::string(1, c)});
  };
  for (const Tavro_KVO_Util::shipping::TemplatePiece& piece :
       Tavro_KVO_Util::shipping::SplitEntryTemplate(format)) {
    if (!piece.isField) {
      addBytes(WideToUtf8(piece.text));
    } else if (piece.text == L"%L") {
      mHasLevel = true;
      // The letter is ASCII, so one byte: any without a level filter, else a wanted level's.
      std::string letters;
      for (int level = 0; mMaxLevel && level <= *mMaxLevel; ++level) letters.push_back(LevelLetter(level));
      mSteps.push_back({mMaxLevel ? Step::kOneOf : Step::kAnyByte, letters});
    } else if (piece.text == L"%A" && mArea) {
      mHasArea = true;
      addBytes(*mArea);
    } else {
      if (piece.text == L"%A") mHasArea = true;
      mSteps.push_back({Step::kAnyRun, ""});
    }
  }
  mSteps.push_back({Step::kAnyRun, ""});  // a data suffix, or whatever a changed template left
}

bool EntryFilter::Usable(std::string& why) const {
  if (mMaxLevel && !mHasLevel) {
    why = "the entry template has no %L, so entries cannot be picked by level";
    return false;
  }
  if (mArea && !mHasArea) {
    why = "the entry template has no %A, so entries cannot be picked by area";
    return false;
  }
  return true;
}

bool EntryFilter::Matches(const std::string& entry) const {
  if (!mActive) return true;
  // Wildcard matching with backtracking to the last run: each step but a run takes one byte, so
  // letting the latest run take one more byte at each failure finds a match when there is one.
  std::size_t step = 0;
  std::size_t at = 0;
  std::size_t runStep = std::string::npos;
  std::size_t runAt = 0;
  while (at < entry.size()) {
    if (step < mSteps.size() && mSteps[step].kind != Step::kAnyRun) {
      const Step& s = mSteps[step];
      const bool ok =
          s.kind == Step::kAnyByte ||
          (s.kind == Step::kByte ? entry[at] == s.bytes[0] : s.bytes.find(entry[at]) != std::string::npos);
      if (ok) {
        ++step;
        ++at;
        continue;
      }
    } else if (step < mSteps.size()) {
      runStep = step++;
      runAt = at;
      continue;
    }
    if (runStep == std::string::npos) return false;
    step = runStep + 1;
    at = ++runAt;
  }
  while (step < mSteps.size() && mSteps[step].kind == Step::kAnyRun) ++step;
  return step == mSteps.size();
}

}  // namespace mvutil
