// mvutil config check: one file per finding, each with its exact output line and exit code, and
// the sample configuration, which must come out clean.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "command.h"

namespace mvutil {
namespace {

struct Checked {
  int code;
  std::string out;
  std::string err;
};

Checked Check(const std::string& file) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  Io io{in, out, err};
  const int code = Run({"config", "check", "--file", file}, io);
  return {code, out.str(), err.str()};
}

std::string Case(const std::string& name) {
  return std::string(TAVRO_CONFIG_CHECK_CASES) + "/" + name + ".cfg";
}

struct Finding {
  const char* file;
  int code;
  const char* line;  // after "PATH:"
};

class ConfigCheck : public ::testing::TestWithParam<Finding> {};

TEST_P(ConfigCheck, PrintsTheFindingAsPathLineLevelText) {
  const Finding& finding = GetParam();
  const std::string path = Case(finding.file);
  const Checked result = Check(path);
  EXPECT_EQ(result.code, finding.code);
  EXPECT_EQ(result.out, path + ":" + finding.line + "\n");
  EXPECT_EQ(result.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    OneFilePerFinding, ConfigCheck,
    ::testing::Values(
        Finding{"unknown-level", 1,
                "2: warning: DefaultLevel=VERBOSE: not a value the logger knows, so it keeps its setting; it "
                "accepts DEBUG, INFO, WARN, ERROR, FATAL, REPORT (exactly as written here)"},
        Finding{
            "size-with-unit", 1,
            "2: warning: FreeSpaceMinimum=10MB: not a whole number of bytes (0 to 18446744073709551615); the "
            "logger reads only its leading digits, 10"},
        Finding{"negative-size", 1,
                "2: warning: MaxLogFileSize=-1: not a whole number of bytes (1 to 2147483647)"},
        Finding{
            "unknown-reaction", 1,
            "2: warning: ThresholdExceeded=delete: not a value the logger knows, so it keeps its setting; it "
            "accepts pauseLogging, deleteOld (exactly as written here)"},
        Finding{"misspelt-key", 1,
                "2: warning: unknown key /Tavro/MedivaneSDK/Logging/MaxLogFileBackup; the logger does not "
                "read it "
                "(did you mean MaxLogFileBackups?)"},
        Finding{
            "repeated-key", 1,
            "3: warning: /Tavro/Ward/Name is set on lines 2, 3 with different values: GetParameter and the "
            "typed getters return 'South' (the last line), GetParameterFromUnorderedMap returns 'North' (the "
            "first line)"},
        Finding{"hanging-array-key", 2,
                "3: error: /Tavro/Buttons[x]/Action has no valid array index (negative or not a number): "
                "GetArrayIndices(\"/Tavro/Buttons\") never returns while this key is in the file"},
        Finding{"not-key-value", 1,
                "2: warning: not a key=value line, a comment or blank; the library ignores it"},
        Finding{
            "utf8-mark", 2,
            "1: error: the file starts with a UTF-8 byte-order mark, and the library reads no key of it; "
            "save it "
            "as UTF-16 LE with a byte-order mark (\"Unicode\" in Notepad) or as 8-bit text without a mark"},
        Finding{
            "kept-blank", 1,
            "2: warning: the value of /Tavro/Ward/Name ends in a blank (U+00A0) that the getters keep: only "
            "spaces and tabs are trimmed"}),
    [](const ::testing::TestParamInfo<Finding>& info) {
      std::string name = info.param.file;
      for (char& c : name) {
        if (c == '-') c = '_';
      }
      return name;
    });

TEST(ConfigCheckSample, TheSampleConfigurationComesOutClean) {
  const Checked result = Check(TAVRO_SAMPLE_CONFIG);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST(ConfigCheckSample, AFileThatCannotBeReadExitsThree) {
  const std::string path = Case("no-such-file");
  const Checked result = Check(path);
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "mvutil config check: cannot read " + path + "\n");
}

TEST(ConfigCheckSample, SeveralFindingsComeInLineOrderAndTheWorstDecidesTheExitCode) {
  const std::string path = Case("several");
  const Checked result = Check(path);
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out,
            path +
                ":1: error: /Tavro/Ward[-1]/Name has no valid array index (negative or not a number): "
                "GetArrayIndices(\"/Tavro/Ward\") never returns while this key is in the file\n" +
                path +
                ":2: warning: DefaultLevel=Debug: not a value the logger knows, so it keeps its setting; it "
                "accepts DEBUG, INFO, WARN, ERROR, FATAL, REPORT (exactly as written here)\n");
}

}  // namespace
}  // namespace mvutil
