// Eight threads share one registry, each adding, removing, looking up and reporting for a few
// seconds. Every thread owns its own keys, so whatever the interleaving the final contents are
// those of a single-threaded replay of the same per-thread operations, and each thread can check
// every answer about its own keys as it goes. The host runs this under ThreadSanitizer as well.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cwchar>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"
#include "buttons/button_records.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::Window;

constexpr int kThreads = 8;
constexpr auto kRunTime = std::chrono::seconds(2);  // per registry; keeps CI fast
constexpr int kOwnersPerThread = 3;
constexpr std::int32_t kButtons[] = {INT32_MIN, -1, 0, 1, INT32_MAX};
constexpr int kButtonCount = static_cast<int>(sizeof(kButtons) / sizeof(kButtons[0]));
constexpr unsigned long kReportSize = 16384;  // room for every key of every thread
constexpr std::size_t kMaxProblems = 10;      // per thread, so that a broken build stays readable

enum class OpKind { kAdd, kRemove, kGet, kGetOwner, kGetOtherOwner, kGetAll, kReport, kShortReport };

struct Op {
  OpKind kind;
  int slot;        // which of the thread's own owners
  int otherOwner;  // any owner of any thread, for kGetOtherOwner
  std::int32_t button;
  std::int32_t action;
  std::uint64_t data1;
  std::uint64_t data2;
};

// A thread's operations are a function of its number alone, so the replay regenerates them.
class OpStream {
 public:
  explicit OpStream(int thread) : mRandom(1000u + static_cast<unsigned>(thread)) {}

  Op Next() {
    Op op{};
    const int roll = Uniform(0, 99);
    op.kind = roll < 35   ? OpKind::kAdd
              : roll < 60 ? OpKind::kRemove
              : roll < 75 ? OpKind::kGet
              : roll < 85 ? OpKind::kGetOwner
              : roll < 90 ? OpKind::kGetOtherOwner
              : roll < 94 ? OpKind::kGetAll
              : roll < 98 ? OpKind::kReport
                          : OpKind::kShortReport;
    op.slot = Uniform(0, kOwnersPerThread - 1);
    op.otherOwner = Uniform(0, kThreads * kOwnersPerThread - 1);
    op.button = kButtons[Uniform(0, kButtonCount - 1)];
    op.action = static_cast<std::int32_t>(static_cast<std::uint32_t>(mRandom()));
    op.data1 = mRandom();
    op.data2 = mRandom();
    return op;
  }

 private:
  int Uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(mRandom); }
  std::mt19937_64 mRandom;
};

// What the test needs to know of each registry.
struct WindowRegistry {
  using Registry = ButtonActionInfoList;
  using Record = ButtonActionInfo;
  using Owner = HWND;
  static constexpr bool kHasGetAll = false;

  // Odd threads take handles with the top bit set, so that unsigned order is exercised.
  static Owner OwnerOf(int thread, int slot) {
    std::uint64_t bits = 0x10u * static_cast<std::uint64_t>(thread * kOwnersPerThread + slot + 1);
    if (thread % 2 == 1) bits |= 0xFFFF800000000000ull;
    return Window(bits);
  }
  static std::uint64_t Number(Owner owner) { return reinterpret_cast<std::uintptr_t>(owner); }
  static Owner OwnerField(const Record& record) { return record.hWnd; }
  static Record Make(Owner owner, const Op& op) {
    return {owner, op.action, op.data1, Button(op.button), op.data2};
  }
  static std::wstring Line(std::uint64_t owner, std::int32_t button, std::int32_t action) {
    return testing::WindowLine(owner, button, action);
  }
  static constexpr wchar_t kPrefix[] = L"HWND: ";
  static constexpr int kOwnerBase = 16;
};

struct PidRegistry {
  using Registry = ButtonActionInfoPidList;
  using Record = ButtonActionInfoPid;
  using Owner = DWORD;
  static constexpr bool kHasGetAll = true;

  // Thread 0 owns process id 0; odd threads own ids of 2^31 and above.
  static Owner OwnerOf(int thread, int slot) {
    DWORD pid = static_cast<DWORD>(thread * kOwnersPerThread + slot);
    if (thread % 2 == 1) pid |= 0x80000000u;
    return pid;
  }
  static std::uint64_t Number(Owner owner) { return owner; }
  static Owner OwnerField(const Record& record) { return record.pid; }
  static Record Make(Owner owner, const Op& op) {
    return {owner, op.action, op.data1, Button(op.button), op.data2};
  }
  static std::wstring Line(std::uint64_t owner, std::int32_t button, std::int32_t action) {
    return testing::PidLine(static_cast<std::uint32_t>(owner), button, action);
  }
  static constexpr wchar_t kPrefix[] = L"PID: ";
  static constexpr int kOwnerBase = 10;
};

// One report line taken apart; `valid` only when the line is exactly what the registry prints.
struct ParsedLine {
  bool valid = false;
  std::uint64_t owner = 0;
  std::int32_t button = 0;
  std::int32_t action = 0;
};

template <typename Traits>
ParsedLine ParseLine(const std::wstring& line) {
  ParsedLine parsed;
  const std::wstring prefix = Traits::kPrefix;
  if (line.compare(0, prefix.size(), prefix) != 0) return parsed;
  const wchar_t* at = line.c_str() + prefix.size();
  wchar_t* end = nullptr;
  parsed.owner = std::wcstoull(at, &end, Traits::kOwnerBase);
  const std::wstring typeLabel = L", Button Type: ";
  if (std::wcsncmp(end, typeLabel.c_str(), typeLabel.size()) != 0) return parsed;
  parsed.button = static_cast<std::int32_t>(std::wcstol(end + typeLabel.size(), &end, 10));
  const std::wstring actionLabel = L", Button Action: ";
  if (std::wcsncmp(end, actionLabel.c_str(), actionLabel.size()) != 0) return parsed;
  parsed.action = static_cast<std::int32_t>(std::wcstol(end + actionLabel.size(), &end, 10));
  // Printing the parts again must give the same text: this checks the format, not just the parts.
  parsed.valid = Traits::Line(parsed.owner, parsed.button, parsed.action) == line + L"\n";
  return parsed;
}

// A report split into its lines (without "\n"); `whole` is false when text follows the last "\n".
struct SplitReport {
  std::vector<std::wstring> lines;
  bool whole = true;
};

inline SplitReport Split(const std::wstring& text) {
  SplitReport report;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(L'\n', start)) != std::wstring::npos; start = end + 1) {
    report.lines.push_back(text.substr(start, end - start));
  }
  report.whole = start == text.size();
  return report;
}

template <typename Traits>
class Worker {
 public:
  using Record = typename Traits::Record;
  using Key = std::pair<int, std::int32_t>;  // (slot, button): the same order as the registry's

  Worker(typename Traits::Registry& registry, int thread)
      : mRegistry(registry), mThread(thread), mOps(thread) {}

  void Run(const std::atomic<bool>& go, const std::chrono::steady_clock::time_point& deadline) {
    while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
    while (std::chrono::steady_clock::now() < deadline) {
      Apply(mOps.Next());
      ++mOpCount;
    }
  }

  long OpCount() const { return mOpCount; }
  const std::vector<std::string>& Problems() const { return mProblems; }

 private:
  typename Traits::Owner Owner(int slot) const { return Traits::OwnerOf(mThread, slot); }
  bool Mine(std::uint64_t owner) const {
    for (int slot = 0; slot < kOwnersPerThread; ++slot) {
      if (Traits::Number(Owner(slot)) == owner) return true;
    }
    return false;
  }
  void Problem(const std::string& what) {
    if (mProblems.size() < kMaxProblems) {
      mProblems.push_back("thread " + std::to_string(mThread) + ", op " + std::to_string(mOpCount) + ": " +
                          what);
    }
  }

  // The records of one owner slot as the registry must list them.
  std::vector<Record> ModelOf(int slot) const {
    std::vector<Record> records;
    for (const auto& [key, record] : mModel) {
      if (key.first == slot) records.push_back(record);
    }
    return records;
  }
  // The report lines of all this thread's entries, in key order.
  std::vector<std::wstring> ModelLines() const {
    std::vector<std::pair<std::pair<std::uint64_t, std::int32_t>, std::wstring>> lines;
    for (const auto& [key, record] : mModel) {
      const std::uint64_t owner = Traits::Number(Owner(key.first));
      lines.push_back({{owner, key.second}, Traits::Line(owner, key.second, record.buttonAction)});
    }
    std::sort(lines.begin(), lines.end());
    std::vector<std::wstring> texts;
    texts.reserve(lines.size());
    for (auto& line : lines) texts.push_back(line.second.substr(0, line.second.size() - 1));
    return texts;
  }

  void Apply(const Op& op) {
    const Key key(op.slot, op.button);
    switch (op.kind) {
      case OpKind::kAdd: {
        const Record record = Traits::Make(Owner(op.slot), op);
        const bool expected = mModel.count(key) == 0;
        if (mRegistry.Add(record) != expected) Problem("Add answered wrongly");
        if (expected) mModel[key] = record;
        break;
      }
      case OpKind::kRemove:
        if (mRegistry.Remove(Owner(op.slot), Button(op.button)) != (mModel.erase(key) == 1))
          Problem("Remove answered wrongly");
        break;
      case OpKind::kGet: {
        const Record untouched = Traits::Make(Owner(op.slot), Op{});
        Record found = untouched;
        const bool got = mRegistry.Get(Owner(op.slot), Button(op.button), found);
        const auto model = mModel.find(key);
        if (got != (model != mModel.end()) || !(found == (got ? model->second : untouched)))
          Problem("Get of one record answered wrongly");
        break;
      }
      case OpKind::kGetOwner:
        CheckOwnerList(op.slot);
        break;
      case OpKind::kGetOtherOwner:
        CheckAnyOwnerList(op.otherOwner);
        break;
      case OpKind::kGetAll:
        if constexpr (Traits::kHasGetAll) {
          CheckGetAll();
        } else {
          CheckAnyOwnerList(op.otherOwner);
        }
        break;
      case OpKind::kReport:
        CheckReport(kReportSize, true);
        break;
      case OpKind::kShortReport:
        CheckReport(1 + static_cast<unsigned long>(op.data1 % 400), false);
        break;
    }
  }

  void CheckOwnerList(int slot) {
    const Record old = Traits::Make(Owner(slot), Op{});
    std::vector<Record> list{old};
    const int appended = mRegistry.Get(Owner(slot), list);
    std::vector<Record> expected{old};
    for (const Record& record : ModelOf(slot)) expected.push_back(record);
    if (appended != static_cast<int>(expected.size()) - 1 || list != expected)
      Problem("Get of own owner wrong");
  }

  // Another thread's owner changes under us: the answer must still be well formed.
  void CheckAnyOwnerList(int ownerIndex) {
    const int thread = ownerIndex / kOwnersPerThread;
    const int slot = ownerIndex % kOwnersPerThread;
    if (thread == mThread) return CheckOwnerList(slot);
    const auto owner = Traits::OwnerOf(thread, slot);
    std::vector<Record> list;
    const int appended = mRegistry.Get(owner, list);
    bool ordered = appended == static_cast<int>(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
      ordered = ordered && Traits::OwnerField(list[i]) == owner &&
                (i == 0 || list[i - 1].buttonType < list[i].buttonType);
    }
    if (!ordered) Problem("Get of another thread's owner is not one owner in ascending type");
  }

  void CheckGetAll() {
    std::vector<Record> list;
    const int appended = mRegistry.Get(list);
    bool ordered = appended == static_cast<int>(list.size());
    std::vector<Record> mine;
    for (std::size_t i = 0; i < list.size(); ++i) {
      const auto key = std::make_pair(Traits::Number(Traits::OwnerField(list[i])), list[i].buttonType);
      if (i > 0) {
        const auto before =
            std::make_pair(Traits::Number(Traits::OwnerField(list[i - 1])), list[i - 1].buttonType);
        ordered = ordered && before < key;
      }
      if (Mine(key.first)) mine.push_back(list[i]);
    }
    std::vector<Record> expected;
    for (int slot = 0; slot < kOwnersPerThread; ++slot) {
      for (const Record& record : ModelOf(slot)) expected.push_back(record);
    }
    std::sort(expected.begin(), expected.end(), [](const Record& a, const Record& b) {
      return std::make_pair(Traits::Number(Traits::OwnerField(a)), a.buttonType) <
             std::make_pair(Traits::Number(Traits::OwnerField(b)), b.buttonType);
    });
    if (!ordered) Problem("Get of every record is not in key order");
    if (mine != expected) Problem("Get of every record has this thread's records wrong");
  }

  // A report must be whole lines: the header with the true count, then entries in key order. A
  // complete one holds exactly this thread's entries among the others.
  void CheckReport(unsigned long size, bool mustFit) {
    std::vector<wchar_t> buffer(size, L'X');
    const bool complete = mRegistry.GetReport(buffer.data(), size);
    const std::wstring text(buffer.data());
    if (mustFit && !complete) return Problem("a report with room for every key did not fit");
    const SplitReport report = Split(text);
    if (!report.whole) return Problem("report ends inside a line");
    if (report.lines.empty()) {
      if (complete) Problem("a complete report has no header");
      return;
    }
    const std::wstring headerLabel = L"Total Actions: ";
    if (report.lines[0].compare(0, headerLabel.size(), headerLabel) != 0) return Problem("no header");
    const long count = std::wcstol(report.lines[0].c_str() + headerLabel.size(), nullptr, 10);
    const long entries = static_cast<long>(report.lines.size()) - 1;
    if (complete ? entries != count : entries >= count) Problem("header count does not match the lines");
    std::vector<std::wstring> mine;
    std::pair<std::uint64_t, std::int32_t> previous{};
    for (std::size_t i = 1; i < report.lines.size(); ++i) {
      const ParsedLine line = ParseLine<Traits>(report.lines[i]);
      if (!line.valid) return Problem("malformed report line");
      const std::pair<std::uint64_t, std::int32_t> key(line.owner, line.button);
      if (i > 1 && !(previous < key)) return Problem("report lines out of key order");
      previous = key;
      if (Mine(line.owner)) mine.push_back(report.lines[i]);
    }
    if (complete && mine != ModelLines()) Problem("report has this thread's entries wrong");
  }

  typename Traits::Registry& mRegistry;
  const int mThread;
  OpStream mOps;
  long mOpCount = 0;
  std::map<Key, Record> mModel;
  std::vector<std::string> mProblems;
};

// Every way of reading a registry's whole contents, as text, for comparing two registries.
template <typename Traits>
std::wstring Contents(typename Traits::Registry& registry) {
  std::vector<wchar_t> buffer(kReportSize);
  std::wstring text =
      registry.GetReport(buffer.data(), kReportSize) ? buffer.data() : L"(report did not fit)\n";
  text += L"count " + std::to_wstring(registry.GetCount()) + L"\n";
  std::vector<typename Traits::Record> records;
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int slot = 0; slot < kOwnersPerThread; ++slot) {
      const auto owner = Traits::OwnerOf(thread, slot);
      registry.Get(owner, records);
      for (const std::int32_t button : kButtons) {
        typename Traits::Record found{};
        if (registry.Get(owner, Button(button), found)) records.push_back(found);
      }
    }
  }
  if constexpr (Traits::kHasGetAll) registry.Get(records);
  for (const auto& record : records) {
    text += std::to_wstring(Traits::Number(Traits::OwnerField(record))) + L" " +
            std::to_wstring(record.buttonAction) + L" " + std::to_wstring(record.actionData1) + L" " +
            std::to_wstring(static_cast<std::int32_t>(record.buttonType)) + L" " +
            std::to_wstring(record.actionData2) + L"\n";
  }
  return text;
}

template <typename Traits>
void RunSharedAndReplay() {
  typename Traits::Registry shared;
  std::vector<std::unique_ptr<Worker<Traits>>> workers;
  workers.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread)
    workers.push_back(std::make_unique<Worker<Traits>>(shared, thread));

  std::atomic<bool> go{false};
  std::chrono::steady_clock::time_point deadline;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (auto& worker : workers) threads.emplace_back([&, w = worker.get()] { w->Run(go, deadline); });
  deadline = std::chrono::steady_clock::now() + kRunTime;  // published to the workers by `go`
  go.store(true, std::memory_order_release);
  for (auto& thread : threads) thread.join();

  typename Traits::Registry replay;
  for (int thread = 0; thread < kThreads; ++thread) {
    const Worker<Traits>& worker = *workers[static_cast<std::size_t>(thread)];
    for (const std::string& problem : worker.Problems()) ADD_FAILURE() << problem;
    EXPECT_GT(worker.OpCount(), 100) << "thread " << thread << " hardly ran";
    OpStream ops(thread);
    for (long i = 0; i < worker.OpCount(); ++i) {
      const Op op = ops.Next();
      if (op.kind == OpKind::kAdd) replay.Add(Traits::Make(Traits::OwnerOf(thread, op.slot), op));
      if (op.kind == OpKind::kRemove) replay.Remove(Traits::OwnerOf(thread, op.slot), Button(op.button));
    }
  }
  EXPECT_EQ(shared.GetCount(), replay.GetCount());
  EXPECT_EQ(Contents<Traits>(shared), Contents<Traits>(replay));
}

TEST(ButtonActionInfoListThreads, EightThreadsEndWithTheContentsOfASingleThreadedReplay) {
  RunSharedAndReplay<WindowRegistry>();
}

TEST(ButtonActionInfoPidListThreads, EightThreadsEndWithTheContentsOfASingleThreadedReplay) {
  RunSharedAndReplay<PidRegistry>();
}

}  // namespace
}  // namespace Tavro_KVO_Util
