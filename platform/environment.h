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

// Expands `text` into a buffer of `bufferChars` characters (terminator included) and gives what
// that buffer then holds. A result that fits is the whole expansion; one that does not is cut to
// its first `bufferChars` - 1 characters, which is what Windows' ExpandEnvironmentStringsW leaves
// there (Wine 8 measured). On Windows the buffer is the system's, terminated by us, so a version
// that leaves it empty gives an empty text. `bufferChars` must be at least 1.
std::wstring ExpandEnvironmentTextInBuffer(const std::wstring& text, std::size_t bufferChars);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_ENVIRONMENT_H
