// Internal pieces of the wide formatter shared by its two files: wide_format.cpp parses the format
// and writes strings, characters and pointers; wide_format_numbers.cpp writes integers and
// floating-point values.
#ifndef TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_PARTS_H
#define TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_PARTS_H

#include <cstdarg>
#include <cstddef>
#include <string>

// Nothing here is part of the shared library's interface: on ELF platforms these symbols stay out
// of the dynamic symbol table, so the calls between the two files go straight to the function
// rather than through the PLT. (A DLL exports only what is marked.)
#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(hidden)
#endif

namespace Tavro_KVO_Util::internal {

inline constexpr int kNoPrecision = -1;

// Which argument type an integer conversion reads.
enum class IntSize { kInt, kShort, kInt32, kLong, kLongLong, kSizeT, kIntMax, kPtrDiff, kIntPtr };

struct Directive {
  bool left = false;       // '-'
  bool plus = false;       // '+'
  bool space = false;      // ' '
  bool alternate = false;  // '#'
  bool zero = false;       // '0'
  bool widthFromArg = false;
  bool precisionFromArg = false;
  bool narrow = false;      // 'h': a narrow character or string
  bool wide = false;        // 'l' or 'w': a wide character or string
  bool longDouble = false;  // 'L'
  int width = 0;
  int precision = kNoPrecision;
  IntSize size = IntSize::kInt;
  wchar_t conversion = L'\0';
};

// The caller's va_list stays untouched: we read from our own copy.
class ArgReader {
 public:
  explicit ArgReader(va_list args) { va_copy(mArgs, args); }
  ~ArgReader() { va_end(mArgs); }
  ArgReader(const ArgReader&) = delete;
  ArgReader& operator=(const ArgReader&) = delete;

  template <typename T>
  T Next() {
    return va_arg(mArgs, T);
  }

 private:
  va_list mArgs;
};

// ---- output ----

// Bytes become the characters with the same codes (0-255): no code page is involved.
inline void AppendWidened(std::wstring& out, const char* text, std::size_t length) {
  const std::size_t start = out.size();
  out.resize(start + length);
  for (std::size_t i = 0; i < length; ++i) out[start + i] = static_cast<unsigned char>(text[i]);
}

inline void AppendText(std::wstring& out, const char* text, std::size_t length) {
  AppendWidened(out, text, length);
}

inline void AppendText(std::wstring& out, const wchar_t* text, std::size_t length) {
  out.append(text, length);
}

// Pads `text` to the field width. With zero padding the zeros go after the first `prefixLength`
// characters (a sign, "0x"), as in "-0012" and "0x00ff".
template <typename CharT>
void AppendField(std::wstring& out, const Directive& directive, const CharT* text, std::size_t length,
                 std::size_t prefixLength, bool zeroPad) {
  const std::size_t width = static_cast<std::size_t>(directive.width);
  const std::size_t padding = width > length ? width - length : 0;
  if (directive.left) {
    AppendText(out, text, length);
    out.append(padding, L' ');
  } else if (zeroPad) {
    AppendText(out, text, prefixLength);
    out.append(padding, L'0');
    AppendText(out, text + prefixLength, length - prefixLength);
  } else {
    out.append(padding, L' ');
    AppendText(out, text, length);
  }
}

// ---- conversions in wide_format_numbers.cpp ----

// d i u o x X with every size prefix.
void AppendInteger(std::wstring& out, const Directive& directive, ArgReader& args);

// f F e E g G a A, as a double or (with 'L') a long double.
void AppendFloat(std::wstring& out, const Directive& directive, ArgReader& args);

}  // namespace Tavro_KVO_Util::internal

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#endif  // TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_PARTS_H
