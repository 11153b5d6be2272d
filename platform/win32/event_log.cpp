#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/event_log.h"

#include <mutex>
#include <set>

#include "platform/win32/unique_owners.h"
#include "platform/win32/windows_include.h"

// <windows.h> turns ReportEvent into ReportEventW; this file defines the library's own ReportEvent
// and calls the system's by its wide name.
#undef ReportEvent

namespace Tavro_KVO_Util::platform {
namespace {

constexpr wchar_t kSourcesKey[] = L"SYSTEM\\CurrentControlSet\\Services\\Eventlog\\Application\\";
constexpr DWORD kTypesSupported = 31;  // error, warning, information, audit success and failure

// The module whose message table the Event Viewer is to use: the library's DLL as loaded in this
// process, or, when the code is linked into a program instead (the white-box tests), the module
// that holds this function.
bool MessageModulePath(std::wstring& path) {
  HMODULE module = GetModuleHandleW(L"TavroMedivaneUtil.dll");
  if (module == nullptr && !GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                                   GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                               reinterpret_cast<LPCWSTR>(&MessageModulePath), &module)) {
    return false;
  }
  wchar_t buffer[518] = {};
  const DWORD length = GetModuleFileNameW(module, buffer, 518);
  if (length == 0 || length >= 518) return false;
  path.assign(buffer, length);
  return true;
}

// Registers (or refreshes) the source under HKLM. False when the key cannot be created or
// opened, which without administrative rights is the usual case.
bool RegisterSource(const std::wstring& source) {
  const std::wstring keyPath = kSourcesKey + source;
  HKEY opened = nullptr;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, keyPath.c_str(), /*Reserved=*/0, /*lpClass=*/nullptr,
                      REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, /*lpSecurityAttributes=*/nullptr, &opened,
                      /*lpdwDisposition=*/nullptr) != ERROR_SUCCESS) {
    return false;
  }
  const UniqueHkey key(opened);
  // Failures to set the values are not fatal: a source registered earlier still has them. A
  // module path that cannot be read is left out rather than written empty over a good one.
  std::wstring modulePath;
  if (MessageModulePath(modulePath)) {
    RegSetValueExW(key.get(), L"EventMessageFile", /*Reserved=*/0, REG_SZ,
                   reinterpret_cast<const BYTE*>(modulePath.c_str()),
                   static_cast<DWORD>((modulePath.size() + 1) * sizeof(wchar_t)));
  }
  RegSetValueExW(key.get(), L"TypesSupported", /*Reserved=*/0, REG_DWORD,
                 reinterpret_cast<const BYTE*>(&kTypesSupported), sizeof kTypesSupported);
  return true;
}

// The sources registered by kOncePerProcess in this process.
std::mutex gRegisteredLock;
std::set<std::wstring> gRegistered;

// True when the source's key holds the module path and the event types this library writes.
bool HoldsTheRightValues(const std::wstring& source) {
  std::wstring modulePath;
  if (!MessageModulePath(modulePath)) return false;
  const std::wstring keyPath = kSourcesKey + source;
  wchar_t messageFile[520] = {};
  DWORD size = sizeof messageFile;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, keyPath.c_str(), L"EventMessageFile", RRF_RT_REG_SZ,
                   /*pdwType=*/nullptr, messageFile, &size) != ERROR_SUCCESS ||
      modulePath != messageFile) {
    return false;
  }
  DWORD types = 0;
  size = sizeof types;
  return RegGetValueW(HKEY_LOCAL_MACHINE, keyPath.c_str(), L"TypesSupported", RRF_RT_REG_DWORD,
                      /*pdwType=*/nullptr, &types, &size) == ERROR_SUCCESS &&
         types == kTypesSupported;
}

bool RegisterSourceOnce(const std::wstring& source) {
  const std::lock_guard<std::mutex> hold(gRegisteredLock);
  if (gRegistered.count(source) != 0) return true;
  if (!HoldsTheRightValues(source) && !RegisterSource(source)) return false;
  gRegistered.insert(source);
  return true;
}

}  // namespace

void ForgetSourceRegistrationsForTesting() {
  const std::lock_guard<std::mutex> hold(gRegisteredLock);
  gRegistered.clear();
}

bool ReportEvent(const std::wstring& source, const std::wstring& message, unsigned short eventType,
                 SourceRegistration registration) {
  const bool registered = registration == SourceRegistration::kOncePerProcess ? RegisterSourceOnce(source)
                                                                              : RegisterSource(source);
  if (!registered) return false;
  const UniqueEventSource eventSource(RegisterEventSourceW(/*lpUNCServerName=*/nullptr, source.c_str()));
  if (!eventSource) return false;
  const wchar_t* strings[] = {message.c_str()};
  return ReportEventW(eventSource.get(), eventType, /*wCategory=*/0, /*dwEventID=*/1, /*lpUserSid=*/nullptr,
                      /*wNumStrings=*/1, /*dwDataSize=*/0, strings, /*lpRawData=*/nullptr) != FALSE;
}

}  // namespace Tavro_KVO_Util::platform
