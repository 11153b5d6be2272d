// Threads log while the configuration file is rewritten under them, switching the entry template
// and the threshold back and forth. Each entry must be built from one configuration: every line
// is whole and follows exactly one of the two templates, and no entry that both thresholds let
// through is lost. Run under the sanitizers, a read of a template that a reload is replacing shows
// up as a use after free or a data race.
#include <gtest/gtest.h>

#include <atomic>
#include <cwchar>
#include <thread>

#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;

constexpr int kThreads = 8;
constexpr auto kRunTime = std::chrono::seconds(5);
constexpr auto kRewriteEvery = std::chrono::milliseconds(3);

// Two templates that no line can satisfy both of, with the level, area, thread and message.
constexpr wchar_t kTemplateA[] = L"A|%L|%A|%t|%m";
constexpr wchar_t kTemplateB[] = L"B %m (%L) [%A] %p";

struct ParsedLine {
  int thread = -1;
  int entry = -1;
  wchar_t level = 0;
};

// Parses a line under one template: the values are read with swscanf and the line is rebuilt
// from them, so that only an exact match counts.
bool ParseA(const std::wstring& line, ParsedLine& parsed) {
  wchar_t level = 0;
  unsigned long threadId = 0;
  if (std::swscanf(line.c_str(), L"A|%lc|Race|%lu|t%d e%d", &level, &threadId, &parsed.thread,
                   &parsed.entry) != 4) {
    return false;
  }
  parsed.level = level;
  return line == L"A|" + std::wstring(1, level) + L"|Race|" + std::to_wstring(threadId) + L"|t" +
                     std::to_wstring(parsed.thread) + L" e" + std::to_wstring(parsed.entry);
}

bool ParseB(const std::wstring& line, ParsedLine& parsed) {
  wchar_t level = 0;
  unsigned long processId = 0;
  if (std::swscanf(line.c_str(), L"B t%d e%d (%lc) [Race] %lu", &parsed.thread, &parsed.entry, &level,
                   &processId) != 4) {
    return false;
  }
  parsed.level = level;
  return line == L"B t" + std::to_wstring(parsed.thread) + L" e" + std::to_wstring(parsed.entry) + L" (" +
                     std::wstring(1, level) + L") [Race] " + std::to_wstring(processId);
}

class LoggerReloadRace : public LoggerTest {
 protected:
  // Replaces the configuration file in one step (write a new file, then rename it over the old
  // one), so that the logger never reads a half-written file. Each version is dated two seconds
  // after the one before, so that every rewrite reads as a change.
  void ReplaceConfig(const wchar_t* formatString, const wchar_t* threshold) {
    testing::Settings settings = Defaults();
    settings[L"FormatString"] = formatString;
    settings[L"DefaultLevel"] = threshold;
    settings[L"MaxLogFileSize"] = L"2000000000";
    std::wstring text;
    for (const auto& [key, value] : settings)
      text += L"/Tavro/MedivaneSDK/Logging/" + key + L"=" + value + L"\r\n";
    const auto file = mDir.path() / "Bin" / "TavroMedivane.cfg";
    const auto next = mDir.path() / "Bin" / "TavroMedivane.cfg.next";
    testing::WriteBytes(next, testing::Utf16LeBytes(text));
    testing::ShiftLastWrite(next, std::chrono::seconds(2) * (++mRewrites));
    // Windows refuses to replace a file that a reader has open at this moment: try again.
    std::error_code error;
    for (int attempt = 0; attempt < 1000; ++attempt) {
      std::filesystem::rename(next, file, error);
      if (!error) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ADD_FAILURE() << "could not replace the configuration file: " << error.message();
  }
};

TEST_F(LoggerReloadRace, EveryEntryFollowsOneWholeConfiguration) {
  ReplaceConfig(kTemplateA, L"INFO");
  // An existing log: a logger that finds none while it is being made reports that once.
  std::filesystem::create_directories(LogDirectory());
  testing::WriteBytes(LogFile(), "\xFF\xFE");
  Logger& logger = TheLogger();

  std::atomic<bool> stop{false};
  std::vector<int> written(kThreads, 0);
  std::vector<std::thread> writers;
  for (int t = 0; t < kThreads; ++t) {
    writers.emplace_back([&, t] {
      int entry = 0;
      while (!stop.load()) {
        // Even entries are WARN, which both thresholds write; odd ones INFO, which only one does.
        const int level = entry % 2 == 0 ? 3 : 4;
        const std::wstring message = L"t" + std::to_wstring(t) + L" e" + std::to_wstring(entry);
        logger.Log(L"Race", level, message.c_str(), L".\\race.cpp", 1);
        ++entry;
      }
      written[t] = entry;
    });
  }
  const auto end = std::chrono::steady_clock::now() + kRunTime;
  for (int version = 1; std::chrono::steady_clock::now() < end; ++version) {
    ReplaceConfig(version % 2 == 0 ? kTemplateA : kTemplateB, version % 2 == 0 ? L"INFO" : L"WARN");
    std::this_thread::sleep_for(kRewriteEvery);
  }
  stop = true;
  for (std::thread& writer : writers) writer.join();
  SingletonManager::Instance().DeleteAll();

  std::vector<std::vector<int>> seen(kThreads);
  for (int t = 0; t < kThreads; ++t) seen[t].assign(static_cast<std::size_t>(written[t]), 0);
  int linesA = 0;
  int linesB = 0;
  for (const std::wstring& line : Lines()) {
    ParsedLine parsed;
    const bool a = ParseA(line, parsed);
    const bool b = !a && ParseB(line, parsed);
    ASSERT_TRUE(a || b) << "a line that follows neither template: " << ::testing::PrintToString(line);
    (a ? linesA : linesB)++;
    ASSERT_TRUE(parsed.thread >= 0 && parsed.thread < kThreads && parsed.entry >= 0 &&
                parsed.entry < written[parsed.thread])
        << ::testing::PrintToString(line);
    EXPECT_EQ(parsed.level, parsed.entry % 2 == 0 ? L'W' : L'I') << ::testing::PrintToString(line);
    ++seen[parsed.thread][parsed.entry];
  }
  // Both templates were in force at some time, or the test proved nothing.
  EXPECT_GT(linesA, 0);
  EXPECT_GT(linesB, 0);
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_GT(written[t], 0);
    for (int e = 0; e < written[t]; ++e) {
      if (e % 2 == 0) {
        ASSERT_EQ(seen[t][e], 1) << "WARN entry t" << t << " e" << e;
      } else {
        ASSERT_LE(seen[t][e], 1) << "INFO entry t" << t << " e" << e;
      }
    }
  }
  EXPECT_TRUE(EventMessages().empty()) << ::testing::PrintToString(EventMessages());
}

}  // namespace
}  // namespace Tavro_KVO_Util
