// The text dump of a button-action registry: whole lines into a caller's fixed buffer.
//
// Both registries build their report the same way: the buffer is emptied, then each line is
// formatted into a line buffer of 500 characters (longer text is cut there) and appended only
// when it fits together with the terminating NUL. The first line that does not fit ends the
// report; what fitted stays in the buffer, and a line is never cut at the buffer's end.
#ifndef TAVROMEDIVANEUTIL_BUTTONS_REPORT_WRITER_H
#define TAVROMEDIVANEUTIL_BUTTONS_REPORT_WRITER_H

#include <cstddef>

namespace Tavro_KVO_Util::internal {

class ReportWriter {
 public:
  // Characters of the line buffer, its NUL included.
  static constexpr std::size_t kLineBufferSize = 500;

  // Makes `buffer` (of `size` >= 1 wide characters) the empty string.
  ReportWriter(wchar_t* buffer, unsigned long size);

  ReportWriter(const ReportWriter&) = delete;
  ReportWriter& operator=(const ReportWriter&) = delete;

  // Formats one line with the Windows wide-printf conventions ("%p" is 16 upper-case hex digits
  // on every build) and appends it. False, with the buffer unchanged, when it does not fit.
  bool AppendLine(const wchar_t* format, ...);

 private:
  wchar_t* mBuffer;
  std::size_t mSize;
  std::size_t mLength;  // characters in mBuffer before its NUL
};

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_BUTTONS_REPORT_WRITER_H
