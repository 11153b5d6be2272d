// The button registry functions of the C interface: a tmu_button_list is a ButtonActionInfoList
// and a tmu_button_pid_list a ButtonActionInfoPidList, each owned by the caller.
#include <string>
#include <vector>

#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "platform/utf8.h"

struct tmu_button_list {
  Tavro_KVO_Util::ButtonActionInfoList registry;
};
struct tmu_button_pid_list {
  Tavro_KVO_Util::ButtonActionInfoPidList registry;
};

namespace {

using Tavro_KVO_Util::ButtonActionInfo;
using Tavro_KVO_Util::ButtonActionInfoPid;
using Tavro_KVO_Util::c_api::CopyRecordsOut;
using Tavro_KVO_Util::c_api::CopyTextOut;
using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::Present;

// The report is written into a fixed buffer that must hold all of it, so the buffer is sized from
// the entry count: the header line "Total Actions: <count>\n" and the longest entry line,
// "HWND: <16 digits>, Button Type: <int32>, Button Action: <int32>\n" (77 characters; a process
// line is shorter), with room to spare.
constexpr unsigned long kReportHeaderCharacters = 48;
constexpr unsigned long kReportLineCharacters = 96;
// Another thread may add entries between the count and the report: so many tries, each sized anew.
constexpr int kReportTries = 3;

tmu_button_action ToC(const ButtonActionInfo& info) {
  return {info.hWnd, info.buttonType, info.buttonAction, info.actionData1, info.actionData2};
}
tmu_button_pid_action ToC(const ButtonActionInfoPid& info) {
  return {info.pid, info.buttonType, info.buttonAction, info.actionData1, info.actionData2};
}
ButtonActionInfo FromC(const tmu_button_action& action) {
  return {static_cast<HWND>(action.window), action.button_action, action.action_data1,
          static_cast<mvButtonType>(action.button_type), action.action_data2};
}
ButtonActionInfoPid FromC(const tmu_button_pid_action& action) {
  return {action.pid, action.button_action, action.action_data1,
          static_cast<mvButtonType>(action.button_type), action.action_data2};
}

template <typename Registry>
tmu_status Create(const char* function, Registry** out) {
  return Guarded(function, [&] {
    if (!Present(function, "list", out)) return TMU_INVALID_ARGUMENT;
    *out = new Registry();
    return TMU_OK;
  });
}

// The whole report of `registry`, in a buffer sized from its count (see above).
template <typename Registry>
tmu_status Report(const char* function, Registry* list, char* buffer, size_t capacity, size_t* length) {
  return Guarded(function, [&]() -> tmu_status {
    if (!Present(function, "list", list) || !Present(function, "length", length)) return TMU_INVALID_ARGUMENT;
    *length = 0;
    for (int attempt = 0; attempt < kReportTries; ++attempt) {
      // One line more than counted, so that an entry added meanwhile still fits.
      const unsigned long size =
          kReportHeaderCharacters +
          (static_cast<unsigned long>(list->registry.GetCount()) + 1) * kReportLineCharacters;
      std::vector<wchar_t> wide(size, L'\0');
      if (list->registry.GetReport(wide.data(), size)) {
        return CopyTextOut(Tavro_KVO_Util::platform::WideToUtf8(wide.data()), buffer, capacity, length);
      }
    }
    return TMU_FAILED;
  });
}

template <typename Record, typename CRecord>
tmu_status ArrayOut(const std::vector<Record>& records, CRecord* actions, size_t capacity, size_t* count) {
  std::vector<CRecord> converted;
  converted.reserve(records.size());
  for (const Record& record : records) converted.push_back(ToC(record));
  return CopyRecordsOut(converted, actions, capacity, count);
}

}  // namespace

extern "C" {

tmu_status tmu_button_list_create(tmu_button_list** list) { return Create("tmu_button_list_create", list); }

void tmu_button_list_destroy(tmu_button_list* list) { delete list; }

tmu_status tmu_button_list_add(tmu_button_list* list, const tmu_button_action* action) {
  return Guarded("tmu_button_list_add", [&]() -> tmu_status {
    if (!Present("tmu_button_list_add", "list", list) || !Present("tmu_button_list_add", "action", action)) {
      return TMU_INVALID_ARGUMENT;
    }
    return list->registry.Add(FromC(*action)) ? TMU_OK : TMU_FAILED;
  });
}

tmu_status tmu_button_list_remove(tmu_button_list* list, void* window, int32_t button_type) {
  return Guarded("tmu_button_list_remove", [&]() -> tmu_status {
    if (!Present("tmu_button_list_remove", "list", list)) return TMU_INVALID_ARGUMENT;
    return list->registry.Remove(static_cast<HWND>(window), static_cast<mvButtonType>(button_type))
               ? TMU_OK
               : TMU_NOT_FOUND;
  });
}

tmu_status tmu_button_list_get(const tmu_button_list* list, void* window, int32_t button_type,
                               tmu_button_action* action) {
  return Guarded("tmu_button_list_get", [&]() -> tmu_status {
    if (!Present("tmu_button_list_get", "list", list) || !Present("tmu_button_list_get", "action", action)) {
      return TMU_INVALID_ARGUMENT;
    }
    ButtonActionInfo info{};
    if (!list->registry.Get(static_cast<HWND>(window), static_cast<mvButtonType>(button_type), info)) {
      return TMU_NOT_FOUND;
    }
    *action = ToC(info);
    return TMU_OK;
  });
}

tmu_status tmu_button_list_get_all(const tmu_button_list* list, void* window, tmu_button_action* actions,
                                   size_t capacity, size_t* count) {
  return Guarded("tmu_button_list_get_all", [&]() -> tmu_status {
    if (!Present("tmu_button_list_get_all", "list", list) ||
        !Present("tmu_button_list_get_all", "count", count) ||
        (capacity > 0 && !Present("tmu_button_list_get_all", "actions", actions))) {
      return TMU_INVALID_ARGUMENT;
    }
    std::vector<ButtonActionInfo> found;
    list->registry.Get(static_cast<HWND>(window), found);
    return ArrayOut(found, actions, capacity, count);
  });
}

tmu_status tmu_button_list_report(tmu_button_list* list, char* buffer, size_t capacity, size_t* length) {
  return Report("tmu_button_list_report", list, buffer, capacity, length);
}

size_t tmu_button_list_count(const tmu_button_list* list) {
  return list == nullptr ? 0 : list->registry.GetCount();
}

tmu_status tmu_button_pid_list_create(tmu_button_pid_list** list) {
  return Create("tmu_button_pid_list_create", list);
}

void tmu_button_pid_list_destroy(tmu_button_pid_list* list) { delete list; }

tmu_status tmu_button_pid_list_add(tmu_button_pid_list* list, const tmu_button_pid_action* action) {
  return Guarded("tmu_button_pid_list_add", [&]() -> tmu_status {
    if (!Present("tmu_button_pid_list_add", "list", list) ||
        !Present("tmu_button_pid_list_add", "action", action)) {
      return TMU_INVALID_ARGUMENT;
    }
    return list->registry.Add(FromC(*action)) ? TMU_OK : TMU_FAILED;
  });
}

tmu_status tmu_button_pid_list_remove(tmu_button_pid_list* list, uint32_t pid, int32_t button_type) {
  return Guarded("tmu_button_pid_list_remove", [&]() -> tmu_status {
    if (!Present("tmu_button_pid_list_remove", "list", list)) return TMU_INVALID_ARGUMENT;
    return list->registry.Remove(pid, static_cast<mvButtonType>(button_type)) ? TMU_OK : TMU_NOT_FOUND;
  });
}

tmu_status tmu_button_pid_list_get(const tmu_button_pid_list* list, uint32_t pid, int32_t button_type,
                                   tmu_button_pid_action* action) {
  return Guarded("tmu_button_pid_list_get", [&]() -> tmu_status {
    if (!Present("tmu_button_pid_list_get", "list", list) ||
        !Present("tmu_button_pid_list_get", "action", action)) {
      return TMU_INVALID_ARGUMENT;
    }
    ButtonActionInfoPid info{};
    if (!list->registry.Get(pid, static_cast<mvButtonType>(button_type), info)) return TMU_NOT_FOUND;
    *action = ToC(info);
    return TMU_OK;
  });
}

tmu_status tmu_button_pid_list_get_all(const tmu_button_pid_list* list, uint32_t pid,
                                       tmu_button_pid_action* actions, size_t capacity, size_t* count) {
  return Guarded("tmu_button_pid_list_get_all", [&]() -> tmu_status {
    if (!Present("tmu_button_pid_list_get_all", "list", list) ||
        !Present("tmu_button_pid_list_get_all", "count", count) ||
        (capacity > 0 && !Present("tmu_button_pid_list_get_all", "actions", actions))) {
      return TMU_INVALID_ARGUMENT;
    }
    std::vector<ButtonActionInfoPid> found;
    list->registry.Get(pid, found);
    return ArrayOut(found, actions, capacity, count);
  });
}

tmu_status tmu_button_pid_list_get_every(const tmu_button_pid_list* list, tmu_button_pid_action* actions,
                                         size_t capacity, size_t* count) {
  return Guarded("tmu_button_pid_list_get_every", [&]() -> tmu_status {
    if (!Present("tmu_button_pid_list_get_every", "list", list) ||
        !Present("tmu_button_pid_list_get_every", "count", count) ||
        (capacity > 0 && !Present("tmu_button_pid_list_get_every", "actions", actions))) {
      return TMU_INVALID_ARGUMENT;
    }
    std::vector<ButtonActionInfoPid> found;
    list->registry.Get(found);
    return ArrayOut(found, actions, capacity, count);
  });
}

tmu_status tmu_button_pid_list_report(tmu_button_pid_list* list, char* buffer, size_t capacity,
                                      size_t* length) {
  return Report("tmu_button_pid_list_report", list, buffer, capacity, length);
}

size_t tmu_button_pid_list_count(const tmu_button_pid_list* list) {
  return list == nullptr ? 0 : list->registry.GetCount();
}

}  // extern "C"
