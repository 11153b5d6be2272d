// mvutil image, run in-process on the library's exports, with a private configuration so that
// the library's log entries never wait for a missing file.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "command.h"
#include "image/image_test_support.h"
#include "run_tool.h"
#include "support/private_install_dir.h"
#include "support/temp_dir.h"

namespace mvutil {
namespace {

using Tavro_KVO_Util::testing::FixturePath;
using Tavro_KVO_Util::testing::ReadBmpHeader;
using Tavro_KVO_Util::testing::ReadImageFile;
using Tavro_KVO_Util::testing::Signature;
using Tavro_KVO_Util::testing::TempDir;

class MvutilImage : public ::testing::Test {
 protected:
  Tavro_KVO_Util::testing::PrivateInstallDir install;
  TempDir dir;
  std::string Out(const std::string& name) const { return (dir.path() / name).u8string(); }
  std::string In(const std::string& name) const { return FixturePath(name).u8string(); }
};

TEST_F(MvutilImage, ConvertWritesTheAskedForFormatAndNoPartialFile) {
  const Result result = RunTool({"image", "convert", In("photo.jpg"), Out("photo.png"), "--to", "png"});
  EXPECT_EQ(result.code, kExitOk) << result.err;
  EXPECT_EQ(Signature(ReadImageFile(dir.path() / "photo.png")), "png");
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "photo.png.part"));
}

TEST_F(MvutilImage, ConvertHandsTheQualityOver) {
  EXPECT_EQ(
      RunTool({"image", "convert", In("rgb24.png"), Out("q.jpg"), "--to", "jpeg", "--quality", "40"}).code,
      kExitOk);
  EXPECT_EQ(Signature(ReadImageFile(dir.path() / "q.jpg")), "jpeg");
}

TEST_F(MvutilImage, ResizeWritesABmpOfExactlyThatSize) {
  const Result result = RunTool({"image", "resize", In("rgb24.png"), Out("small.bmp"), "20x10"});
  EXPECT_EQ(result.code, kExitOk) << result.err;
  const auto header = ReadBmpHeader(ReadImageFile(dir.path() / "small.bmp"));
  EXPECT_EQ(header.width, 20);
  EXPECT_EQ(header.height, 10);
}

TEST_F(MvutilImage, InfoPrintsFormatSizeAndPixels) {
  const Result result = RunTool({"image", "info", In("rgb24.png")});
  EXPECT_EQ(result.code, kExitOk) << result.err;
  EXPECT_EQ(result.out, "format PNG\nsize 64x48\npixels 24-bit RGB (24 bits per pixel)\n");
}

TEST_F(MvutilImage, AnUnreadableInputFailsAndWritesNothing) {
  const Result result = RunTool({"image", "convert", Out("missing.png"), Out("out.png"), "--to", "png"});
  EXPECT_EQ(result.code, kExitFailure);
  EXPECT_EQ(result.err, "mvutil image: " + Out("missing.png") + ": No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "out.png"));
}

TEST_F(MvutilImage, AnUndecodableInputFailsAndWritesNothing) {
  const std::string bad = dir.WriteFile("bad.png", "not an image at all").u8string();
  for (const Args& args :
       {Args{"image", "convert", bad, Out("out.png"), "--to", "png"},
        Args{"image", "resize", bad, Out("out.png"), "10x10"}, Args{"image", "info", bad}}) {
    const Result result = RunTool(args);
    EXPECT_EQ(result.code, kExitFailure) << args[1];
    EXPECT_EQ(result.err,
              "mvutil image: " + bad + ": the library could not decode or convert it (see the shared log)\n");
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);  // only bad.png
}

TEST_F(MvutilImage, AWrongCommandLineIsAUsageError) {
  EXPECT_EQ(RunTool({"image"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"image", "rotate", "a", "b"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"image", "convert", "a", "b", "--to", "webp"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"image", "convert", "a", "b", "--to", "png", "--quality", "-1"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"image", "resize", "a", "b", "10by10"}).code, kExitUsage);
  EXPECT_EQ(RunTool({"image", "resize", "a", "b", "0x10"}).code, kExitUsage);
}

// The library's size rule, as the tool gives it on every system: what is not a size is a wrong
// command line (2); a size beyond the library's bound reaches it and fails (1), writing nothing.
TEST_F(MvutilImage, ResizeGivesTheSameExitCodeForEachBadSizeOnEverySystem) {
  for (const char* notASize : {"0x10", "10x0", "-5x10"}) {
    const Result result = RunTool({"image", "resize", In("rgb24.png"), Out("out.bmp"), notASize});
    EXPECT_EQ(result.code, kExitUsage) << notASize;
    EXPECT_EQ(
        result.err.rfind("mvutil image: WIDTHxHEIGHT must be two positive numbers, such as 320x240\n", 0), 0u)
        << result.err;
  }
  const Result huge = RunTool({"image", "resize", In("rgb24.png"), Out("out.bmp"), "70000x70000"});
  EXPECT_EQ(huge.code, kExitFailure);
  EXPECT_EQ(
      huge.err,
      "mvutil image: 70000x70000: the library stretches to at most 100000000 pixels (see the shared log)\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 0);
}

#ifndef _WIN32
TEST_F(MvutilImage, ClipFailsOnLinuxWhereThereIsNoClipboard) {
  const Result result = RunTool({"image", "clip", In("tiny2x2.bmp")});
  EXPECT_EQ(result.code, kExitFailure);
  EXPECT_EQ(result.err, "mvutil image: the clipboard did not take the image (see the shared log)\n");
}
#endif

}  // namespace
}  // namespace mvutil
