// Internal pieces of the wide formatter shared by its two files: wide_format.cpp parses the format
// and writes strings, characters and pointers; wide_format_numbers.cpp writes integers and
// floating-point values. The fuzzer formats through FormatWideFrom with arguments of its own.
#ifndef TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_PARTS_H
#define TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_PARTS_H

#include <cstddef>
#include <cstdint>
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

// Where the conversions' arguments come from, one call per argument in the order the format
// names them: the caller's va_list in FormatWideInto, any other source of typed values in tests
// and the fuzzer.
class ArgSource {
 public:
  virtual ~ArgSource() = default;
  // d i: an argument of the type `size` names, sign-extended (h: a short, promoted to int).
  virtual long long Signed(IntSize size) = 0;
  // u o x X: the same, zero-extended.
  virtual unsigned long long Unsigned(IntSize size) = 0;
  // A '*' width or precision, or a character (promoted to int).
  virtual int Int() = 0;
  virtual double Double() = 0;
  virtual long double LongDouble() = 0;
  // Null, or terminated within the precision the conversion gives (or terminated when none).
  virtual const wchar_t* WideString() = 0;
  virtual const char* NarrowString() = 0;
  // %p, and the target of %n, which is never written through.
  virtual const void* Pointer() = 0;
};

// Formats `format` with arguments from `args`, as FormatWideInto does with a va_list.
bool FormatWideFrom(std::wstring& text, const wchar_t* format, ArgSource& args, std::size_t limit);

// ---- output ----

// The text being formatted, cut off just past a limit: once it holds more than `limit` characters
// it takes nothing more. A width or precision near INT_MAX therefore costs no more than the limit,
// and the caller learns from the length alone that the whole text would not have fitted.
class BoundedText {
 public:
  BoundedText(std::wstring& text, std::size_t limit)
      : mText(text), mCapacity(limit == SIZE_MAX ? limit : limit + 1) {}
  BoundedText(const BoundedText&) = delete;
  BoundedText& operator=(const BoundedText&) = delete;

  // True once the text is longer than the limit: nothing appended from then on is kept.
  bool Exceeded() const { return mText.size() >= mCapacity; }

  void Append(const wchar_t* text, std::size_t length) { mText.append(text, Room(length)); }
  void Append(std::size_t count, wchar_t character) { mText.append(Room(count), character); }

  // Bytes become the characters with the same codes (0-255): no code page is involved.
  void AppendWidened(const char* text, std::size_t length) {
    length = Room(length);
    const std::size_t start = mText.size();
    mText.resize(start + length);
    for (std::size_t i = 0; i < length; ++i) mText[start + i] = static_cast<unsigned char>(text[i]);
  }

 private:
  std::size_t Room(std::size_t wanted) const {
    const std::size_t room = mCapacity - mText.size();
    return wanted < room ? wanted : room;
  }

  std::wstring& mText;
  const std::size_t mCapacity;  // the limit plus the one character that shows it was passed
};

inline void AppendText(BoundedText& out, const char* text, std::size_t length) {
  out.AppendWidened(text, length);
}

inline void AppendText(BoundedText& out, const wchar_t* text, std::size_t length) {
  out.Append(text, length);
}

// Pads `text` to the field width. With zero padding the zeros go after the first `prefixLength`
// characters (a sign, "0x"), as in "-0012" and "0x00ff".
template <typename CharT>
void AppendField(BoundedText& out, const Directive& directive, const CharT* text, std::size_t length,
                 std::size_t prefixLength, bool zeroPad) {
  const std::size_t width = static_cast<std::size_t>(directive.width);
  const std::size_t padding = width > length ? width - length : 0;
  if (directive.left) {
    AppendText(out, text, length);
    out.Append(padding, L' ');
  } else if (zeroPad) {
    AppendText(out, text, prefixLength);
    out.Append(padding, L'0');
    AppendText(out, text + prefixLength, length - prefixLength);
  } else {
    out.Append(padding, L' ');
    AppendText(out, text, length);
  }
}

// ---- conversions in wide_format_numbers.cpp ----

// d i u o x X with every size prefix.
void AppendInteger(BoundedText& out, const Directive& directive, ArgSource& args);

// f F e E g G a A, as a double or (with 'L') a long double.
void AppendFloat(BoundedText& out, const Directive& directive, ArgSource& args);

}  // namespace Tavro_KVO_Util::internal

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#endif  // TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_PARTS_H
