// UTF-8 (the tool's own text) to and from the library's wide strings, on both builds: the
// library's own converter (platform/utf8.h, compiled into the tool), so that the tool and the
// library replace malformed text by the same rule.
#ifndef MVUTIL_WIDE_TEXT_H
#define MVUTIL_WIDE_TEXT_H

#include "platform/utf8.h"

namespace mvutil {

using Tavro_KVO_Util::platform::AppendUtf8;
using Tavro_KVO_Util::platform::kReplacementCharacter;
using Tavro_KVO_Util::platform::Utf8ToWide;
using Tavro_KVO_Util::platform::WideToUtf8;

}  // namespace mvutil

#endif  // MVUTIL_WIDE_TEXT_H
