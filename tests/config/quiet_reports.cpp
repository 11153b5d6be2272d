// Every report of this test program is recorded, never written through a logger: the store's
// own log calls would otherwise make the process's logger, whose configuration file does not
// exist here, and every call would then wait out the file-open retries. Tests that check texts
// make a recorder of their own, which takes over while it lives.
#include <gtest/gtest.h>

#include <memory>

#include "logging/library_log.h"

namespace {

class QuietReports : public ::testing::Environment {
 public:
  void SetUp() override {
    mRecorder = std::make_unique<Tavro_KVO_Util::internal::ReportRecorderForTesting>();
  }
  void TearDown() override { mRecorder.reset(); }

 private:
  std::unique_ptr<Tavro_KVO_Util::internal::ReportRecorderForTesting> mRecorder;
};

[[maybe_unused]] ::testing::Environment* const kQuietReports =
    ::testing::AddGlobalTestEnvironment(new QuietReports);

}  // namespace
