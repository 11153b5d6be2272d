// The collector's address as the user gives it: the four schemes, the three kinds of host, and
// everything else refused with the same reason.
#include "shipping/destination.h"

#include <gtest/gtest.h>

#include <string>

namespace Tavro_KVO_Util::shipping {
namespace {

std::string Why(const std::string& url) {
  return "'" + url + "' is not relp://HOST:PORT, relp+tls://HOST:PORT, tls://HOST:PORT or tcp://HOST:PORT";
}

TEST(Destination, RelpUrlGivesHostAndPort) {
  Destination destination;
  std::string why = "left over";
  ASSERT_TRUE(ParseDestination("relp://collector.ward.example:2514", destination, why));
  EXPECT_EQ(destination.protocol, Destination::Protocol::kRelp);
  EXPECT_FALSE(destination.tls);
  EXPECT_EQ(destination.host, "collector.ward.example");
  EXPECT_EQ(destination.port, 2514);
  EXPECT_EQ(why, "");
}

TEST(Destination, RelpOverTlsUrlGivesRelpWithTls) {
  Destination destination;
  std::string why = "left over";
  ASSERT_TRUE(ParseDestination("relp+tls://collector.ward.example:2515", destination, why));
  EXPECT_EQ(destination.protocol, Destination::Protocol::kRelp);
  EXPECT_TRUE(destination.tls);
  EXPECT_EQ(destination.host, "collector.ward.example");
  EXPECT_EQ(destination.port, 2515);
  EXPECT_EQ(why, "");
}

TEST(Destination, TlsUrlGivesOctetCountedSyslogWithTls) {
  Destination destination;
  std::string why;
  ASSERT_TRUE(ParseDestination("tls://[::1]:6514", destination, why));
  EXPECT_EQ(destination.protocol, Destination::Protocol::kTcp);
  EXPECT_TRUE(destination.tls);
  EXPECT_EQ(destination.host, "::1");
  EXPECT_EQ(destination.port, 6514);
}

TEST(Destination, TcpUrlGivesHostAndPort) {
  Destination destination;
  std::string why;
  ASSERT_TRUE(ParseDestination("tcp://10.0.0.5:514", destination, why));
  EXPECT_EQ(destination.protocol, Destination::Protocol::kTcp);
  EXPECT_FALSE(destination.tls);
  EXPECT_EQ(destination.host, "10.0.0.5");
  EXPECT_EQ(destination.port, 514);
  EXPECT_EQ(why, "");
}

TEST(Destination, IPv6AddressIsInBracketsWhichAreNotPartOfTheHost) {
  Destination destination;
  std::string why;
  ASSERT_TRUE(ParseDestination("relp://[::1]:2514", destination, why));
  EXPECT_EQ(destination.protocol, Destination::Protocol::kRelp);
  EXPECT_EQ(destination.host, "::1");
  EXPECT_EQ(destination.port, 2514);
  ASSERT_TRUE(ParseDestination("tcp://[2001:db8::17]:65535", destination, why));
  EXPECT_EQ(destination.protocol, Destination::Protocol::kTcp);
  EXPECT_EQ(destination.host, "2001:db8::17");
  EXPECT_EQ(destination.port, 65535);
}

TEST(Destination, LowestAndHighestPortsAreTaken) {
  Destination destination;
  std::string why;
  ASSERT_TRUE(ParseDestination("relp://h:1", destination, why));
  EXPECT_EQ(destination.port, 1);
  ASSERT_TRUE(ParseDestination("relp://h:65535", destination, why));
  EXPECT_EQ(destination.port, 65535);
}

TEST(Destination, AnythingElseIsRefusedWithTheUrlInTheReason) {
  for (const char* url : {
           "http://x:1",        // another scheme
           "relp:/host:514",    // not quite the scheme
           "relps://host:514",  // not a scheme of ours
           "tls+relp://h:514",  // the parts the wrong way round
           "TLS://h:514",       // schemes are lower case
           "relp://host",       // no port
           "relp://host:",      // empty port
           "relp://:514",       // no host
           "relp://[]:514",     // empty IPv6 address
           "relp://[::1]",      // IPv6 address without port
           "relp://[::1]2514",  // no colon after the bracket
           "relp://[::1:2514",  // unclosed bracket
           "relp://::1:2514",   // IPv6 address without brackets
           "relp://h:0",        // port below 1
           "relp://h:65536",    // port above 65535
           "relp://h:123456",   // six digits
           "relp://h:12a",      // not a number
           "relp://h:-1",       // not a number either
           "tcp://h:514/x",     // a path after the port
           "tcp://user@h:514",  // user information
           "tcp://a b:514",     // a blank in the host
           "",
       }) {
    SCOPED_TRACE(url);
    Destination destination;
    std::string why;
    EXPECT_FALSE(ParseDestination(url, destination, why));
    EXPECT_EQ(why, Why(url));
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
