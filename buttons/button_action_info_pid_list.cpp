// ButtonActionInfoPidList: the registry keyed by (process id, button).
//
// Built as ButtonActionInfoList: every member but GetCount and the destructor takes the lock
// first with Lock(true), tests the result, and calls Unlock() itself on each path that got it.
#include "ButtonActionInfoPidList.h"

#include <cstdint>
#include <new>

#include "OsCriticalSection.h"
#include "buttons/registry_log.h"
#include "buttons/registry_map.h"
#include "buttons/report_writer.h"

namespace Tavro_KVO_Util {

using namespace internal;

namespace {

// Support tools filter the log on this file name and search it for the messages below; keep
// them exact. The one-record Get names ButtonActionInfo&, as it always has.
constexpr wchar_t kSourceFile[] = L".\\ButtonActionInfoPidList.cpp";

constexpr wchar_t kNoLockObject[] =
    L"ButtonActionInfoPidList::ButtonActionInfoPidList - new failed for mCritSect";
constexpr wchar_t kNoMap[] = L"ButtonActionInfoPidList::ButtonActionInfoPidList - new failed for mButActMap";
constexpr wchar_t kAddNotLocked[] = L"ButtonActionInfoPidList::Add - could not get critical section lock";
constexpr wchar_t kAddNoMemory[] = L"ButtonActionInfoPidList::Add - new failed";
constexpr wchar_t kRemoveNotLocked[] =
    L"ButtonActionInfoPidList::Remove - could not get critical section lock";
constexpr wchar_t kGetOneNotLocked[] =
    L"ButtonActionInfoPidList::Get(PID, MVButtonType, ButtonActionInfo&) - could not get critical section "
    L"lock";
constexpr wchar_t kGetProcessNotLocked[] =
    L"ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) - could not get critical section lock";
constexpr wchar_t kGetProcessNoMemory[] =
    L"ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) - new failed";
constexpr wchar_t kGetAllNotLocked[] =
    L"ButtonActionInfoPidList::Get(ButtonActionInfoVect) - could not get critical section lock";
constexpr wchar_t kGetAllNoMemory[] = L"ButtonActionInfoPidList::Get(ButtonActionInfoVect) - new failed";
constexpr wchar_t kReportNotLocked[] =
    L"ButtonActionInfoPidList::GetReport - could not get critical section lock";

constexpr wchar_t kReportHeader[] = L"Total Actions: %d\n";
constexpr wchar_t kReportLine[] = L"PID: %u, Button Type: %d, Button Action: %d\n";

// The header, then one line per entry in key order, as long as they fit. True when all did.
template <typename Map>
bool WriteReport(const Map* map, wchar_t* buffer, unsigned long size) {
  ReportWriter report(buffer, size);
  if (!report.AppendLine(kReportHeader, static_cast<int>(map == nullptr ? 0 : map->size()))) return false;
  if (map == nullptr) return true;
  for (const auto& [key, record] : *map) {
    if (!report.AppendLine(kReportLine, static_cast<unsigned int>(key.first), static_cast<int>(key.second),
                           static_cast<int>(record->buttonAction)))
      return false;
  }
  return true;
}

}  // namespace

ButtonActionInfoPidList::ButtonActionInfoPidList() : mButActMap(nullptr), mCritSect(nullptr) {
  mCritSect = new (std::nothrow) OsCriticalSection();
  if (mCritSect == nullptr) ReportButtonError(kSourceFile, __LINE__, kNoLockObject);
  mButActMap = new (std::nothrow) Map();
  if (mButActMap == nullptr) ReportButtonError(kSourceFile, __LINE__, kNoMap);
}

ButtonActionInfoPidList::~ButtonActionInfoPidList() {
  DeleteMapAndRecords(mButActMap);
  delete mCritSect;  // through OsLockableObject's virtual destructor
}

bool ButtonActionInfoPidList::Add(const ButtonActionInfoPid& info) {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kAddNotLocked)) return false;
  // A registry without its map cannot hold the copy, as if the copy could not be made.
  const AddOutcome outcome = mButActMap == nullptr
                                 ? AddOutcome::kNoMemory
                                 : AddCopy(*mButActMap, Key(info.pid, info.buttonType), info);
  if (outcome == AddOutcome::kNoMemory) ReportButtonError(kSourceFile, __LINE__, kAddNoMemory);
  mCritSect->Unlock();
  return outcome == AddOutcome::kAdded;
}

bool ButtonActionInfoPidList::Remove(DWORD pid, mvButtonType type) {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kRemoveNotLocked)) return false;
  ButtonActionInfoPid* record = nullptr;
  GetPtr(pid, type, &record);
  const bool removed = mButActMap != nullptr && mButActMap->erase(Key(pid, type)) == 1;
  if (removed) delete record;
  mCritSect->Unlock();
  return removed;
}

bool ButtonActionInfoPidList::Get(DWORD pid, mvButtonType type, ButtonActionInfoPid& info) const {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kGetOneNotLocked)) return false;
  ButtonActionInfoPid* record = nullptr;
  const bool found = GetPtr(pid, type, &record);
  if (found) info = *record;
  mCritSect->Unlock();
  return found;
}

int ButtonActionInfoPidList::Get(DWORD pid, std::vector<ButtonActionInfoPid>& list) const {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kGetProcessNotLocked)) return -1;
  int appended = 0;
  bool outOfMemory = false;
  if (mButActMap != nullptr) {
    const std::uint32_t process = pid;
    appended = AppendMatching(
        *mButActMap, list, [process](const Key& key) { return key.first == process; }, outOfMemory);
  }
  if (outOfMemory) ReportButtonError(kSourceFile, __LINE__, kGetProcessNoMemory);
  mCritSect->Unlock();
  return appended;
}

int ButtonActionInfoPidList::Get(std::vector<ButtonActionInfoPid>& list) const {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kGetAllNotLocked)) return -1;
  int appended = 0;
  bool outOfMemory = false;
  if (mButActMap != nullptr) {
    appended = AppendMatching(
        *mButActMap, list, [](const Key&) { return true; }, outOfMemory);
  }
  if (outOfMemory) ReportButtonError(kSourceFile, __LINE__, kGetAllNoMemory);
  mCritSect->Unlock();
  return appended;
}

bool ButtonActionInfoPidList::GetReport(wchar_t* buffer, unsigned long size) {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kReportNotLocked)) return false;
  const bool complete = buffer != nullptr && size != 0 && WriteReport(mButActMap, buffer, size);
  mCritSect->Unlock();
  return complete;
}

std::size_t ButtonActionInfoPidList::GetCount() const {
  return mButActMap == nullptr ? 0 : mButActMap->size();
}

bool ButtonActionInfoPidList::GetPtr(DWORD pid, mvButtonType type, ButtonActionInfoPid** record) const {
  *record = mButActMap == nullptr ? nullptr : FindRecord(*mButActMap, Key(pid, type));
  return *record != nullptr;
}

}  // namespace Tavro_KVO_Util
