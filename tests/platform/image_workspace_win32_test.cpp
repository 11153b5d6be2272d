// The Windows image back end driven directly: GDI+ through the workspace's compound file, the
// encoder list, the test seams, and the clipboard.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <thread>
#include <vector>

#include "platform/clipboard.h"
#include "platform/com_apartment.h"
#include "platform/image_codecs.h"
#include "platform/image_faults.h"
#include "platform/image_workspace.h"
#include "platform/image_workspace_fixture.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

// "<temporary folder>TavroID<this thread's id in upper-case hex>.cmp"
std::wstring WorkspaceFileName() {
  wchar_t folder[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH, folder);
  wchar_t name[MAX_PATH + 50] = {};
  std::swprintf(name, MAX_PATH + 50, L"%lsTavroID%X.cmp", folder,
                static_cast<unsigned>(GetCurrentThreadId()));
  return name;
}

// The name the file system holds for `path` (case included), or "" when there is no such file.
std::wstring NameOnDisk(const std::wstring& path) {
  WIN32_FIND_DATAW found{};
  const HANDLE find = FindFirstFileW(path.c_str(), &found);
  if (find == INVALID_HANDLE_VALUE) return L"";
  FindClose(find);
  return found.cFileName;
}

bool FileExists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The clipboard is shared by every test program that runs at the same time: an open that finds it
// held by one of them is tried again for a while.
template <typename Attempt>
bool RetryWhileClipboardBusy(Attempt attempt) {
  for (int tries = 0; tries < 100; ++tries) {
    if (attempt()) return true;
    Sleep(50);
  }
  return false;
}

// COM started for the thread, as ImageUtil starts it.
class ImageWorkspaceWin32 : public ImageWorkspaceTest {};

TEST_F(ImageWorkspaceWin32, EncodersComeInTheSystemOrder) {
  std::vector<std::wstring> mimeTypes;
  for (const ImageEncoder& encoder : mEncoders) mimeTypes.push_back(encoder.mimeType);
  const std::vector<std::wstring> expected = {L"image/bmp", L"image/jpeg", L"image/gif", L"image/tiff",
                                              L"image/png"};
  EXPECT_EQ(mimeTypes, expected);
}

TEST_F(ImageWorkspaceWin32, BmpSourceIsSavedAsPng) {
  ImageWorkspace workspace;
  OpenAndLoad(workspace, Bmp4x3());
  EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::k24bppRGB);
  ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/png"), nullptr));
  ASSERT_GT(workspace.DestinationSize(), 8u);
  const std::vector<unsigned char> png = ReadAllDestination(workspace);
  const std::vector<unsigned char> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  ASSERT_GE(png.size(), signature.size());
  EXPECT_EQ(std::vector<unsigned char>(png.begin(), png.begin() + 8), signature);
}

TEST_F(ImageWorkspaceWin32, TempFileLivesAsLongAsTheWorkspace) {
  const std::wstring path = WorkspaceFileName();
  ASSERT_FALSE(FileExists(path));
  {
    ImageWorkspace workspace;
    OpenAndLoad(workspace, Bmp4x3());
    ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/bmp"), nullptr));
    const std::wstring expectedName = path.substr(path.rfind(L'\\') + 1);
    EXPECT_EQ(NameOnDisk(path), expectedName);
  }
  EXPECT_FALSE(FileExists(path));
}

TEST_F(ImageWorkspaceWin32, LeftStorageKeepsTheTempFile) {
  // On a thread of its own: the leaked storage holds its file open for the rest of the process,
  // so no later workspace may want the same name.
  std::wstring path;
  bool existsAfter = false;
  std::thread([&] {
    const bool com = StartComApartment() == ComStart::kInitialized;
    path = WorkspaceFileName();
    {
      ImageWorkspace workspace;
      if (workspace.Open() != OpenStatus::kOpen) return;
      workspace.LeaveStorageUnreleased();
    }
    existsAfter = FileExists(path);
    if (com) EndComApartment();
  }).join();
  EXPECT_TRUE(existsAfter) << ::testing::PrintToString(path);
}

TEST_F(ImageWorkspaceWin32, EachOpenFaultFailsItsStepAndLeavesNoFile) {
  const struct {
    ImageFault fault;
    OpenStatus status;
  } cases[] = {{ImageFault::kTempPath, OpenStatus::kNoTempPath},
               {ImageFault::kStorage, OpenStatus::kNoStorage},
               {ImageFault::kSourceStream, OpenStatus::kNoSourceStream},
               {ImageFault::kDestinationStream, OpenStatus::kNoDestinationStream}};
  const std::wstring path = WorkspaceFileName();
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.fault));
    ImageFaultForTesting fault(c.fault);
    ImageWorkspace workspace;
    EXPECT_EQ(workspace.Open(), c.status);
    EXPECT_FALSE(FileExists(path));  // what had been created is released already
  }
}

TEST_F(ImageWorkspaceWin32, UndecodableSourceFailsTheSave) {
  const std::vector<unsigned char> junk(64, 0x5a);
  ImageWorkspace workspace;
  OpenAndLoad(workspace, junk);
  EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::kUndefined);
  EXPECT_FALSE(workspace.SaveSource(Encoder(L"image/png"), nullptr));
  EXPECT_EQ(workspace.DestinationSize(), 0u);
}

TEST_F(ImageWorkspaceWin32, SavesRecordTheParameterBlockTheyHandOver) {
  EncoderParameterRecorderForTesting recorder;
  ImageWorkspace workspace;
  OpenAndLoad(workspace, Bmp4x3());
  const EncoderParameter quality{kEncoderQuality, 40};
  ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/jpeg"), &quality));
  ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/png"), nullptr));
  workspace.StretchSource(8, 6);
  workspace.SaveStretched(Encoder(L"image/bmp"));

  const std::vector<EncoderParameterBlock> blocks = recorder.Blocks();
  ASSERT_EQ(blocks.size(), 3u);
  EXPECT_EQ(blocks[0].count, 1u);
  EXPECT_EQ(std::memcmp(&blocks[0].guid, &kEncoderQuality, sizeof(ImageEncoderClsid)), 0);
  EXPECT_EQ(blocks[0].numberOfValues, 1u);
  EXPECT_EQ(blocks[0].type, 4u);
  EXPECT_EQ(blocks[0].value, 40u);
  EXPECT_EQ(blocks[1].count, 0u);
  EXPECT_EQ(blocks[2].count, 0u);
}

TEST_F(ImageWorkspaceWin32, DibIsPlacedOnTheClipboard) {
  const std::vector<unsigned char> bmp = Bmp4x3();
  const std::vector<unsigned char> dib(bmp.begin() + 14, bmp.end());
  std::wstring reason;
  ClipboardPlacement placement = ClipboardPlacement::kNotOpened;
  RetryWhileClipboardBusy([&] {
    placement = PlaceDibOnClipboard(dib.data(), dib.size(), reason);
    return placement != ClipboardPlacement::kNotOpened;
  });
  ASSERT_EQ(placement, ClipboardPlacement::kPlaced);

  ASSERT_TRUE(RetryWhileClipboardBusy([] { return OpenClipboard(/*hWndNewOwner=*/nullptr) != FALSE; }));
  const HANDLE data = GetClipboardData(CF_DIB);
  std::vector<unsigned char> placed;
  if (data != nullptr) {
    const auto* bytes = static_cast<const unsigned char*>(GlobalLock(data));
    if (bytes != nullptr) placed.assign(bytes, bytes + GlobalSize(data));
    GlobalUnlock(data);
  }
  EmptyClipboard();
  CloseClipboard();
  EXPECT_EQ(placed, dib);
}

TEST_F(ImageWorkspaceWin32, RefusedDataIsReported) {
  const std::vector<unsigned char> bmp = Bmp4x3();
  const std::vector<unsigned char> dib(bmp.begin() + 14, bmp.end());
  ImageFaultForTesting fault(ImageFault::kSetClipboardData);
  std::wstring reason;
  EXPECT_EQ(PlaceDibOnClipboard(dib.data(), dib.size(), reason), ClipboardPlacement::kRefused);
}

TEST_F(ImageWorkspaceWin32, ClipboardHeldByAnotherWindowIsNotOpened) {
  const std::vector<unsigned char> bmp = Bmp4x3();
  const std::vector<unsigned char> dib(bmp.begin() + 14, bmp.end());
  const UniqueHandle held(CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE,
                                       /*bInitialState=*/FALSE, /*lpName=*/nullptr));
  const UniqueHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  bool holderOpened = false;
  // The holder opens the clipboard with a window of its own: an open with no window would let
  // any other open with no window in as well (Wine compares the windows).
  std::thread holder([&] {
    const HWND window =
        CreateWindowExW(/*dwExStyle=*/0, L"STATIC", L"", /*dwStyle=*/0, 0, 0, 0, 0, HWND_MESSAGE,
                        /*hMenu=*/nullptr, /*hInstance=*/nullptr, /*lpParam=*/nullptr);
    holderOpened =
        window != nullptr && RetryWhileClipboardBusy([&] { return OpenClipboard(window) != FALSE; });
    SetEvent(held.get());
    WaitForSingleObject(done.get(), 30000);
    if (holderOpened) CloseClipboard();
    if (window != nullptr) DestroyWindow(window);
  });
  WaitForSingleObject(held.get(), 30000);
  std::wstring reason;
  const ClipboardPlacement placement = PlaceDibOnClipboard(dib.data(), dib.size(), reason);
  SetEvent(done.get());
  holder.join();
  ASSERT_TRUE(holderOpened);
  EXPECT_EQ(placement, ClipboardPlacement::kNotOpened);
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
