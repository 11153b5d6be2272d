#include "platform/posix/narrow_path.h"

#include <cwchar>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

constexpr int kRemembered = 4;

struct RememberedNames {
  std::wstring wide[kRemembered];
  std::string narrow[kRemembered];
  int next = 0;
};

template <typename Equal>
const std::string& Narrow(const wchar_t* path, std::size_t length, Equal equal) {
  thread_local RememberedNames names;
  for (int i = 0; i < kRemembered; ++i) {
    if (names.wide[i].size() == length && equal(names.wide[i])) return names.narrow[i];
  }
  const int slot = names.next;
  names.next = (names.next + 1) % kRemembered;
  names.wide[slot].assign(path, length);
  names.narrow[slot] = WideToUtf8(names.wide[slot]);
  return names.narrow[slot];
}

}  // namespace

const std::string& NarrowPath(const std::wstring& path) {
  return Narrow(path.data(), path.size(), [&](const std::wstring& known) { return known == path; });
}

const std::string& NarrowPath(const wchar_t* path) {
  const std::size_t length = std::wcslen(path);
  return Narrow(path, length,
                [&](const std::wstring& known) { return std::wmemcmp(known.data(), path, length) == 0; });
}

}  // namespace Tavro_KVO_Util::platform
