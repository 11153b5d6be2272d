#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/sound_scheme.h"

#include <vector>

#include "platform/win32/unique_owners.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

struct SchemeKey::State {
  UniqueHkey key;
};

SchemeKey::SchemeKey() = default;
SchemeKey::~SchemeKey() = default;
SchemeKey::SchemeKey(SchemeKey&& other) noexcept = default;
SchemeKey& SchemeKey::operator=(SchemeKey&& other) noexcept = default;

bool SchemeKey::IsOpen() const { return mState && mState->key; }
void SchemeKey::Close() { mState.reset(); }

namespace {

HKEY Handle(const SchemeKey& key) { return key.IsOpen() ? key.state()->key.get() : nullptr; }

}  // namespace

long CreateSchemeKey(const std::wstring& path, SchemeKey& key) {
  key.Close();
  HKEY created = nullptr;
  const LONG status =
      RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), /*Reserved=*/0, /*lpClass=*/nullptr,
                      REG_OPTION_NON_VOLATILE, kSchemeAllAccess,
                      /*lpSecurityAttributes=*/nullptr, &created, /*lpdwDisposition=*/nullptr);
  if (status != ERROR_SUCCESS) return status;
  key.mState = std::make_unique<SchemeKey::State>();
  key.mState->key.reset(created);
  return ERROR_SUCCESS;
}

long OpenSchemeKey(const std::wstring& path, unsigned long access, SchemeKey& key) {
  key.Close();
  HKEY opened = nullptr;
  const LONG status = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), /*ulOptions=*/0, access, &opened);
  if (status != ERROR_SUCCESS) return status;
  key.mState = std::make_unique<SchemeKey::State>();
  key.mState->key.reset(opened);
  return ERROR_SUCCESS;
}

long SetSchemeDefaultValue(const SchemeKey& key, unsigned long type, const std::wstring& value) {
  // The terminator is part of the data, as the system's own sound settings write it.
  const DWORD bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  return RegSetValueExW(Handle(key), /*lpValueName=*/nullptr, /*Reserved=*/0, type,
                        reinterpret_cast<const BYTE*>(value.c_str()), bytes);
}

long DeleteOpenSchemeKey(const SchemeKey& key) { return RegDeleteKeyW(Handle(key), L""); }

long EnumSchemeSubkey(const SchemeKey& key, unsigned long index, std::size_t maxChars, std::wstring& name) {
  std::vector<wchar_t> buffer(maxChars + 1, L'\0');
  DWORD length = static_cast<DWORD>(maxChars);
  const LONG status =
      RegEnumKeyExW(Handle(key), index, buffer.data(), &length, /*lpReserved=*/nullptr,
                    /*lpClass=*/nullptr, /*lpcchClass=*/nullptr, /*lpftLastWriteTime=*/nullptr);
  if (status == ERROR_SUCCESS) name.assign(buffer.data(), length);
  return status;
}

long ReadSchemeDefaultValue(const SchemeKey& key, std::size_t maxBytes, unsigned long& type,
                            std::wstring& value) {
  // One spare character so that a value stored without its terminator still ends.
  std::vector<wchar_t> buffer(maxBytes / sizeof(wchar_t) + 1, L'\0');
  DWORD valueType = REG_NONE;
  DWORD bytes = static_cast<DWORD>(maxBytes);
  const LONG status = RegQueryValueExW(Handle(key), /*lpValueName=*/nullptr, /*lpReserved=*/nullptr,
                                       &valueType, reinterpret_cast<BYTE*>(buffer.data()), &bytes);
  if (status != ERROR_SUCCESS) return status;
  type = valueType;
  value.assign(buffer.data());
  return ERROR_SUCCESS;
}

}  // namespace Tavro_KVO_Util::platform
