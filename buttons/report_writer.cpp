#include "buttons/report_writer.h"

#include <algorithm>
#include <cstdarg>
#include <cwchar>
#include <string>

#include "logging/wide_format.h"

namespace Tavro_KVO_Util::internal {

ReportWriter::ReportWriter(wchar_t* buffer, unsigned long size) : mBuffer(buffer), mSize(size), mLength(0) {
  mBuffer[0] = L'\0';
}

bool ReportWriter::AppendLine(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const std::wstring text = FormatWide(format, args);
  va_end(args);
  // The line buffer keeps room for its NUL, so a longer line is cut to 499 characters.
  const std::size_t lineLength = std::min(text.size(), kLineBufferSize - 1);
  if (mLength + lineLength + 1 > mSize) return false;
  std::wmemcpy(mBuffer + mLength, text.data(), lineLength);
  mLength += lineLength;
  mBuffer[mLength] = L'\0';
  return true;
}

}  // namespace Tavro_KVO_Util::internal
