// Sets or removes an environment variable for the life of a test, then restores it.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_ENVIRONMENT_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_ENVIRONMENT_H

#include <cstdlib>
#include <optional>
#include <string>

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#endif

namespace Tavro_KVO_Util::testing {

class ScopedEnvironmentVariable {
 public:
  // `value` empty-optional removes the variable.
  ScopedEnvironmentVariable(std::string name, std::optional<std::string> value) : mName(std::move(name)) {
    if (const char* old = std::getenv(mName.c_str())) mOld = old;
    Set(value);
  }
  ~ScopedEnvironmentVariable() { Set(mOld); }
  ScopedEnvironmentVariable(const ScopedEnvironmentVariable&) = delete;
  ScopedEnvironmentVariable& operator=(const ScopedEnvironmentVariable&) = delete;

 private:
  void Set(const std::optional<std::string>& value) {
#ifdef _WIN32
    // Both the process environment block (read by ExpandEnvironmentStrings) and the C runtime's copy.
    const std::wstring name(mName.begin(), mName.end());
    const std::wstring wide = value ? std::wstring(value->begin(), value->end()) : std::wstring();
    // The C runtime's copy first: setting it to "" removes the variable from both, and an
    // empty value must then be put back into the process environment block.
    _putenv_s(mName.c_str(), value ? value->c_str() : "");
    SetEnvironmentVariableW(name.c_str(), value ? wide.c_str() : nullptr);
#else
    if (value) {
      setenv(mName.c_str(), value->c_str(), 1);
    } else {
      unsetenv(mName.c_str());
    }
#endif
  }

  std::string mName;
  std::optional<std::string> mOld;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_ENVIRONMENT_H
