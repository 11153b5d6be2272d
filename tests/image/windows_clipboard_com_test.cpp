// The clipboard as other programs see it, and COM as the calling thread had it: real processes,
// a real clipboard and real COM apartments under Wine.
#ifndef _WIN32
#error "Windows-only source file"
#endif

#include <gtest/gtest.h>

#include <objbase.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ImageUtil.h"
#include "image/image_test_support.h"
#include "logging/library_log.h"
#include "platform/image_faults.h"
#include "support/child_process.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ChildProcess;
using testing::ScopedEnvironmentVariable;
using testing::TempDir;

std::filesystem::path FromEnvironment(const char* name) { return std::filesystem::path(std::getenv(name)); }

// Child: copies the clipboard's CF_DIB data into the file named by TAVRO_CLIP_OUT.
int ReadDibFromClipboard() {
  for (int attempt = 0; attempt < 200 && !OpenClipboard(/*hWndNewOwner=*/nullptr); ++attempt) Sleep(10);
  HANDLE data = GetClipboardData(CF_DIB);
  if (data == nullptr) {
    CloseClipboard();
    return 3;
  }
  const SIZE_T size = GlobalSize(data);
  const auto* bytes = static_cast<const unsigned char*>(GlobalLock(data));
  testing::WriteImageFile(FromEnvironment("TAVRO_CLIP_OUT"), std::vector<unsigned char>(bytes, bytes + size));
  GlobalUnlock(data);
  CloseClipboard();
  return 0;
}

// Child: holds the clipboard open with an owner window until TAVRO_CLIP_RELEASE appears.
int HoldClipboard() {
  HWND owner = CreateWindowExW(0, L"STATIC", L"holder", 0, 0, 0, 10, 10, /*hWndParent=*/nullptr,
                               /*hMenu=*/nullptr, GetModuleHandleW(nullptr), /*lpParam=*/nullptr);
  if (owner == nullptr || !OpenClipboard(owner)) return 3;
  testing::WriteImageFile(FromEnvironment("TAVRO_CLIP_READY"), {'1'});
  const bool released = testing::WaitForFile(FromEnvironment("TAVRO_CLIP_RELEASE"));
  CloseClipboard();
  DestroyWindow(owner);
  return released ? 0 : 4;
}

int ChildBody(const std::string& argument) {
  if (argument == "read-dib") return ReadDibFromClipboard();
  if (argument == "hold") return HoldClipboard();
  return 2;
}

// Each entry as "level|message" (every one is in the clipboard's area).
std::vector<std::wstring> Lines(const internal::ReportRecorderForTesting& recorder) {
  std::vector<std::wstring> lines;
  for (const auto& entry : recorder.Entries()) {
    EXPECT_EQ(entry.area, L"ImageUtil::CopyToClipBoard");
    lines.push_back(std::to_wstring(entry.level) + L"|" + entry.message);
  }
  return lines;
}

std::wstring Line(int level, const std::wstring& message) { return std::to_wstring(level) + L"|" + message; }

TEST(ImageClipboard, ARefusedClipboardIsAFailure) {
  auto bmp = testing::Fixture("tiny2x2.bmp");
  internal::ReportRecorderForTesting recorder;
  ImageUtil images;
  platform::ImageFaultForTesting fault(platform::ImageFault::kSetClipboardData);
  EXPECT_FALSE(images.CopyToClipBoard(bmp.data(), static_cast<unsigned long>(bmp.size())));
  EXPECT_EQ(Lines(recorder), (std::vector<std::wstring>{Line(4, L"***Copying Image to Clipboard***"),
                                                        Line(4, L"Clipboard Open SUCCESS"),
                                                        Line(2, L"SetClipboardData FAILED!")}));
}

TEST(ImageClipboard, APlacedImageLogsTheOpenedClipboard) {
  auto bmp = testing::Fixture("tiny2x2.bmp");
  internal::ReportRecorderForTesting recorder;
  ImageUtil images;
  EXPECT_TRUE(images.CopyToClipBoard(bmp.data(), static_cast<unsigned long>(bmp.size())));
  EXPECT_EQ(Lines(recorder), (std::vector<std::wstring>{Line(4, L"***Copying Image to Clipboard***"),
                                                        Line(4, L"Clipboard Open SUCCESS")}));
}
TEST(ImageClipboard, ASecondProcessReadsTheDibWithoutTheFileHeader) {
  TempDir dir;
  ScopedEnvironmentVariable out("TAVRO_CLIP_OUT", (dir.path() / "dib.bin").string());
  auto bmp = testing::Fixture("tiny2x2.bmp");
  ASSERT_EQ(bmp.size(), 70u);  // 14 + 40 header bytes, 2 rows of 8 bytes
  internal::ReportRecorderForTesting quiet;
  ImageUtil images;
  ASSERT_TRUE(images.CopyToClipBoard(bmp.data(), static_cast<unsigned long>(bmp.size())));
  ChildProcess reader("read-dib");
  ASSERT_EQ(reader.WaitForExit(), 0);
  const auto dib = testing::ReadImageFile(dir.path() / "dib.bin");
  ASSERT_EQ(dib.size(), bmp.size() - 14);
  EXPECT_EQ(testing::Le32(dib, 0), 40u);  // starts with the information header
  EXPECT_EQ(dib, std::vector<unsigned char>(bmp.begin() + 14, bmp.end()));
}

TEST(ImageClipboard, AClipboardHeldByAnotherProgramIsAWarningAndTrue) {
  TempDir dir;
  ScopedEnvironmentVariable ready("TAVRO_CLIP_READY", (dir.path() / "ready").string());
  ScopedEnvironmentVariable release("TAVRO_CLIP_RELEASE", (dir.path() / "release").string());
  ChildProcess holder("hold");
  ASSERT_TRUE(testing::WaitForFile(dir.path() / "ready"));
  auto bmp = testing::Fixture("tiny2x2.bmp");
  internal::ReportRecorderForTesting recorder;
  ImageUtil images;
  const bool copied = images.CopyToClipBoard(bmp.data(), static_cast<unsigned long>(bmp.size()));
  testing::WriteImageFile(dir.path() / "release", {'1'});
  EXPECT_EQ(holder.WaitForExit(), 0);
  EXPECT_TRUE(copied);
  EXPECT_EQ(recorder.Messages(3), std::vector<std::wstring>{L"Clipboard Open FAILED"});
  EXPECT_EQ(recorder.Entries().back().area, L"ImageUtil::CopyToClipBoard");
}

TEST(ImageCom, AThreadAlreadyInTheMultiThreadedModelConvertsAndKeepsItsCom) {
  HRESULT afterwards = E_FAIL;
  bool converted = false;
  std::thread worker([&] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
      internal::ReportRecorderForTesting recorder;
      ImageUtil images;
      converted = testing::Convert(images, testing::Fixture("rgb24.png"), IT_JPEG).ok;
      EXPECT_TRUE(recorder.Messages(2).empty());
    }
    // Still in the multi-threaded model: the object did not undo what it did not do.
    afterwards = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoUninitialize();
    CoUninitialize();
  });
  worker.join();
  EXPECT_TRUE(converted);
  EXPECT_EQ(afterwards, S_FALSE);
}

TEST(ImageCom, AnObjectUndoesTheApartmentItStarted) {
  HRESULT afterwards = E_FAIL;
  std::thread worker([&] {
    { ImageUtil images; }
    // The apartment is gone again, so the thread may choose the other model.
    afterwards = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(afterwards)) CoUninitialize();
  });
  worker.join();
  EXPECT_EQ(afterwards, S_OK);
}

}  // namespace
}  // namespace Tavro_KVO_Util

int main(int argc, char** argv) {
  if (int code = 0; Tavro_KVO_Util::testing::RunAsChildIfAsked(argc, argv, Tavro_KVO_Util::ChildBody, code)) {
    return code;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
