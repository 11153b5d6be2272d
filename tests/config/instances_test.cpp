#include <gtest/gtest.h>

#include "Config.h"
#include "config/config_test_peer.h"
#include "logging/singleton_manager.h"
#include "support/environment.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ScopedEnvironmentVariable;
using testing::TempDir;

// Each test starts without singletons and with KVO_INSTALL_DIR pointing at a private folder that
// holds Bin/TavroMedivane.cfg.
class ConfigInstances : public ::testing::Test {
 protected:
  void SetUp() override {
    SingletonManager::Instance().DeleteAll();
    std::filesystem::create_directories(mDir.path() / "Bin");
    testing::WriteBytes(mDir.path() / "Bin" / "TavroMedivane.cfg", "/Test/Key=default file");
    testing::WriteBytes(mDir.path() / "Bin" / "Other.cfg", "/Test/Key=other file");
  }
  void TearDown() override { SingletonManager::Instance().DeleteAll(); }

  static std::wstring Value(const Config& config) {
    std::wstring value;
    config.GetParameter(L"/Test/Key", value);
    return value;
  }

  TempDir mDir;
  ScopedEnvironmentVariable mInstallDir{"KVO_INSTALL_DIR", mDir.path().string()};
};

TEST_F(ConfigInstances, SameFlagsGiveTheSamePointerRegisteredInItsSlot) {
  Config* first = Config::GetInstance(true, false);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(Config::GetInstance(true, false), first);
  EXPECT_EQ(Config::GetInstance(true), first);
  EXPECT_EQ(Config::mThisInstance, first);
  EXPECT_EQ(SingletonManager::Instance().mConfig, first);
  EXPECT_EQ(Value(*first), L"default file");
}

TEST_F(ConfigInstances, OtherWritableFlagReplacesTheLoggingInstance) {
  Config* readOnly = Config::GetInstance(true, false);
  Config* noLogging = Config::GetInstance(false, false);
  ASSERT_NE(readOnly, nullptr);
  ASSERT_NE(noLogging, nullptr);
  EXPECT_EQ(readOnly->SetParameter(L"/Test/Key", L"x"), CFG_WRITE_NOT_ALLOWED);

  Config* writable = Config::GetInstance(true, true);
  ASSERT_NE(writable, nullptr);
  EXPECT_EQ(Config::mThisInstance, writable);
  EXPECT_EQ(SingletonManager::Instance().mConfig, writable);
  EXPECT_EQ(writable->SetParameter(L"/Test/Key", L"written"), CFG_SUCCESS);
  EXPECT_EQ(Value(*writable), L"written");
  // The old instance's destructor ran: it nulled the other singleton's pointer too, while that
  // instance itself lives on in its slot.
  EXPECT_EQ(Config::mThisInstanceNoLogging, nullptr);
  EXPECT_EQ(SingletonManager::Instance().mConfigNoLogging, noLogging);
}

TEST_F(ConfigInstances, NonLoggingInstanceIsSeparateAndRegisteredInItsOwnSlot) {
  Config* logging = Config::GetInstance(true, false);
  Config* quiet = Config::GetInstance(false, false);
  ASSERT_NE(quiet, nullptr);
  EXPECT_NE(quiet, logging);
  EXPECT_EQ(Config::GetInstance(false), quiet);
  EXPECT_EQ(Config::mThisInstanceNoLogging, quiet);
  EXPECT_EQ(SingletonManager::Instance().mConfigNoLogging, quiet);
  EXPECT_EQ(Value(*quiet), L"default file");
}

TEST_F(ConfigInstances, ReplacedNonLoggingInstanceMovesIntoTheLoggingSlot) {
  Config* logging = Config::GetInstance(true, false);
  Config::GetInstance(false, false);
  Config* replacement = Config::GetInstance(false, true);
  ASSERT_NE(replacement, nullptr);
  EXPECT_EQ(Config::mThisInstanceNoLogging, replacement);
  EXPECT_EQ(Config::mThisInstance, nullptr);  // nulled by the old instance's destructor
  EXPECT_EQ(SingletonManager::Instance().mConfig, replacement);
  EXPECT_EQ(SingletonManager::Instance().mConfigNoLogging, nullptr);
  // The logging instance is in no slot any more: the library would keep it until the process
  // ends. The test releases it so that leak checkers stay quiet.
  delete logging;
}

TEST_F(ConfigInstances, DestroyingOneInstanceNullsBothStatics) {
  Config::GetInstance(true, false);
  Config::GetInstance(false, false);
  SingletonManager& slots = SingletonManager::Instance();
  Config* logging = slots.mConfig;
  slots.mConfig = nullptr;
  delete logging;
  EXPECT_EQ(Config::mThisInstance, nullptr);
  EXPECT_EQ(Config::mThisInstanceNoLogging, nullptr);
}

TEST_F(ConfigInstances, FileNameSwitchesTheLoggingInstanceAtTheNextReload) {
  Config* config = Config::GetInstance(true, false);
  ASSERT_NE(config, nullptr);
  const std::wstring directory = ConfigTestPeer::Directory(*config);
  EXPECT_EQ(Config::GetInstance(L"Other.cfg", false), config);
  EXPECT_EQ(ConfigTestPeer::File(*config), directory + L"Other.cfg");
  EXPECT_TRUE(ConfigTestPeer::ForceParse(*config));
  EXPECT_EQ(Value(*config), L"default file");  // nothing is parsed by GetInstance itself
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_TRUE(config->WasReloaded());
  EXPECT_EQ(Value(*config), L"other file");
}

TEST_F(ConfigInstances, CurrentFileNameChangesNothing) {
  Config* config = Config::GetInstance(true, false);
  ASSERT_NE(config, nullptr);
  const std::wstring file = ConfigTestPeer::File(*config);
  EXPECT_EQ(Config::GetInstance(L"TavroMedivane.cfg", true), config);
  EXPECT_EQ(ConfigTestPeer::File(*config), file);
  EXPECT_FALSE(ConfigTestPeer::ForceParse(*config));
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_FALSE(config->WasReloaded());
}

TEST_F(ConfigInstances, FileNameCreatesTheLoggingInstanceWhenThereIsNone) {
  Config* config = Config::GetInstance(L"Other.cfg", true);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(Config::mThisInstance, config);
  EXPECT_EQ(SingletonManager::Instance().mConfig, config);
  config->Reload(false);
  EXPECT_EQ(Value(*config), L"other file");
  EXPECT_EQ(config->SetParameter(L"/Test/Key", L"other file"), CFG_SUCCESS);  // writable
}

}  // namespace
}  // namespace Tavro_KVO_Util
