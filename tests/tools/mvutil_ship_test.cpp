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
    EXPECT_EQ(result.err,
              "mvutil ship: '" + url +
                  "' is not relp://HOST:PORT, relp+tls://HOST:PORT, tls://HOST:PORT or tcp://HOST:PORT\n")
        << url;
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

TEST_F(MvutilShip, TlsWithoutTheAuthorityIsAWrongCommandLine) {
  for (const std::string url : {"relp+tls://127.0.0.1:2515", "tls://localhost:6514"}) {
    const Result result = Run({"ship", "--once", "--to", url});
    EXPECT_EQ(result.code, 2) << url;
    EXPECT_EQ(
        result.err,
        "mvutil ship: TLS needs the certificate authority that signed the collector's certificate: --ca "
        "FILE (key CaFile)\n")
        << url;
  }
}

TEST_F(MvutilShip, ACertificateWithoutItsKeyOrAKeyWithoutItsCertificateIsAWrongCommandLine) {
  const std::string both =
      "mvutil ship: a client certificate needs both --cert FILE and --key FILE (keys CertFile "
      "and KeyFile)\n";
  Result result = Run({"ship", "--once", "--to", "tls://h:6514", "--ca", "ca.pem", "--cert", "client.pem"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, both);
  result = Run({"ship", "--once", "--to", "tls://h:6514", "--ca", "ca.pem", "--key", "client-key.pem"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, both);
}

TEST_F(MvutilShip, AnUnreadableAuthorityFileExitsOneAndNamesTheFile) {
  Write(L"Ward", 4, L"waiting");
  const std::string state = LogFile().string() + ".state";
  const std::string authority = LogFile().string() + ".no-such-ca.pem";
  const Result result =
      Run({"ship", "--once", "--to", "tls://127.0.0.1:1", "--ca", authority, "--state", state});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(
      result.err.rfind("mvutil ship: cannot read the certificate authority from " + authority + ": ", 0), 0u)
      << result.err;
  EXPECT_FALSE(std::filesystem::exists(state));
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

TEST_F(MvutilShip, ServiceWithOnceIsAWrongCommandLine) {
  const Result result = Run({"ship", "--service", "--once"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "mvutil ship: --service runs until the service is stopped; it takes no --once\n");
}

TEST_F(MvutilShip, ServiceStartedOtherwiseThanByTheServiceManagerSaysHowToRunIt) {
  const Result result = Run({"ship", "--service"});
#ifdef _WIN32
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err,
            "mvutil ship: --service is for the service control manager, which starts the service "
            "TavroLogShipper; from a console, run mvutil ship without it\n");
#else
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err,
            "mvutil ship: cannot run as the service TavroLogShipper: there is no Windows service control "
            "manager on this system; run the command itself (under systemd, say)\n");
#endif
}

}  // namespace
}  // namespace mvutil::testing
