#include "platform/environment.h"

#include <cstdlib>
#include <utility>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {

namespace {

std::wstring Expanded(const std::wstring& text) {
  std::wstring out;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t open = text.find(L'%', at);
    const std::size_t close = open == std::wstring::npos ? open : text.find(L'%', open + 1);
    if (close == std::wstring::npos) {
      out.append(text, at, std::wstring::npos);
      break;
    }
    out.append(text, at, open - at);
    const std::wstring name = text.substr(open + 1, close - open - 1);
    const char* value = name.empty() ? nullptr : std::getenv(WideToUtf8(name).c_str());
    if (value != nullptr) {
      out += Utf8ToWide(value);
      at = close + 1;
    } else {
      // Unknown names stay as written; the closing '%' may open the next reference.
      out.append(text, open, close - open);
      at = close;
    }
  }
  return out;
}

}  // namespace

bool ExpandEnvironmentText(const std::wstring& text, std::size_t maxChars, std::wstring& expanded) {
  std::wstring out = Expanded(text);
  if (out.size() + 1 > maxChars) return false;
  expanded = std::move(out);
  return true;
}

std::wstring ExpandEnvironmentTextInBuffer(const std::wstring& text, std::size_t bufferChars) {
  std::wstring out = Expanded(text);
  // Cut as Windows cuts a result that does not fit its buffer.
  if (out.size() + 1 > bufferChars) out.resize(bufferChars - 1);
  return out;
}

}  // namespace Tavro_KVO_Util::platform
