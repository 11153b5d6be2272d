#include "shipping/shipper.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <ostream>
#include <thread>
#include <vector>

#include "entry_filter.h"
#include "log_watcher.h"
#include "platform/stop_request.h"
#include "platform/time_zone.h"
#include "shipping/collector_link.h"
#include "shipping/entry_template.h"
#include "shipping/ship_cursor.h"

namespace Tavro_KVO_Util::shipping {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kFirstBackoff{500};
constexpr milliseconds kLastBackoff{30000};
constexpr milliseconds kSaveInterval{1000};
constexpr milliseconds kGatherAnswers{1};
constexpr std::size_t kGatherWhenInFlight = 512;
constexpr int kConnectTimeoutMilliseconds = 5000;
// At the end, how long the answers to what is in flight are waited for.
constexpr milliseconds kDrainTime{5000};
// --once: the end is reached when this many looks in a row find nothing new. One look is not
// enough: the file read last may be missing for a moment while a writer rolls the log.
constexpr int kEmptyLooksAtEnd = 2;

// Why the cursor is being saved; it decides how durably.
enum class SaveWhen {
  kIfDue,       // durably, once a second while the cursor moves
  kWindowFull,  // now, because otherwise a kill could cost more than a window of duplicates
  kAtExit,      // durably, now
};

// One message on its way, and what taking it means for the cursor. A window of these is held,
// so it is kept small: the entry's timestamp is read back from the message when it is taken.
struct Outgoing {
  std::string message;
  std::optional<mvutil::LogPosition> end;  // none for the shipper's own messages
};

}  // namespace

struct Shipper::Impl {
  Impl(const ShipperOptions& options, std::ostream& err)
      : options(options),
        err(err),
        filter(options.format, std::nullopt, std::nullopt),
        watcher(options.logFile, options.maxBackups, filter, mvutil::LogWatcher::WhenLost::kOldestFile),
        entryTemplate(options.format, platform::LocalZoneNames()),
        link(MakeCollectorLink(options.destination, options.tlsFiles, options.context.softwareVersion)) {}

  void Start();
  ShipResult Loop();
  bool Connect();
  bool SendWhatFits();
  bool ReadMore();
  bool Collect(int timeoutMilliseconds);
  void Broke(const std::string& why);
  void SaveCursor(SaveWhen when);
  // No more may be sent until answers come, or the cursor is saved: what was taken since the last
  // save and what is in flight together fill the window (so does a window full of messages in
  // flight alone).
  bool WindowFull() const { return takenSinceSave + sent.size() >= options.window; }
  void Drain();

  const ShipperOptions& options;
  std::ostream& err;
  mvutil::EntryFilter filter;
  mvutil::LogWatcher watcher;
  EntryTemplate entryTemplate;
  std::unique_ptr<CollectorLink> link;

  ShipCursor cursor;
  bool cursorMoved = false;
  // Messages taken since the cursor was last saved. With those in flight it never exceeds the
  // window, so a shipper killed at any moment sends again at most one window of messages.
  std::size_t takenSinceSave = 0;
  Clock::time_point lastDurableSave = Clock::now();

  std::deque<Outgoing> unread;  // read from the log, not yet sent
  std::deque<Outgoing> sent;    // sent, not yet taken: sent again after a reconnect
  int emptyLooks = 0;
  Clock::time_point nextLook = Clock::now();

  milliseconds backoff = kFirstBackoff;
  Clock::time_point nextAttempt = Clock::now();
  std::string lastProblem;      // said once until the collector is reached again
  std::string lastSaveProblem;  // said once until the state file is saved again
};

Shipper::Shipper(ShipperOptions options, std::ostream& err) : mOptions(std::move(options)), mErr(err) {}

ShipResult Shipper::Run() {
  Impl impl(mOptions, mErr);
  impl.Start();
  return impl.Loop();
}

void Shipper::Impl::Start() {
  std::string why;
  switch (LoadShipCursor(options.stateFile, cursor, why)) {
    case CursorLoad::kLoaded:
      watcher.ResumeAfter(cursor.position);
      return;
    case CursorLoad::kDamaged:
      err << "mvutil ship: warning: the state file " << options.stateFile.u8string() << " " << why
          << "; shipping starts again from the oldest backup\n";
      return;
    case CursorLoad::kNone:
      if (options.fromEnd) {
        std::vector<std::string> none;
        watcher.ReadLast(0, none);
      }
      return;
  }
}

ShipResult Shipper::Impl::Loop() {
  ShipResult result = ShipResult::kDelivered;
  while (!platform::StopRequested()) {
    if (!link->IsOpen() && !Connect()) {
      if (options.once) {
        result = ShipResult::kUnreachable;
        break;
      }
      const milliseconds wait =
          std::min(options.pollInterval, std::chrono::ceil<milliseconds>(nextAttempt - Clock::now()));
      if (wait.count() > 0) std::this_thread::sleep_for(wait);
      continue;
    }
    const bool more = SendWhatFits();
    if (!link->IsOpen()) continue;  // broke while sending
    const bool idle = !more && unread.empty();
    // Wait for answers only when nothing else can be done now: with the window full, until an
    // answer comes; with nothing to read, until the next look at the log. Otherwise only pick
    // up what has arrived.
    // Rounded up: rounded down, the last fraction of a millisecond before a look would be spent
    // polling with no wait at all.
    const milliseconds untilLook =
        std::max(milliseconds(0), std::chrono::ceil<milliseconds>(nextLook - Clock::now()));
    milliseconds wait{0};
    if (WindowFull()) {
      // With this many in flight the collector has a few milliseconds of work. A short pause
      // lets its answers gather, so one read takes hundreds of them; woken for every few, the
      // shipper and rsyslog spent about a third more CPU per message.
      if (sent.size() >= kGatherWhenInFlight) std::this_thread::sleep_for(kGatherAnswers);
      wait = options.pollInterval;
    } else if (idle) {
      wait = std::min(untilLook, options.pollInterval);
    }
    if (!Collect(static_cast<int>(wait.count()))) {
      if (options.once) {
        result = ShipResult::kUnreachable;
        break;
      }
      continue;
    }
    SaveCursor(SaveWhen::kIfDue);
    if (options.once && idle && sent.empty() && emptyLooks >= kEmptyLooksAtEnd) break;
  }
  Drain();
  return result;
}

bool Shipper::Impl::Connect() {
  if (Clock::now() < nextAttempt) return false;
  std::string why;
  if (!link->Open(kConnectTimeoutMilliseconds, why)) {
    if (why != lastProblem) {
      err << "mvutil ship: " << why
          << (options.once ? "\n" : "; trying again, waiting up to 30 s between attempts\n");
      err.flush();
      lastProblem = why;
    }
    nextAttempt = Clock::now() + backoff;
    backoff = std::min(backoff * 2, kLastBackoff);
    return false;
  }
  if (!lastProblem.empty()) {
    err << "mvutil ship: connected again\n";
    err.flush();
  }
  lastProblem.clear();
  backoff = kFirstBackoff;
  // What was in flight when the connection broke goes again, in order.
  for (const Outgoing& message : sent) {
    if (!link->Send(message.message, why)) {
      Broke(why);
      return false;
    }
  }
  return true;
}

void Shipper::Impl::Broke(const std::string& why) {
  if (why != lastProblem) {
    err << "mvutil ship: " << why << "\n";
    err.flush();
    lastProblem = why;
  }
  nextAttempt = Clock::now() + backoff;
  backoff = std::min(backoff * 2, kLastBackoff);
}

// Sends while the window has room. True when more could be read at once (the last read was cut
// short, or the window is full).
//
// Messages taken since the last save plus those in flight never exceed the window: that is what
// a kill can send twice. When they reach it, the cursor is saved if at least half a window was
// taken since the last save; otherwise the answers to the half window or more still in flight are
// awaited first. So the collector always has work, and the cursor is written once per half
// window rather than once per answer.
bool Shipper::Impl::SendWhatFits() {
  bool more = true;
  while (sent.size() < options.window) {
    if (WindowFull()) {
      if (2 * takenSinceSave < options.window) return true;
      // A state file that cannot be written is reported, and shipping goes on regardless:
      // delivering matters more than how much a kill would send twice.
      SaveCursor(SaveWhen::kWindowFull);
    }
    if (unread.empty()) {
      if (Clock::now() < nextLook) return false;
      more = ReadMore();
      if (unread.empty()) return more;
    }
    std::string why;
    if (!link->Send(unread.front().message, why)) {
      Broke(why);
      return true;
    }
    sent.push_back(std::move(unread.front()));
    unread.pop_front();
  }
  return true;
}

bool Shipper::Impl::ReadMore() {
  std::vector<mvutil::LogEntry> entries;
  const bool more = watcher.Follow(entries);
  if (watcher.TakeLostNotice()) {
    std::string until = CurrentTimestamp();
    if (!entries.empty()) {
      std::string first;
      FormatEntryMessage(entries.front().text, entryTemplate, options.context, first);
      until = first;
    }
    const std::string text =
        "Log entries lost between " +
        (cursor.lastTimestamp.empty() ? std::string("an unknown time") : cursor.lastTimestamp) + " and " +
        until +
        ": the place where shipping had got to is no longer in the log (rolled past the last "
        "backup, or deleted); shipping goes on with the oldest entry left";
    unread.push_back({FormatShipperMessage(kSeverityWarning, text, options.context), std::nullopt});
    err << "mvutil ship: warning: " << text << "\n";
    err.flush();
  }
  std::string timestamp;
  for (mvutil::LogEntry& entry : entries) {
    Outgoing message;
    message.message = FormatEntryMessage(entry.text, entryTemplate, options.context, timestamp);
    // Built by appending, the text may have up to twice the room it needs; a window of them
    // would carry that waste.
    message.message.shrink_to_fit();
    message.end = std::move(entry.end);
    unread.push_back(std::move(message));
  }
  if (entries.empty() && !more) {
    ++emptyLooks;
    nextLook = Clock::now() + options.pollInterval;
  } else {
    emptyLooks = 0;
  }
  return more;
}

bool Shipper::Impl::Collect(int timeoutMilliseconds) {
  std::size_t taken = 0;
  std::string why;
  const bool ok = link->Collect(timeoutMilliseconds, taken, why);
  for (; taken > 0 && !sent.empty(); --taken) {
    Outgoing& message = sent.front();
    if (message.end) {
      cursor.position = std::move(*message.end);
      cursor.lastTimestamp = MessageTimestamp(message.message);
      cursorMoved = true;
    }
    ++takenSinceSave;
    sent.pop_front();
  }
  if (!ok) Broke(why);
  return ok;
}

// A save forced by the window only has to survive the shipper being killed, which the rename
// alone ensures; flushing the disk every window was most of the time spent shipping a backlog.
// A power loss can cost what was taken since the last durable save, at most a second's worth,
// and those entries are sent again.
void Shipper::Impl::SaveCursor(SaveWhen when) {
  if (!cursorMoved) {
    takenSinceSave = 0;  // only the shipper's own messages were taken: a restart sends none again
    return;
  }
  const bool due = Clock::now() - lastDurableSave >= kSaveInterval;
  if (when == SaveWhen::kIfDue && !due) return;
  const bool durable = due || when == SaveWhen::kAtExit;
  std::string why;
  if (!SaveShipCursor(options.stateFile, cursor,
                      durable ? platform::Durability::kOnDisk : platform::Durability::kWithSystem, why)) {
    if (why != lastSaveProblem) {  // said once, not once per window
      err << "mvutil ship: cannot save the state file: " << why << "\n";
      err.flush();
      lastSaveProblem = why;
    }
  } else {
    cursorMoved = false;
    takenSinceSave = 0;
    lastSaveProblem.clear();
  }
  if (durable) lastDurableSave = Clock::now();
}

// At the end: the answers to what is in flight, the cursor, and a clean close.
void Shipper::Impl::Drain() {
  const Clock::time_point deadline = Clock::now() + kDrainTime;
  while (!sent.empty() && link->IsOpen() && Clock::now() < deadline) {
    if (!Collect(static_cast<int>(options.pollInterval.count()))) break;
  }
  SaveCursor(SaveWhen::kAtExit);
  link->Close(1000);
}

}  // namespace Tavro_KVO_Util::shipping
