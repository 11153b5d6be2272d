// The shipper's keys in the shared configuration: what the service calls a configured collector.
#include "shipping/shipping_settings.h"

#include <gtest/gtest.h>

#include "support/private_install_dir.h"

namespace Tavro_KVO_Util::shipping {
namespace {

using Tavro_KVO_Util::testing::PrivateInstallDir;

TEST(ShippingSettings, WithoutACollectorHostKeyTheDefaultDestinationIsNotAConfiguredCollector) {
  const PrivateInstallDir install;
  const ShippingSettings settings = ReadShippingSettings();
  EXPECT_FALSE(settings.collectorConfigured);
  EXPECT_EQ(settings.destination, "relp://127.0.0.1:2514");
}

TEST(ShippingSettings, AnEmptyCollectorHostIsNotAConfiguredCollector) {
  const PrivateInstallDir install(L"/Tavro/MedivaneSDK/LogShipping/CollectorHost=\r\n");
  const ShippingSettings settings = ReadShippingSettings();
  EXPECT_FALSE(settings.collectorConfigured);
  EXPECT_EQ(settings.destination, "relp://127.0.0.1:2514");
}

TEST(ShippingSettings, ACollectorHostIsAConfiguredCollectorWithTheOtherKeysOrTheirDefaults) {
  const PrivateInstallDir install(
      L"/Tavro/MedivaneSDK/LogShipping/CollectorHost=collector.ward.example\r\n"
      L"/Tavro/MedivaneSDK/LogShipping/Protocol=relp+tls\r\n");
  const ShippingSettings settings = ReadShippingSettings();
  EXPECT_TRUE(settings.collectorConfigured);
  EXPECT_EQ(settings.destination, "relp+tls://collector.ward.example:2514");
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
