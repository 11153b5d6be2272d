// How ImageUtil reports: every entry goes through the Logger's formatted entry point, with the
// operation's debug area and the line of the call.
#ifndef TAVROMEDIVANEUTIL_IMAGE_IMAGE_LOG_H
#define TAVROMEDIVANEUTIL_IMAGE_IMAGE_LOG_H

namespace Tavro_KVO_Util::internal {

// The source file every ImageUtil entry names: support tools filter the log on it.
inline constexpr wchar_t kImageSourceFile[] = L".\\ImageUtil.cpp";

// The debug areas. Support tools select verbose logging by these exact names.
inline constexpr wchar_t kImageArea[] = L"ImageUtil";
inline constexpr wchar_t kSetImageFormatArea[] = L"ImageUtil::SetImageFormat";
inline constexpr wchar_t kSetImageDimensionsArea[] = L"ImageUtil::SetImageDimensions";
inline constexpr wchar_t kCopyToClipBoardArea[] = L"ImageUtil::CopyToClipBoard";
inline constexpr wchar_t kGetEncoderClsidArea[] = L"ImageUtil::GetEncoderClsid";

// `format` follows the Windows wide-printf conventions (%s is a wide string).
void ReportImage(const wchar_t* area, int level, int line, const wchar_t* format, ...);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_IMAGE_IMAGE_LOG_H
