// ButtonActionInfoList: which action each hardware button triggers for a given window.
//
// A thread-safe registry of ButtonActionInfo records keyed by (window, button). Callers register
// one entry per key, look entries up, list all entries of a window, remove entries, and dump the
// registry as text for diagnostics. The registry owns copies of the records; it interprets only
// the key and hands everything else back unchanged. ButtonActionInfoPidList is the same registry
// keyed by process id.
//
// Order: keys sort by the window handle taken as an unsigned 64-bit number, then by the button
// type as a signed 32-bit number. All entries of one window are therefore adjacent, in ascending
// button type, and a negative type comes before zero.
//
// Failures: every failure is written to the Logger (made on first need) at level 2 (ERROR) in
// the debug area "BN", with no data text, naming the class and method, for example
// "ButtonActionInfoList::Add - could not get critical section lock". Support tools search the log
// for these texts; they are quoted below exactly. Nothing is thrown.
//
// Threads: any thread may call any member. One critical section per registry serialises Add,
// Remove, both Get and GetReport, each holding it for its whole run. GetCount takes no lock. The
// destructor takes no lock either: no other thread may still use the registry then.
//
//   Tavro_KVO_Util::ButtonActionInfoList actions;
//   actions.Add({hWnd, /*buttonAction=*/7, /*actionData1=*/0, button, /*actionData2=*/0});
//   Tavro_KVO_Util::ButtonActionInfo found;
//   if (actions.Get(hWnd, button, found)) Trigger(found.buttonAction);
#ifndef TAVROMEDIVANEUTIL_BUTTONACTIONINFOLIST_H
#define TAVROMEDIVANEUTIL_BUTTONACTIONINFOLIST_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "ButtonActionInfo.h"
#include "OsLockableObject.h"
#include "TavroMedivaneUtilExport.h"
#include "mvButtonType.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API ButtonActionInfoList {
 public:
  // Creates the lock and an empty registry. Should either allocation fail, it logs
  // "ButtonActionInfoList::ButtonActionInfoList - new failed for mCritSect" or
  // "... - new failed for mButActMap" and the registry stays unusable: every later call then
  // fails (a missing lock as a failed lock; a missing map as a registry that cannot hold entries),
  // and GetCount returns 0.
  ButtonActionInfoList();

  // Deletes every record, then the registry, then the lock. Takes no lock.
  ~ButtonActionInfoList();

  ButtonActionInfoList(const ButtonActionInfoList&) = delete;
  ButtonActionInfoList& operator=(const ButtonActionInfoList&) = delete;

  // Stores a copy of `info` under (info.hWnd, info.buttonType). Never replaces: when the key is
  // present the stored entry stays as it was and the result is false (to change an entry, Remove
  // it and Add it again). True only when the copy was stored.
  // Logs "ButtonActionInfoList::Add - could not get critical section lock" or
  // "ButtonActionInfoList::Add - new failed"; the registry is then unchanged.
  bool Add(const ButtonActionInfo& info);

  // Removes and deletes the entry of (hWnd, type). True only when one was removed.
  // Logs "ButtonActionInfoList::Remove - could not get critical section lock".
  bool Remove(HWND hWnd, mvButtonType type);

  // Copies the entry of (hWnd, type) into `info`. False when there is none; `info` is then not
  // touched.
  // Logs "ButtonActionInfoList::Get(HWND, MVButtonType, ButtonActionInfo&) - could not get
  // critical section lock" (one line in the log).
  bool Get(HWND hWnd, mvButtonType type, ButtonActionInfo& info) const;

  // Appends copies of all entries of `hWnd` to `list`, in ascending button type, after whatever
  // `list` already holds (it is not cleared). Returns how many were appended (0 when the window
  // has none), or -1 when the lock could not be taken, logging
  // "ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - could not get critical section lock".
  // Should `list` fail to grow, it logs "ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) -
  // new failed" and returns how many were appended before.
  int Get(HWND hWnd, std::vector<ButtonActionInfo>& list) const;

  // Writes the registry as text into `buffer`, which holds `size` wide characters (at least 1):
  //   "Total Actions: <count>\n", then one line per entry in key order:
  //   "HWND: <handle>, Button Type: <type>, Button Action: <buttonAction>\n"
  // where <handle> is 16 upper-case hexadecimal digits, zero-padded, without prefix (as "%p"
  // prints on 64-bit Windows), and the numbers are signed decimal. Lines are never cut: the report
  // stops before the first line that does not fit together with the terminating NUL, and the
  // result is false; `buffer` then holds the lines that fitted (empty when not even the first
  // line does). True only when the whole registry fitted. A null `buffer` or a `size` of 0 writes
  // nothing and gives false.
  // Logs "ButtonActionInfoList::GetReport - could not get critical section lock".
  bool GetReport(wchar_t* buffer, unsigned long size);

  // The number of entries, 0 when the registry could not be created. Deliberately unlocked, so
  // cheap enough to poll: while another thread changes the registry the value may be stale.
  std::size_t GetCount() const;

 private:
  // Window handle as an unsigned 64-bit number, then button type as a signed 32-bit number:
  // std::pair's order is exactly the registry's order.
  using Key = std::pair<std::uint64_t, std::int32_t>;
  using Map = std::map<Key, ButtonActionInfo*>;

  // Sets `*record` to the stored entry of (hWnd, type), or null; true when there is one. The
  // caller holds the lock.
  bool GetPtr(HWND hWnd, mvButtonType type, ButtonActionInfo** record) const;

  Map* mButActMap;              // owns every record it points to; null when it could not be made
  OsLockableObject* mCritSect;  // an OsCriticalSection, owned; null when it could not be made

  friend class ButtonRegistryTestPeer;  // white-box tests swap the lock and drop the map
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_BUTTONACTIONINFOLIST_H
