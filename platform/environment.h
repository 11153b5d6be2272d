// Platform service: expanding %NAME% references to environment variables.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_ENVIRONMENT_H
#define TAVROMEDIVANEUTIL_PLATFORM_ENVIRONMENT_H

#include <cstddef>
#include <string>

namespace Tavro_KVO_Util::platform {

// Replaces each %NAME% in `text` by the variable's value; a reference to a variable that does not
// exist stays as it is (as Windows' ExpandEnvironmentStrings does). False when the expansion fails
// or needs more than `maxChars` characters (terminator included).
bool ExpandEnvironmentText(const std::wstring& text, std::size_t maxChars, std::wstring& expanded);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_ENVIRONMENT_H
