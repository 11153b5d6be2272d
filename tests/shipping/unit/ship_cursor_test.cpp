// The cursor state file: its exact text, reading it back, telling a damaged file from a good one,
// setting a damaged one aside, and replacing it without leaving a temporary file behind.
#include "shipping/ship_cursor.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Crc32.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util::shipping {
namespace {

const std::string kFirstLine = "TavroMedivaneUtil log shipping cursor, version 1\n";

ShipCursor Sample() {
  ShipCursor cursor;
  cursor.position.id.volume = 2049;
  cursor.position.id.index = 131074;
  cursor.position.offset = 4096;
  cursor.position.fingerprint = std::string("ab\x01\xff", 4);
  cursor.lastTimestamp = "2026-07-01T12:00:00.045+02:00";
  return cursor;
}

const std::string kSampleText =
    "TavroMedivaneUtil log shipping cursor, version 1\n"
    "volume=2049\n"
    "index=131074\n"
    "offset=4096\n"
    "fingerprint=616201ff\n"
    "time=2026-07-01T12:00:00.045+02:00\n"
    "checksum=7D4AAF09\n";

// `body` with the checksum line a good file has, so that a test can reach the checks behind it.
std::string Sealed(const std::string& body) {
  Crc32 crc;
  crc.ProcessBuffer(reinterpret_cast<const unsigned char*>(body.data()), static_cast<unsigned>(body.size()));
  char hex[16];
  std::snprintf(hex, sizeof hex, "%08lX", crc.GetResult());
  return body + "checksum=" + hex + "\n";
}

// All of a cursor in one line, so that one comparison checks it all.
std::string Describe(const ShipCursor& cursor) {
  std::string fingerprint;
  for (const char c : cursor.position.fingerprint) {
    fingerprint += std::to_string(static_cast<unsigned char>(c)) + ",";
  }
  return "volume=" + std::to_string(cursor.position.id.volume) +
         " index=" + std::to_string(cursor.position.id.index) +
         " offset=" + std::to_string(cursor.position.offset) + " fingerprint=" + fingerprint +
         " time=" + cursor.lastTimestamp;
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> FileNames(const std::filesystem::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().u8string());
  }
  return names;
}

TEST(ShipCursor, IsWrittenAsNamedLinesWithAChecksum) { EXPECT_EQ(EncodeShipCursor(Sample()), kSampleText); }

TEST(ShipCursor, EmptyCursorIsWrittenWithEmptyValues) {
  EXPECT_EQ(EncodeShipCursor(ShipCursor()),
            "TavroMedivaneUtil log shipping cursor, version 1\n"
            "volume=0\nindex=0\noffset=0\nfingerprint=\ntime=\nchecksum=24A0546B\n");
}

TEST(ShipCursor, ReadsBackWhatWasWritten) {
  ShipCursor cursor;
  ASSERT_TRUE(DecodeShipCursor(kSampleText, cursor));
  EXPECT_EQ(Describe(cursor),
            "volume=2049 index=131074 offset=4096 fingerprint=97,98,1,255, "
            "time=2026-07-01T12:00:00.045+02:00");
}

TEST(ShipCursor, LargestValuesReadBackWhole) {
  // 64-bit identities and offsets, a full fingerprint of every kind of byte, no timestamp.
  ShipCursor written;
  written.position.id.volume = UINT64_MAX;
  written.position.id.index = UINT64_MAX - 1;
  written.position.offset = UINT64_MAX - 2;
  for (std::size_t i = 0; i < mvutil::LogPosition::kFingerprintSize; ++i) {
    written.position.fingerprint += static_cast<char>(i * 4 + 3);
  }
  ShipCursor read;
  ASSERT_TRUE(DecodeShipCursor(EncodeShipCursor(written), read));
  EXPECT_EQ(Describe(read), Describe(written));
}

TEST(ShipCursor, AnyChangedByteMakesTheTextDamaged) {
  // Every byte replaced by every other value: the checksum, or the layout, catches each.
  for (std::size_t at = 0; at < kSampleText.size(); ++at) {
    for (int value = 0; value < 256; ++value) {
      if (static_cast<char>(value) == kSampleText[at]) continue;
      std::string damaged = kSampleText;
      damaged[at] = static_cast<char>(value);
      ShipCursor cursor = Sample();
      cursor.lastTimestamp = "untouched";
      ASSERT_FALSE(DecodeShipCursor(damaged, cursor)) << "byte " << at << " set to " << value;
      ASSERT_EQ(cursor.lastTimestamp, "untouched");
    }
  }
}

TEST(ShipCursor, CutOrLengthenedTextIsDamaged) {
  ShipCursor cursor;
  for (std::size_t size = 0; size < kSampleText.size(); ++size) {
    EXPECT_FALSE(DecodeShipCursor(kSampleText.substr(0, size), cursor)) << size;
  }
  EXPECT_FALSE(DecodeShipCursor(kSampleText + "\n", cursor));
  EXPECT_FALSE(DecodeShipCursor(kSampleText + kSampleText, cursor));
}

TEST(ShipCursor, ValuesOutOfShapeAreDamagedEvenWithTheRightChecksum) {
  const std::string head = kFirstLine + "volume=1\nindex=2\noffset=3\n";
  ShipCursor cursor;
  ASSERT_TRUE(DecodeShipCursor(Sealed(head + "fingerprint=00ff\ntime=\n"), cursor));
  // Upper-case hex, an odd number of digits, a fingerprint longer than a position keeps.
  EXPECT_FALSE(DecodeShipCursor(Sealed(head + "fingerprint=00FF\ntime=\n"), cursor));
  EXPECT_FALSE(DecodeShipCursor(Sealed(head + "fingerprint=0ff\ntime=\n"), cursor));
  EXPECT_TRUE(DecodeShipCursor(Sealed(head + "fingerprint=" + std::string(128, 'a') + "\ntime=\n"), cursor));
  EXPECT_FALSE(DecodeShipCursor(Sealed(head + "fingerprint=" + std::string(130, 'a') + "\ntime=\n"), cursor));
  // Numbers beyond 64 bits, signs, blanks, nothing.
  const std::string tail = "index=2\noffset=3\nfingerprint=\ntime=\n";
  EXPECT_TRUE(DecodeShipCursor(Sealed(kFirstLine + "volume=18446744073709551615\n" + tail), cursor));
  EXPECT_FALSE(DecodeShipCursor(Sealed(kFirstLine + "volume=18446744073709551616\n" + tail), cursor));
  EXPECT_FALSE(DecodeShipCursor(Sealed(kFirstLine + "volume=-1\n" + tail), cursor));
  EXPECT_FALSE(DecodeShipCursor(Sealed(kFirstLine + "volume= 1\n" + tail), cursor));
  EXPECT_FALSE(DecodeShipCursor(Sealed(kFirstLine + "volume=\n" + tail), cursor));
  // Lines out of order.
  EXPECT_FALSE(
      DecodeShipCursor(Sealed(kFirstLine + "index=2\nvolume=1\noffset=3\nfingerprint=\ntime=\n"), cursor));
  // The last good decode is what the cursor holds.
  EXPECT_EQ(Describe(cursor), "volume=18446744073709551615 index=2 offset=3 fingerprint= time=");
}

TEST(ShipCursor, MissingStateFileIsNone) {
  const testing::TempDir dir;
  ShipCursor cursor;
  std::string why;
  EXPECT_EQ(LoadShipCursor(dir.path() / "cursor.state", cursor, why), CursorLoad::kNone);
  EXPECT_EQ(Describe(cursor), Describe(ShipCursor()));
  EXPECT_TRUE(FileNames(dir.path()).empty());
}

TEST(ShipCursor, GoodStateFileIsLoaded) {
  const testing::TempDir dir;
  const auto path = dir.WriteFile("cursor.state", kSampleText);
  ShipCursor cursor;
  std::string why;
  EXPECT_EQ(LoadShipCursor(path, cursor, why), CursorLoad::kLoaded);
  EXPECT_EQ(Describe(cursor), Describe(Sample()));
  EXPECT_EQ(why, "");
  EXPECT_EQ(ReadAll(path), kSampleText);
}

TEST(ShipCursor, GarbageStateFileIsSetAsideAsDamaged) {
  const testing::TempDir dir;
  const auto path = dir.WriteFile("cursor.state", "garbage");
  auto aside = path;
  aside += ".damaged";
  ShipCursor cursor;
  std::string why;
  EXPECT_EQ(LoadShipCursor(path, cursor, why), CursorLoad::kDamaged);
  EXPECT_EQ(why, "is damaged; set aside as " + aside.u8string());
  EXPECT_EQ(FileNames(dir.path()), std::vector<std::string>{"cursor.state.damaged"});
  EXPECT_EQ(ReadAll(aside), "garbage");
  EXPECT_EQ(Describe(cursor), Describe(ShipCursor()));
}

TEST(ShipCursor, DamagedStateFileReplacesAnOlderOneSetAside) {
  const testing::TempDir dir;
  const auto path = dir.WriteFile("cursor.state", "");
  const auto aside = dir.WriteFile("cursor.state.damaged", "older");
  ShipCursor cursor;
  std::string why;
  EXPECT_EQ(LoadShipCursor(path, cursor, why), CursorLoad::kDamaged);
  EXPECT_EQ(why, "is damaged; set aside as " + aside.u8string());
  EXPECT_EQ(FileNames(dir.path()), std::vector<std::string>{"cursor.state.damaged"});
  EXPECT_EQ(ReadAll(aside), "");
}

TEST(ShipCursor, StateFileLargerThanAnyCursorIsDamaged) {
  // It decodes, but no cursor the shipper writes is that large: something else wrote it.
  ShipCursor huge = Sample();
  huge.lastTimestamp = std::string(5000, '1');
  const std::string text = EncodeShipCursor(huge);
  ShipCursor cursor;
  ASSERT_TRUE(DecodeShipCursor(text, cursor));
  const testing::TempDir dir;
  const auto path = dir.WriteFile("cursor.state", text);
  std::string why;
  EXPECT_EQ(LoadShipCursor(path, cursor, why), CursorLoad::kDamaged);
  EXPECT_EQ(FileNames(dir.path()), std::vector<std::string>{"cursor.state.damaged"});
}

TEST(ShipCursor, SaveWritesTheTextAndLeavesNoTemporaryFile) {
  const testing::TempDir dir;
  const auto path = dir.path() / "cursor.state";
  std::string why;
  ASSERT_TRUE(SaveShipCursor(path, Sample(), platform::Durability::kOnDisk, why)) << why;
  EXPECT_EQ(ReadAll(path), kSampleText);
  EXPECT_EQ(FileNames(dir.path()), std::vector<std::string>{"cursor.state"});
}

TEST(ShipCursor, SaveReplacesTheStateFile) {
  const testing::TempDir dir;
  const auto path = dir.WriteFile("cursor.state", "older");
  ShipCursor next = Sample();
  next.position.offset = 8192;
  std::string why;
  ASSERT_TRUE(SaveShipCursor(path, next, platform::Durability::kWithSystem, why)) << why;
  EXPECT_EQ(ReadAll(path), EncodeShipCursor(next));
  EXPECT_EQ(FileNames(dir.path()), std::vector<std::string>{"cursor.state"});
  ShipCursor cursor;
  EXPECT_EQ(LoadShipCursor(path, cursor, why), CursorLoad::kLoaded);
  EXPECT_EQ(Describe(cursor), Describe(next));
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
