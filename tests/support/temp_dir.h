// A throwaway directory per test, removed with everything in it when the test ends.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_TEMP_DIR_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_TEMP_DIR_H

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace Tavro_KVO_Util::testing {

class TempDir {
 public:
  TempDir() {
    static std::atomic<unsigned> counter{0};
    std::random_device seed;
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string("tavro-") + (info ? info->name() : "test") + "-" +
                             std::to_string(seed()) + "-" + std::to_string(counter++);
    mPath = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(mPath);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return mPath; }

  // Writes `bytes` to a file in the directory and returns its path.
  std::filesystem::path WriteFile(const std::string& name, const std::string& bytes) const {
    const auto file = mPath / name;
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }

 private:
  std::filesystem::path mPath;
};

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_TEMP_DIR_H
