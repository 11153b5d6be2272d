// The files a TLS client is given: an authority always, a certificate only with its key.
#include <gtest/gtest.h>

#include <string>

#include "platform/tls_connection.h"

namespace Tavro_KVO_Util::platform {
namespace {

TEST(TlsFiles, AnAuthorityAloneIsEnough) {
  std::string why = "left over";
  EXPECT_TRUE(CheckTlsFiles({"ca.pem", {}, {}}, why));
  EXPECT_EQ(why, "left over");
}

TEST(TlsFiles, AnAuthorityWithACertificateAndItsKeyIsEnough) {
  std::string why;
  EXPECT_TRUE(CheckTlsFiles({"ca.pem", "client.pem", "client-key.pem"}, why));
  EXPECT_EQ(why, "");
}

TEST(TlsFiles, NoAuthorityIsRefused) {
  std::string why;
  EXPECT_FALSE(CheckTlsFiles({{}, "client.pem", "client-key.pem"}, why));
  EXPECT_EQ(why, "TLS needs the certificate authority's file (--ca)");
}

TEST(TlsFiles, ACertificateWithoutItsKeyOrAKeyWithoutItsCertificateIsRefused) {
  std::string why;
  EXPECT_FALSE(CheckTlsFiles({"ca.pem", "client.pem", {}}, why));
  EXPECT_EQ(why, "a client certificate needs both its file (--cert) and its key (--key)");
  why.clear();
  EXPECT_FALSE(CheckTlsFiles({"ca.pem", {}, "client-key.pem"}, why));
  EXPECT_EQ(why, "a client certificate needs both its file (--cert) and its key (--key)");
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
