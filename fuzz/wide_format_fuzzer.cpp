// libFuzzer target: any format text with any argument values through the wide formatter, under an
// output limit. The input is the format (its bytes as characters 0-255) up to the first NUL byte,
// then the bytes the arguments are drawn from: the first picks the limit, the rest give each
// argument the formatter asks for, in its order (zeros once they run out). Strings come from
// buffers of the fuzzer's own, always terminated; %n gets any pointer value and must never write.
//
// Checked: formatting succeeds, the text is never longer than the limit plus one character, and it
// is the start of the text a larger limit gives. Run with -malloc_limit_mb=64 -rss_limit_mb=512,
// so that any format that makes the formatter allocate more than the limit needs is a finding.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <limits>
#include <string>

#include "fuzz_check.h"
#include "logging/wide_format_parts.h"

namespace {

using Tavro_KVO_Util::internal::ArgSource;
using Tavro_KVO_Util::internal::IntSize;

// LogFmt's limit first; the others reach the cut-off at every kind of place.
constexpr std::size_t kLimits[] = {10000, 0, 1, 7, 100, 1000, 4095, 20000};

// Longer than any limit: %s with it always reaches the cut-off.
const std::wstring& LongWide() {
  static const std::wstring text(30000, L'w');
  return text;
}

const std::string& LongNarrow() {
  static const std::string text(30000, 'n');
  return text;
}

// Arguments drawn from the input's bytes, typed as the formatter asks for them.
class FuzzArgs final : public ArgSource {
 public:
  FuzzArgs(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}

  long long Signed(IntSize size) override {
    const std::uint64_t bits = Bits(8);
    switch (size) {
      case IntSize::kShort:
        return static_cast<short>(bits);
      case IntSize::kInt:
      case IntSize::kInt32:
        return static_cast<int>(bits);
      case IntSize::kLong:
        return static_cast<long>(bits);
      default:
        return static_cast<long long>(bits);
    }
  }

  unsigned long long Unsigned(IntSize size) override {
    const std::uint64_t bits = Bits(8);
    switch (size) {
      case IntSize::kShort:
        return static_cast<unsigned short>(bits);
      case IntSize::kInt:
      case IntSize::kInt32:
        return static_cast<unsigned int>(bits);
      case IntSize::kLong:
        return static_cast<unsigned long>(bits);
      default:
        return bits;
    }
  }

  int Int() override { return static_cast<int>(static_cast<std::uint32_t>(Bits(4))); }

  // Every bit pattern is a double: NaNs with payloads, infinities, subnormals.
  double Double() override {
    const std::uint64_t bits = Bits(8);
    double value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
  }

  // Built arithmetically, so that every value is a proper long double from the smallest
  // subnormal to infinity (raw x87 bytes could spell encodings no arithmetic makes).
  long double LongDouble() override {
    const std::uint64_t mantissa = Bits(8);
    const std::uint64_t control = Bits(3);
    if ((control & 0xFFF) == 0xFFF) return std::numeric_limits<long double>::quiet_NaN();
    constexpr int kLowest = std::numeric_limits<long double>::min_exponent - 64 - 64;
    constexpr int kSpan = std::numeric_limits<long double>::max_exponent - kLowest + 8;
    const int exponent = kLowest + static_cast<int>((control >> 1) % kSpan);
    const long double magnitude = std::ldexp(static_cast<long double>(mantissa), exponent);
    return (control & 1) != 0 ? -magnitude : magnitude;
  }

  const wchar_t* WideString() override {
    const std::uint8_t choice = static_cast<std::uint8_t>(Bits(1));
    if (choice == 0) return nullptr;
    if (choice == 1) return LongWide().c_str();
    std::wstring& text = mWide.emplace_back();
    for (std::size_t i = choice % 64; i > 0; --i) text.push_back(static_cast<wchar_t>(Bits(2)));
    return text.c_str();
  }

  const char* NarrowString() override {
    const std::uint8_t choice = static_cast<std::uint8_t>(Bits(1));
    if (choice == 0) return nullptr;
    if (choice == 1) return LongNarrow().c_str();
    std::string& text = mNarrow.emplace_back();
    for (std::size_t i = choice % 64; i > 0; --i) text.push_back(static_cast<char>(Bits(1)));
    return text.c_str();
  }

  // Any address at all: %p only prints it and %n must not write through it.
  const void* Pointer() override {
    return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(Bits(8)));
  }

 private:
  // The next `count` bytes, little-endian; zeros past the end.
  std::uint64_t Bits(int count) {
    std::uint64_t bits = 0;
    for (int i = 0; i < count; ++i) {
      const std::uint64_t byte = mAt < mSize ? mData[mAt++] : 0;
      bits |= byte << (8 * i);
    }
    return bits;
  }

  const std::uint8_t* mData;
  std::size_t mSize;
  std::size_t mAt = 0;
  // A deque keeps every string where it is while more are added: each stays valid to the end.
  std::deque<std::wstring> mWide;
  std::deque<std::string> mNarrow;
};

std::wstring Format(const std::wstring& format, const std::uint8_t* args, std::size_t size,
                    std::size_t limit) {
  FuzzArgs source(args, size);
  std::wstring text;
  FUZZ_CHECK(Tavro_KVO_Util::internal::FormatWideFrom(text, format.c_str(), source, limit));
  FUZZ_CHECK(text.size() <= limit + 1);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto* end = static_cast<const std::uint8_t*>(std::memchr(data, 0, size));
  const std::size_t formatLength = end == nullptr ? size : static_cast<std::size_t>(end - data);
  const std::wstring format(data, data + formatLength);
  const std::uint8_t* args = end == nullptr ? data + size : end + 1;
  std::size_t argsSize = static_cast<std::size_t>(data + size - args);
  std::size_t limit = kLimits[0];
  if (argsSize > 0) {
    limit = kLimits[*args % (sizeof(kLimits) / sizeof(kLimits[0]))];
    ++args;
    --argsSize;
  }

  const std::wstring text = Format(format, args, argsSize, limit);
  // A larger limit only lets the same text run on.
  const std::wstring longer = Format(format, args, argsSize, 2 * limit + 64);
  FUZZ_CHECK(text == longer.substr(0, limit + 1));
  return 0;
}
