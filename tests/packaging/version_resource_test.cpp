// The DLL carries a version resource with the product name and the project's version.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Crc32.h"
#include "platform/win32/windows_include.h"

namespace {

std::wstring LibraryPath() {
  HMODULE module = nullptr;
  // Any exported symbol locates the DLL that is really loaded.
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&Tavro_KVO_Util::Crc32::mCrc32Table), &module);
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(module, path, MAX_PATH);
  return path;
}

class VersionResource : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::wstring path = LibraryPath();
    ASSERT_NE(path.find(L"TavroMedivaneUtil.dll"), std::wstring::npos);
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    ASSERT_GT(size, 0u) << "no version resource, error " << GetLastError();
    mBlock.resize(size);
    ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, size, mBlock.data()));
  }

  std::wstring String(const wchar_t* name) {
    const std::wstring key = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    wchar_t* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(mBlock.data(), key.c_str(), reinterpret_cast<void**>(&value), &length))
      return L"<none>";
    return std::wstring(value, length > 0 ? length - 1 : 0);
  }

  std::vector<unsigned char> mBlock;
};

TEST_F(VersionResource, NamesTheProduct) { EXPECT_EQ(String(L"ProductName"), L"TavroMedivaneUtil"); }

TEST_F(VersionResource, CarriesTheProjectVersionAsTextAndNumbers) {
  EXPECT_EQ(String(L"ProductVersion"), TAVRO_EXPECTED_VERSION);
  EXPECT_EQ(String(L"FileVersion"), TAVRO_EXPECTED_VERSION);
  EXPECT_EQ(String(L"OriginalFilename"), L"TavroMedivaneUtil.dll");
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueW(mBlock.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
  EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
  EXPECT_EQ(HIWORD(fixed->dwProductVersionMS), TAVRO_EXPECTED_VERSION_MAJOR);
  EXPECT_EQ(LOWORD(fixed->dwProductVersionMS), TAVRO_EXPECTED_VERSION_MINOR);
  EXPECT_EQ(HIWORD(fixed->dwProductVersionLS), TAVRO_EXPECTED_VERSION_PATCH);
  EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
}

// The event log shows each report through message 1 of the DLL's message table: the insertion
// string itself, then CR LF.
TEST(MessageTable, MessageOneIsTheInsertionStringAndALineBreak) {
  HMODULE module = nullptr;
  ASSERT_TRUE(GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&Tavro_KVO_Util::Crc32::mCrc32Table), &module));
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER, module,
      /*dwMessageId=*/1, /*dwLanguageId=*/0, reinterpret_cast<LPWSTR>(&text), 0, /*Arguments=*/nullptr);
  ASSERT_GT(length, 0u) << "error " << GetLastError();
  EXPECT_EQ(std::wstring(text, length), L"%1\r\n");
  LocalFree(text);
}

}  // namespace
