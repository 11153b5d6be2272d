// ButtonActionInfoPidList: which action each hardware button triggers for a given process.
//
// A thread-safe registry of ButtonActionInfoPid records keyed by (process id, button). It is built
// and behaves exactly as ButtonActionInfoList (see ButtonActionInfoList.h) with the process id in
// place of the window handle, and has one more lookup: every entry at once. The registry owns
// copies of the records; it interprets only the key and hands everything else back unchanged.
//
// Order: keys sort by the process id as an unsigned 32-bit number (so 0 comes first and ids of
// 2^31 and above are never negative), then by the button type as a signed 32-bit number.
//
// Failures: every failure is written to the Logger (made on first need) at level 2 (ERROR) in
// the debug area "BN", with no data text; support tools search the log for these texts, quoted
// below exactly. Nothing is thrown.
//
// Threads: any thread may call any member. One critical section per registry serialises Add,
// Remove, every Get and GetReport, each holding it for its whole run. GetCount takes no lock. The
// destructor takes no lock either: no other thread may still use the registry then.
//
//   Tavro_KVO_Util::ButtonActionInfoPidList actions;
//   actions.Add({pid, /*buttonAction=*/7, /*actionData1=*/0, button, /*actionData2=*/0});
//   std::vector<Tavro_KVO_Util::ButtonActionInfoPid> all;
//   actions.Get(all);
#ifndef TAVROMEDIVANEUTIL_BUTTONACTIONINFOPIDLIST_H
#define TAVROMEDIVANEUTIL_BUTTONACTIONINFOPIDLIST_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "ButtonActionInfoPid.h"
#include "OsLockableObject.h"
#include "TavroMedivaneUtilExport.h"
#include "mvButtonType.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API ButtonActionInfoPidList {
 public:
  // Creates the lock and an empty registry. Should either allocation fail, it logs
  // "ButtonActionInfoPidList::ButtonActionInfoPidList - new failed for mCritSect" or
  // "... - new failed for mButActMap" and the registry stays unusable: every later call then
  // fails (a missing lock as a failed lock; a missing map as a registry that cannot hold entries),
  // and GetCount returns 0.
  ButtonActionInfoPidList();

  // Deletes every record, then the registry, then the lock. Takes no lock.
  ~ButtonActionInfoPidList();

  ButtonActionInfoPidList(const ButtonActionInfoPidList&) = delete;
  ButtonActionInfoPidList& operator=(const ButtonActionInfoPidList&) = delete;

  // Stores a copy of `info` under (info.pid, info.buttonType). Never replaces: when the key is
  // present the stored entry stays as it was and the result is false (to change an entry, Remove
  // it and Add it again). True only when the copy was stored.
  // Logs "ButtonActionInfoPidList::Add - could not get critical section lock" or
  // "ButtonActionInfoPidList::Add - new failed"; the registry is then unchanged.
  bool Add(const ButtonActionInfoPid& info);

  // Removes and deletes the entry of (pid, type). True only when one was removed.
  // Logs "ButtonActionInfoPidList::Remove - could not get critical section lock".
  bool Remove(DWORD pid, mvButtonType type);

  // Copies the entry of (pid, type) into `info`. False when there is none; `info` is then not
  // touched.
  // Logs "ButtonActionInfoPidList::Get(PID, MVButtonType, ButtonActionInfo&) - could not get
  // critical section lock" (one line in the log; the record type is named as shown).
  bool Get(DWORD pid, mvButtonType type, ButtonActionInfoPid& info) const;

  // Appends copies of all entries of `pid` to `list`, in ascending button type, after whatever
  // `list` already holds (it is not cleared). Returns how many were appended, or -1 when the lock
  // could not be taken, logging
  // "ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) - could not get critical section lock".
  // Should `list` fail to grow, it logs "ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) -
  // new failed" and returns how many were appended before.
  int Get(DWORD pid, std::vector<ButtonActionInfoPid>& list) const;

  // Appends copies of every entry to `list`, in key order, after whatever `list` already holds.
  // Returns how many were appended (0 for an empty registry), or -1 when the lock could not be
  // taken, logging
  // "ButtonActionInfoPidList::Get(ButtonActionInfoVect) - could not get critical section lock".
  // Should `list` fail to grow, it logs "ButtonActionInfoPidList::Get(ButtonActionInfoVect) -
  // new failed" and returns how many were appended before.
  int Get(std::vector<ButtonActionInfoPid>& list) const;

  // Writes the registry as text into `buffer`, which holds `size` wide characters (at least 1):
  //   "Total Actions: <count>\n", then one line per entry in key order:
  //   "PID: <pid>, Button Type: <type>, Button Action: <buttonAction>\n"
  // where <pid> is unsigned decimal and the other numbers signed decimal. Lines are never cut:
  // the report stops before the first line that does not fit together with the terminating NUL,
  // and the result is false; `buffer` then holds the lines that fitted (empty when not even the
  // first line does). True only when the whole registry fitted. A null `buffer` or a `size` of 0
  // writes nothing and gives false.
  // Logs "ButtonActionInfoPidList::GetReport - could not get critical section lock".
  bool GetReport(wchar_t* buffer, unsigned long size);

  // The number of entries, 0 when the registry could not be created. Deliberately unlocked, so
  // cheap enough to poll: while another thread changes the registry the value may be stale.
  std::size_t GetCount() const;

 private:
  // Process id as an unsigned 32-bit number, then button type as a signed 32-bit number:
  // std::pair's order is exactly the registry's order.
  using Key = std::pair<std::uint32_t, std::int32_t>;
  using Map = std::map<Key, ButtonActionInfoPid*>;

  // Sets `*record` to the stored entry of (pid, type), or null; true when there is one. The
  // caller holds the lock.
  bool GetPtr(DWORD pid, mvButtonType type, ButtonActionInfoPid** record) const;

  Map* mButActMap;              // owns every record it points to; null when it could not be made
  OsLockableObject* mCritSect;  // an OsCriticalSection, owned; null when it could not be made

  friend class ButtonRegistryTestPeer;  // white-box tests swap the lock and drop the map
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_BUTTONACTIONINFOPIDLIST_H
