// mvutil ship's command line. Delivery itself is tested against a real rsyslog in
// tests/shipping/ship_scenarios.py.
#include <gtest/gtest.h>

#include <string>

#include "mvutil_log_fixture.h"

namespace mvutil::testing {
namespace {

using MvutilShip = MvutilLogTest;

TEST_F(MvutilShip, AUrlOfAnotherFormIsAWrongCommandLine) {
  for (const std::string url : {"http://127.0.0.1:514", "relp://127.0.0.1", "relp://127.0.0.1:0",
                                "relp://127.0.0.1:65536", "tcp://:514", "relp://[::1]514", "tcp://h:514/x"}) {
    const Result result = Run({"ship", "--once", "--to", url});
    EXPECT_EQ(result.code, 2) << url;
    EXPECT_EQ(result.err, "mvutil ship: '" + url + "' is not relp://HOST:PORT or tcp://HOST:PORT\n") << url;
  }
}

TEST_F(MvutilShip, AFacilityOutsideZeroToTwentyThreeIsAWrongCommandLine) {
  for (const std::string facility : {"24", "-1", "x", ""}) {
    const Result result = Run({"ship", "--once", "--facility", facility});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "mvutil ship: --facility needs a number from 0 to 23, not '" + facility + "'\n");
  }
}

TEST_F(MvutilShip, AMissingValueOrAnUnknownOptionIsAWrongCommandLine) {
  Result result = Run({"ship", "--to"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil ship: --to needs a value; see 'mvutil ship --help'\n");
  result = Run({"ship", "--fast"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil ship: unexpected argument '--fast'; see 'mvutil ship --help'\n");
}

TEST_F(MvutilShip, OnceWithNoCollectorListeningExitsOneAndWritesNoStateFile) {
  Write(L"Ward", 4, L"waiting");
  // Port 1 on loopback: nothing listens there, so the connection is refused at once.
  const std::string state = LogFile().string() + ".state";
  const Result result = Run({"ship", "--once", "--to", "relp://127.0.0.1:1", "--state", state});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err.rfind("mvutil ship: cannot connect to 127.0.0.1:1: ", 0), 0u) << result.err;
  EXPECT_FALSE(std::filesystem::exists(state));
}

}  // namespace
}  // namespace mvutil::testing
