#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "command.h"

namespace mvutil {
namespace {

int RunTool(const Args& args, std::string& out, std::string& err) {
  std::istringstream in;
  std::ostringstream outStream;
  std::ostringstream errStream;
  Io io{in, outStream, errStream};
  const int code = Run(args, io);
  out = outStream.str();
  err = errStream.str();
  return code;
}

TEST(MvutilCli, HelpListsEveryVerbWithItsSummary) {
  std::string out, err;
  EXPECT_EQ(RunTool({"--help"}, out, err), kExitOk);
  EXPECT_EQ(err, "");
  EXPECT_EQ(out.rfind("Usage: mvutil VERB [OPTIONS] [ARGS...]\n", 0), 0u) << out;
  for (const Command& command : AllCommands()) {
    EXPECT_NE(out.find(std::string("  ") + command.name), std::string::npos) << command.name;
    EXPECT_NE(out.find(command.summary), std::string::npos) << command.name;
  }
  std::string shortOut;
  EXPECT_EQ(RunTool({"-h"}, shortOut, err), kExitOk);
  EXPECT_EQ(shortOut, out);
}

TEST(MvutilCli, NoArgumentsPrintsHelpOnStderrAndFailsAsUsage) {
  std::string out, err;
  EXPECT_EQ(RunTool({}, out, err), kExitUsage);
  EXPECT_EQ(out, "");
  EXPECT_EQ(err.rfind("Usage: mvutil VERB", 0), 0u);
}

TEST(MvutilCli, EachVerbHasItsOwnHelp) {
  for (const Command& command : AllCommands()) {
    std::string out, err;
    EXPECT_EQ(RunTool({command.name, "--help"}, out, err), kExitOk) << command.name;
    EXPECT_EQ(out, command.usage);
    EXPECT_EQ(out.rfind(std::string("Usage: mvutil ") + command.name, 0), 0u) << out;
  }
}

TEST(MvutilCli, UnknownVerbIsAUsageError) {
  std::string out, err;
  EXPECT_EQ(RunTool({"frobnicate"}, out, err), kExitUsage);
  EXPECT_EQ(out, "");
  EXPECT_EQ(err, "mvutil: unknown verb 'frobnicate'; run 'mvutil --help' for the list\n");
}

TEST(MvutilCli, VersionPrintsTheProjectVersion) {
  std::string out, err;
  EXPECT_EQ(RunTool({"--version"}, out, err), kExitOk);
  EXPECT_EQ(out, "mvutil " MVUTIL_VERSION "\n");
}

}  // namespace
}  // namespace mvutil
