// ButtonActionInfoList: the registry keyed by (window, button).
//
// Every member but GetCount and the destructor takes the lock first with Lock(true), tests the
// result, and calls Unlock() itself on each path that got it.
#include "ButtonActionInfoList.h"

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
// them exact.
constexpr wchar_t kSourceFile[] = L".\\ButtonActionInfoList.cpp";

constexpr wchar_t kNoLockObject[] = L"ButtonActionInfoList::ButtonActionInfoList - new failed for mCritSect";
constexpr wchar_t kNoMap[] = L"ButtonActionInfoList::ButtonActionInfoList - new failed for mButActMap";
constexpr wchar_t kAddNotLocked[] = L"ButtonActionInfoList::Add - could not get critical section lock";
constexpr wchar_t kAddNoMemory[] = L"ButtonActionInfoList::Add - new failed";
constexpr wchar_t kRemoveNotLocked[] = L"ButtonActionInfoList::Remove - could not get critical section lock";
constexpr wchar_t kGetOneNotLocked[] =
    L"ButtonActionInfoList::Get(HWND, MVButtonType, ButtonActionInfo&) - could not get critical section lock";
constexpr wchar_t kGetWindowNotLocked[] =
    L"ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - could not get critical section lock";
constexpr wchar_t kGetWindowNoMemory[] =
    L"ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - new failed";
constexpr wchar_t kReportNotLocked[] =
    L"ButtonActionInfoList::GetReport - could not get critical section lock";

constexpr wchar_t kReportHeader[] = L"Total Actions: %d\n";
constexpr wchar_t kReportLine[] = L"HWND: %p, Button Type: %d, Button Action: %d\n";

// The handle's bits as an unsigned number, so that handles with the top bit set sort last.
std::uint64_t HandleNumber(HWND hWnd) { return reinterpret_cast<std::uintptr_t>(hWnd); }

// The header, then one line per entry in key order, as long as they fit. True when all did.
template <typename Map>
bool WriteReport(const Map* map, wchar_t* buffer, unsigned long size) {
  ReportWriter report(buffer, size);
  if (!report.AppendLine(kReportHeader, static_cast<int>(map == nullptr ? 0 : map->size()))) return false;
  if (map == nullptr) return true;
  for (const auto& [key, record] : *map) {
    // "%p" takes a pointer: the key's number becomes the handle it was made from.
    void* const handle = reinterpret_cast<void*>(  // NOLINT(performance-no-int-to-ptr)
        static_cast<std::uintptr_t>(key.first));
    if (!report.AppendLine(kReportLine, handle, static_cast<int>(key.second),
                           static_cast<int>(record->buttonAction)))
      return false;
  }
  return true;
}

}  // namespace

ButtonActionInfoList::ButtonActionInfoList() : mButActMap(nullptr), mCritSect(nullptr) {
  mCritSect = new (std::nothrow) OsCriticalSection();
  if (mCritSect == nullptr) ReportButtonError(kSourceFile, __LINE__, kNoLockObject);
  mButActMap = new (std::nothrow) Map();
  if (mButActMap == nullptr) ReportButtonError(kSourceFile, __LINE__, kNoMap);
}

ButtonActionInfoList::~ButtonActionInfoList() {
  DeleteMapAndRecords(mButActMap);
  delete mCritSect;  // through OsLockableObject's virtual destructor
}

bool ButtonActionInfoList::Add(const ButtonActionInfo& info) {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kAddNotLocked)) return false;
  // A registry without its map cannot hold the copy, as if the copy could not be made.
  const AddOutcome outcome = mButActMap == nullptr
                                 ? AddOutcome::kNoMemory
                                 : AddCopy(*mButActMap, Key(HandleNumber(info.hWnd), info.buttonType), info);
  if (outcome == AddOutcome::kNoMemory) ReportButtonError(kSourceFile, __LINE__, kAddNoMemory);
  mCritSect->Unlock();
  return outcome == AddOutcome::kAdded;
}

bool ButtonActionInfoList::Remove(HWND hWnd, mvButtonType type) {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kRemoveNotLocked)) return false;
  ButtonActionInfo* record = nullptr;
  GetPtr(hWnd, type, &record);
  const bool removed = mButActMap != nullptr && mButActMap->erase(Key(HandleNumber(hWnd), type)) == 1;
  if (removed) delete record;
  mCritSect->Unlock();
  return removed;
}

bool ButtonActionInfoList::Get(HWND hWnd, mvButtonType type, ButtonActionInfo& info) const {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kGetOneNotLocked)) return false;
  ButtonActionInfo* record = nullptr;
  const bool found = GetPtr(hWnd, type, &record);
  if (found) info = *record;
  mCritSect->Unlock();
  return found;
}

int ButtonActionInfoList::Get(HWND hWnd, std::vector<ButtonActionInfo>& list) const {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kGetWindowNotLocked)) return -1;
  int appended = 0;
  bool outOfMemory = false;
  if (mButActMap != nullptr) {
    const std::uint64_t window = HandleNumber(hWnd);
    appended = AppendMatching(
        *mButActMap, list, [window](const Key& key) { return key.first == window; }, outOfMemory);
  }
  if (outOfMemory) ReportButtonError(kSourceFile, __LINE__, kGetWindowNoMemory);
  mCritSect->Unlock();
  return appended;
}

bool ButtonActionInfoList::GetReport(wchar_t* buffer, unsigned long size) {
  if (!LockOrReport(mCritSect, kSourceFile, __LINE__, kReportNotLocked)) return false;
  const bool complete = buffer != nullptr && size != 0 && WriteReport(mButActMap, buffer, size);
  mCritSect->Unlock();
  return complete;
}

std::size_t ButtonActionInfoList::GetCount() const { return mButActMap == nullptr ? 0 : mButActMap->size(); }

bool ButtonActionInfoList::GetPtr(HWND hWnd, mvButtonType type, ButtonActionInfo** record) const {
  *record = mButActMap == nullptr ? nullptr : FindRecord(*mButActMap, Key(HandleNumber(hWnd), type));
  return *record != nullptr;
}

}  // namespace Tavro_KVO_Util
