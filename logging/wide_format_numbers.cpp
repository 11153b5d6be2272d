// The numeric conversions of the wide formatter: integers, which are written here digit by digit,
// and floating-point values, which snprintf writes and which are then brought in line with
// msvcrt (ties rounded away from zero, at least three exponent digits). The overview of how the
// text compares with msvcrt is at the top of wide_format.cpp.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>
#include <type_traits>

#include "logging/wide_format_parts.h"

namespace Tavro_KVO_Util::internal {
namespace {

bool ZeroPadsNumbers(const Directive& directive) { return directive.zero && !directive.left; }

// ---- integers ----

// Writes the digits of `value` backwards, ending just before `end`, and returns the first.
char* WriteDigits(unsigned long long value, unsigned radix, bool upperCase, char* end) {
  const char* digits = upperCase ? "0123456789ABCDEF" : "0123456789abcdef";
  char* first = end;
  do {
    *--first = digits[value % radix];
    value /= radix;
  } while (value != 0);
  return first;
}

// [spaces] prefix [zeros] digits [spaces]: the zeros make up the precision and, with zero padding,
// the width.
void AppendNumberField(BoundedText& out, const Directive& directive, const char* prefix,
                       std::size_t prefixLength, std::size_t precisionZeros, const char* digits,
                       std::size_t digitCount, bool zeroPad) {
  const std::size_t width = static_cast<std::size_t>(directive.width);
  const std::size_t length = prefixLength + precisionZeros + digitCount;
  const std::size_t padding = width > length ? width - length : 0;
  if (!directive.left && !zeroPad) out.Append(padding, L' ');
  out.AppendWidened(prefix, prefixLength);
  out.Append(precisionZeros + (zeroPad ? padding : 0), L'0');
  out.AppendWidened(digits, digitCount);
  if (directive.left) out.Append(padding, L' ');
}

// The argument as a sign and a magnitude; only d and i are signed.
struct IntegerValue {
  unsigned long long magnitude = 0;
  bool negative = false;
};

IntegerValue ReadInteger(ArgSource& args, const Directive& directive, bool isSigned) {
  IntegerValue result;
  if (!isSigned) {
    result.magnitude = args.Unsigned(directive.size);
    return result;
  }
  const long long value = args.Signed(directive.size);
  result.negative = value < 0;
  // Unsigned negation, so that the most negative value has a magnitude too.
  result.magnitude = static_cast<unsigned long long>(value);
  if (result.negative) result.magnitude = 0 - result.magnitude;
  return result;
}

// The sign ('-', '+', ' ') of a signed conversion, or the "0x" that '#' asks of a non-zero hex value.
std::size_t WriteIntegerPrefix(char (&prefix)[2], const Directive& directive, bool isSigned,
                               IntegerValue value) {
  std::size_t length = 0;
  if (value.negative) {
    prefix[length++] = '-';
  } else if (isSigned && directive.plus) {
    prefix[length++] = '+';
  } else if (isSigned && directive.space) {
    prefix[length++] = ' ';
  }
  const bool hex = directive.conversion == L'x' || directive.conversion == L'X';
  if (hex && directive.alternate && value.magnitude != 0) {
    prefix[length++] = '0';
    prefix[length++] = static_cast<char>(directive.conversion);
  }
  return length;
}

unsigned RadixOf(wchar_t conversion) {
  if (conversion == L'x' || conversion == L'X') return 16;
  return conversion == L'o' ? 8 : 10;
}

}  // namespace

// Integers are formatted here rather than by snprintf: they are the commonest conversion in a log
// and this is several times faster.
void AppendInteger(BoundedText& out, const Directive& directive, ArgSource& args) {
  const wchar_t conversion = directive.conversion;
  const bool isSigned = conversion == L'd' || conversion == L'i';
  const IntegerValue value = ReadInteger(args, directive, isSigned);
  char prefix[2];
  const std::size_t prefixLength = WriteIntegerPrefix(prefix, directive, isSigned, value);

  char buffer[24];  // 22 octal digits at most, and a '0' for '#'
  char* const end = buffer + sizeof(buffer);
  char* first = end;
  if (value.magnitude != 0 || directive.precision != 0) {  // a zero precision shows zero as nothing
    first = WriteDigits(value.magnitude, RadixOf(conversion), conversion == L'X', end);
  }
  std::size_t digitCount = static_cast<std::size_t>(end - first);
  const std::size_t precision =
      directive.precision == kNoPrecision ? 0 : static_cast<std::size_t>(directive.precision);
  const std::size_t precisionZeros = precision > digitCount ? precision - digitCount : 0;
  if (conversion == L'o' && directive.alternate && precisionZeros == 0 &&
      (digitCount == 0 || *first != '0')) {
    *--first = '0';  // '#' makes octal start with a zero
    ++digitCount;
  }
  // A precision turns the 0 flag off, as the C standard and msvcrt both have it.
  const bool zeroPad = ZeroPadsNumbers(directive) && directive.precision == kNoPrecision;
  AppendNumberField(out, directive, prefix, prefixLength, precisionZeros, first, digitCount, zeroPad);
}

namespace {

// ---- floating point ----

// Text from std::snprintf. Nearly every conversion fits the buffer on the stack; long ones (a large
// precision) go to the heap so that nothing is cut.
class NarrowText {
 public:
  NarrowText() = default;
  NarrowText(const NarrowText&) = delete;
  NarrowText& operator=(const NarrowText&) = delete;

  template <typename... Args>
  void Format(const char* format, Args... args) {
    mData = mStack;
    mLength = 0;
    const int length = std::snprintf(mStack, sizeof(mStack), format, args...);
    if (length < 0) return;  // nothing sensible to show
    if (static_cast<std::size_t>(length) >= sizeof(mStack)) {
      mHeap.resize(static_cast<std::size_t>(length) + 1);
      std::snprintf(&mHeap[0], mHeap.size(), format, args...);
      mHeap.resize(static_cast<std::size_t>(length));
      mData = &mHeap[0];
    }
    mLength = static_cast<std::size_t>(length);
  }

  void InsertZeros(std::size_t position, std::size_t count) {
    if (mData == mStack && mLength + count < sizeof(mStack)) {
      std::memmove(mStack + position + count, mStack + position, mLength - position);
      std::memset(mStack + position, '0', count);
    } else {
      if (mData == mStack) mHeap.assign(mStack, mLength);
      mHeap.insert(position, count, '0');
      mData = &mHeap[0];
    }
    mLength += count;
  }

  const char* Data() const { return mData; }
  std::size_t Length() const { return mLength; }

 private:
  char mStack[128];
  std::string mHeap;
  char* mData = mStack;
  std::size_t mLength = 0;
};

// The length of a leading sign and, when `hexPrefix` may be there, a following "0x" or "0X".
std::size_t SignAndHexPrefixLength(const char* text, std::size_t length, bool hexPrefix) {
  std::size_t prefix = 0;
  if (length > 0 && (text[0] == '-' || text[0] == '+' || text[0] == ' ')) prefix = 1;
  if (hexPrefix && length >= prefix + 2 && text[prefix] == '0' &&
      (text[prefix + 1] == 'x' || text[prefix + 1] == 'X')) {
    prefix += 2;
  }
  return prefix;
}

// The narrow conversion we hand to snprintf: the sign and '#' flags, the precision as an argument
// (negative means none), the length modifier and the conversion. Width and the '-' and '0' flags
// are left out because AppendField pads, after any changes we make to the text.
void BuildNarrowFormat(char (&out)[16], const Directive& directive, const char* modifier, char conversion) {
  std::size_t n = 0;
  out[n++] = '%';
  if (directive.plus) out[n++] = '+';
  if (directive.space) out[n++] = ' ';
  if (directive.alternate) out[n++] = '#';
  out[n++] = '.';
  out[n++] = '*';
  for (; *modifier != '\0'; ++modifier) out[n++] = *modifier;
  out[n++] = conversion;
  out[n] = '\0';
}

// value == mantissa * 2^exponent with an odd mantissa. Only for finite non-zero values whose
// significand fits 64 bits.
template <typename T>
void SplitOddMantissa(T value, std::uint64_t& mantissa, int& exponent) {
  constexpr int kDigits = std::numeric_limits<T>::digits;
  int binaryExponent = 0;
  const T fraction = std::frexp(std::fabs(value), &binaryExponent);
  mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, kDigits));
  const int trailingZeros = __builtin_ctzll(mantissa);
  mantissa >>= trailingZeros;
  exponent = binaryExponent - kDigits + trailingZeros;
}

// The same for a double, straight from its bits: this runs for every %f, %e and %g.
void SplitOddMantissa(double value, std::uint64_t& mantissa, int& exponent) {
  constexpr int kFractionBits = 52;
  constexpr int kSubnormalExponent = -1074;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  const int biased = static_cast<int>((bits >> kFractionBits) & 0x7FF);
  mantissa = bits & ((std::uint64_t{1} << kFractionBits) - 1);
  exponent = kSubnormalExponent;
  if (biased != 0) {
    mantissa |= std::uint64_t{1} << kFractionBits;
    exponent += biased - 1;
  }
  const int trailingZeros = __builtin_ctzll(mantissa);
  mantissa >>= trailingZeros;
  exponent += trailingZeros;
}

// True when `value` lies exactly halfway between two outputs with `decimals` digits after the
// point: 2 * value * 10^decimals is then an odd integer, which for mantissa * 2^exponent means
// exponent == -(decimals + 1). Written so that no precision, however large, overflows: the
// exponent of a finite value is never far from zero.
bool IsFixedTie(int exponent, int decimals) { return exponent < 0 && -(exponent + 1) == decimals; }

// The same for `decimals` digits after the first significant one (%e). Written as
// 2 * value * 10^k == T with k = -(exponent + 1), the value is a tie when T is an odd integer with
// exactly decimals + 1 digits before the halving, that is 2 * 10^decimals <= T < 2 * 10^(decimals+1).
// Ties further out than 18 significant digits are left to snprintf: msvcrt shows no more than 17.
bool IsSignificantTie(std::uint64_t mantissa, int exponent, int decimals) {
  constexpr int kMostDecimals = 17;
  if (decimals > kMostDecimals) return false;
  std::uint64_t low = 2;
  for (int i = 0; i < decimals; ++i) low *= 10;
  const std::uint64_t high = low * 10;
  const int k = -(exponent + 1);
  std::uint64_t t = mantissa;
  if (k >= 0) {
    for (int i = 0; i < k; ++i) {
      if (t >= high) return false;
      t *= 5;
    }
  } else {
    for (int i = 0; i < -k; ++i) {
      if (t % 5 != 0) return false;
      t /= 5;
    }
  }
  return t >= low && t < high;
}

// True when the hexadecimal digits of a double beyond `digits` after the point are exactly one half.
bool IsHexTie(double value, int digits) {
  constexpr int kFractionBits = 52;
  if (digits >= kFractionBits / 4) return false;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  const int dropped = kFractionBits - 4 * digits;
  const std::uint64_t rest = bits & ((std::uint64_t{1} << dropped) - 1);
  return rest == std::uint64_t{1} << (dropped - 1);
}

template <typename T>
bool IsDecimalTie(T value, char conversion, int precision) {
  if (std::numeric_limits<T>::digits > 64 || value == 0) return false;
  std::uint64_t mantissa = 0;
  int exponent = 0;
  SplitOddMantissa(value, mantissa, exponent);
  if (conversion == 'f') return IsFixedTie(exponent, precision);
  if (conversion == 'e' || conversion == 'E') return IsSignificantTie(mantissa, exponent, precision);
  const int significant = precision == 0 ? 1 : precision;  // 'g', 'G'
  return IsSignificantTie(mantissa, exponent, significant - 1);
}

// msvcrt rounds a tie away from zero where snprintf rounds it to even. Moving a tie by one unit
// in the last place, away from zero, makes snprintf round it up without touching any digit shown.
template <typename T>
T RoundTiesAwayFromZero(T value, char conversion, int precision) {
  bool tie = false;
  if (conversion == 'a' || conversion == 'A') {
    tie = std::is_same<T, double>::value && IsHexTie(static_cast<double>(value), precision);
  } else {
    tie = IsDecimalTie(value, conversion, precision);
  }
  if (!tie) return value;
  return std::nextafter(value, std::copysign(std::numeric_limits<T>::infinity(), value));
}

// msvcrt writes at least three exponent digits.
void WidenExponent(NarrowText& text) {
  const char* data = text.Data();
  const std::size_t length = text.Length();
  const void* found = std::memchr(data, 'e', length);
  if (found == nullptr) found = std::memchr(data, 'E', length);
  if (found == nullptr) return;
  std::size_t digitsAt = static_cast<std::size_t>(static_cast<const char*>(found) - data) + 1;
  if (digitsAt < length && (data[digitsAt] == '+' || data[digitsAt] == '-')) ++digitsAt;
  constexpr std::size_t kExponentDigits = 3;
  const std::size_t digits = length - digitsAt;
  if (digits < kExponentDigits) text.InsertZeros(digitsAt, kExponentDigits - digits);
}

bool IsUpperCase(wchar_t conversion) { return conversion >= L'A' && conversion <= L'Z'; }

// Our own text, so that both builds agree (the C libraries differ on the sign of a NaN).
template <typename T>
void AppendNonFinite(BoundedText& out, const Directive& directive, T value) {
  wchar_t text[4];
  std::size_t length = 0;
  if (std::signbit(value)) {
    text[length++] = L'-';
  } else if (directive.plus) {
    text[length++] = L'+';
  } else if (directive.space) {
    text[length++] = L' ';
  }
  const wchar_t* word = std::isnan(value) ? (IsUpperCase(directive.conversion) ? L"NAN" : L"nan")
                                          : (IsUpperCase(directive.conversion) ? L"INF" : L"inf");
  std::wmemcpy(text + length, word, 3);
  length += 3;
  AppendField(out, directive, text, length, 0, false);
}

// The most digits after the point that any value of T can need: the exact decimal expansion of
// its smallest positive value has that many (1,074 for a double, 16,445 for an 80-bit long
// double), and a value never has more significant digits than that. Every digit beyond is zero,
// so a larger precision is handed to snprintf as this and the zeros are added while the field is
// written: snprintf's work and buffer stay small whatever the precision (MinGW's snprintf writes
// out of bounds near INT_MAX).
template <typename T>
constexpr int MostExactDigits() {
  return std::numeric_limits<T>::digits - std::numeric_limits<T>::min_exponent + 1;
}

// The precision the conversion means, kNoPrecision only for %a of a long double without one
// (snprintf then shows every digit there is).
template <typename T>
int PrecisionOf(const Directive& directive, bool hex) {
  constexpr int kDefaultPrecision = 6;
  constexpr int kDoubleHexDigits = 13;
  if (directive.precision != kNoPrecision) return directive.precision;
  if (!hex) return kDefaultPrecision;
  return std::is_same<T, double>::value ? kDoubleHexDigits : kNoPrecision;
}

// Where zeros beyond snprintf's digits belong: before the exponent, or at the end for %f.
std::size_t ZerosPosition(const NarrowText& text, char conversion) {
  if (conversion == 'f') return text.Length();
  const bool hex = conversion == 'a' || conversion == 'A';
  const void* found = std::memchr(text.Data(), hex ? 'p' : 'e', text.Length());
  if (found == nullptr) found = std::memchr(text.Data(), hex ? 'P' : 'E', text.Length());
  if (found == nullptr) return text.Length();
  return static_cast<std::size_t>(static_cast<const char*>(found) - text.Data());
}

// [spaces] sign or "0x" [zero padding] digits [zeros] exponent [spaces]: the zeros are those of a
// precision beyond what snprintf was asked for.
void AppendFloatField(BoundedText& out, const Directive& directive, const NarrowText& text, bool hex,
                      std::size_t zerosAt, std::size_t zeros) {
  const char* data = text.Data();
  const std::size_t length = text.Length();
  const std::size_t prefix = SignAndHexPrefixLength(data, length, hex);
  const std::size_t width = static_cast<std::size_t>(directive.width);
  const std::size_t padding = width > length + zeros ? width - length - zeros : 0;
  const bool zeroPad = ZeroPadsNumbers(directive);
  if (!directive.left && !zeroPad) out.Append(padding, L' ');
  out.AppendWidened(data, prefix);
  if (zeroPad) out.Append(padding, L'0');
  out.AppendWidened(data + prefix, zerosAt - prefix);
  out.Append(zeros, L'0');
  out.AppendWidened(data + zerosAt, length - zerosAt);
  if (directive.left) out.Append(padding, L' ');
}

template <typename T>
void AppendFloating(BoundedText& out, const Directive& directive, T value) {
  if (!std::isfinite(value)) {
    AppendNonFinite(out, directive, value);
    return;
  }
  // %F only differs from %f for infinities and NaNs, handled above.
  const char conversion = directive.conversion == L'F' ? 'f' : static_cast<char>(directive.conversion);
  const bool hex = conversion == 'a' || conversion == 'A';
  const int precision = PrecisionOf<T>(directive, hex);
  if (precision != kNoPrecision) value = RoundTiesAwayFromZero(value, conversion, precision);
  const int asked = precision > MostExactDigits<T>() ? MostExactDigits<T>() : precision;

  char narrowFormat[16];
  BuildNarrowFormat(narrowFormat, directive, std::is_same<T, double>::value ? "" : "L", conversion);
  NarrowText text;
  text.Format(narrowFormat, asked, value);
  if (!hex) WidenExponent(text);
  // %g drops trailing zeros unless '#' keeps them.
  const bool keepsZeros = directive.alternate || (conversion != 'g' && conversion != 'G');
  const std::size_t zeros = keepsZeros ? static_cast<std::size_t>(precision - asked) : 0;
  AppendFloatField(out, directive, text, hex, ZerosPosition(text, conversion), zeros);
}

}  // namespace

void AppendFloat(BoundedText& out, const Directive& directive, ArgSource& args) {
  if (directive.longDouble) {
    AppendFloating(out, directive, args.LongDouble());
  } else {
    AppendFloating(out, directive, args.Double());
  }
}

}  // namespace Tavro_KVO_Util::internal
