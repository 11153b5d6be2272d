// mvutil keys: check, show and send, run in-process with the shared log and configuration of
// the test program.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "mvutil_log_fixture.h"

namespace mvutil::testing {
namespace {

class MvutilKeys : public MvutilLogTest {
 protected:
  // The logging settings of every test plus the test's own `lines`.
  static void WriteConfigWith(const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const auto& [key, value] : Defaults())
      text.append(L"/Tavro/MedivaneSDK/Logging/").append(key).append(L"=").append(value).append(L"\r\n");
    for (const std::wstring& line : lines) text.append(line).append(L"\r\n");
    const auto file = SharedLogFolder::Get().Root() / "Bin" / "TavroMedivane.cfg";
    support::WriteBytes(file, support::Utf16LeBytes(text));
    SharedLogFolder::Get().NoteRewrite(file);
  }

  static Result Keys(Args args) {
    args.insert(args.begin(), "keys");
    return Run(args);
  }

  // The entries the library wrote for the tool.
  static std::vector<std::wstring> ToolLines() {
    std::vector<std::wstring> lines;
    for (const std::wstring& line : Lines(LogFile())) {
      if (line.compare(1, 8, L" mvutil ") == 0) lines.push_back(line);
    }
    return lines;
  }
};

constexpr char kHeader[] = "#     key   vk           scan  flags\n";

TEST_F(MvutilKeys, CheckSaysValidWithExitCodeZero) {
  for (const char* input : {"a", "{CONTROL}+{ALT}+d", "{VK13}", ""}) {
    const Result result = Keys({"check", input});
    EXPECT_EQ(result.code, 0) << input;
    EXPECT_EQ(result.out, "valid\n") << input;
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(MvutilKeys, CheckSaysInvalidWithExitCodeOneAndTheLogHasTheReason) {
  const Result result = Keys({"check", "a+"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "invalid\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(ToolLines(),
            (std::vector<std::wstring>{
                L"E mvutil KeyPressAction::GetInputStringElementVector - invalid key press input "
                L"string format (can't end with '+');DATA#a+",
                L"E mvutil KeyPressAction::ParseInputString - GetInputStringElementVector failed "
                L"with status: ;DATA#-40"}));
}

TEST_F(MvutilKeys, ShowPrintsTheChordPressesThenReleases) {
  const Result result = Keys({"show", "{CONTROL}+{ALT}+d"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, std::string(kHeader) +
                            "0     down  0x11 CONTROL   29  0x0\n"
                            "1     down  0x12 ALT       56  0x0\n"
                            "2     down  0x44 D         32  0x0\n"
                            "3     up    0x11 CONTROL   29  0x2\n"
                            "4     up    0x12 ALT       56  0x2\n"
                            "5     up    0x44 D         32  0x2\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilKeys, ShowNamesLettersDigitsAndTheKeypadPlusButNotOtherCodes) {
  const Result result = Keys({"show", "a7{ADD}{VK13}{VK0}"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, std::string(kHeader) +
                            "0     down  0x41 A         30  0x0\n"
                            "1     up    0x41 A         30  0x2\n"
                            "2     down  0x37 7          8  0x0\n"
                            "3     up    0x37 7          8  0x2\n"
                            "4     down  0x6B ADD       78  0x0\n"
                            "5     up    0x6B ADD       78  0x2\n"
                            "6     down  0x0D           28  0x0\n"
                            "7     up    0x0D           28  0x2\n"
                            "8     down  0x00            0  0x0\n"
                            "9     up    0x00            0  0x2\n");
}

TEST_F(MvutilKeys, ShowOfTheEmptyStringPrintsOnlyTheHeader) {
  const Result result = Keys({"show", ""});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, kHeader);
}

TEST_F(MvutilKeys, ShowRefusesAnInvalidString) {
  const Result result = Keys({"show", "{alt}"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "mvutil keys show: invalid key press string\n");
}

TEST_F(MvutilKeys, SendRefusesAnInvalidStringWithoutSending) {
  const Result result = Keys({"send", "a b"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "mvutil keys send: invalid key press string\n");
}

TEST_F(MvutilKeys, SendFromAMissingConfigurationKeySaysNotFound) {
  WriteConfigWith({L"/Tavro/Keys/Other=a"});
  const Result result = Keys({"send", "--from-config", "/Tavro/Keys/Chord"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "mvutil keys send: /Tavro/Keys/Chord: not found\n");
}

TEST_F(MvutilKeys, SendFromAConfigurationKeyWithAnInvalidStringNamesTheKey) {
  WriteConfigWith({L"/Tavro/Keys/Chord={alt}"});
  const Result result = Keys({"send", "--from-config", "/Tavro/Keys/Chord"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "mvutil keys send: invalid key press string in /Tavro/Keys/Chord\n");
}

#ifdef _WIN32
TEST_F(MvutilKeys, SendHandsTheRecordsToTheSystem) {
  const Result result = Keys({"send", "{SHIFT}+{VK0}"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "sent 4 input records\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(MvutilKeys, SendFromAConfigurationKeySendsItsValue) {
  WriteConfigWith({L"/Tavro/Keys/Chord={SHIFT}+{CONTROL}"});
  const Result result = Keys({"send", "--from-config", "/Tavro/Keys/Chord"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "sent 4 input records\n");
}
#else
TEST_F(MvutilKeys, SendFailsOnLinuxAndTheLogHasTheSystemError) {
  const Result result = Keys({"send", "{CONTROL}+{ALT}+d"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(
      result.err,
      "mvutil keys send: the keys could not be sent (status -1000); the system's error number is in the "
      "shared log\n");
  EXPECT_EQ(ToolLines(),
            std::vector<std::wstring>{L"E mvutil KeyPressSimulator::DoSimulation - SendInput failed, "
                                      L"lasterror is: ;DATA#" +
                                      std::to_wstring(ENOSYS)});
}

TEST_F(MvutilKeys, SendFromAConfigurationKeyFailsOnLinuxToo) {
  WriteConfigWith({L"/Tavro/Keys/Chord={SHIFT}+a"});
  const Result result = Keys({"send", "--from-config", "/Tavro/Keys/Chord"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(ToolLines().size(), 1u);
}
#endif

TEST_F(MvutilKeys, WrongCommandLinesExitWithTwo) {
  const std::vector<std::pair<Args, std::string>> cases = {
      {{}, "mvutil keys: no VERB given; see 'mvutil keys --help'\n"},
      {{"press", "a"}, "mvutil keys: unknown verb 'press'; see 'mvutil keys --help'\n"},
      {{"check"}, "mvutil keys check: usage: mvutil keys check STRING\n"},
      {{"show", "a", "b"}, "mvutil keys show: usage: mvutil keys show STRING\n"},
      {{"check", "--from-config", "K"}, "mvutil keys check: --from-config belongs to 'send'\n"},
      {{"send", "a", "--from-config", "K"}, "mvutil keys send: usage: mvutil keys send --from-config KEY\n"},
      {{"send", "--from-config"}, "mvutil keys: --from-config needs a KEY\n"},
  };
  for (const auto& [args, message] : cases) {
    const Result result = Keys(args);
    EXPECT_EQ(result.code, 2) << message;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, message);
  }
}

TEST_F(MvutilKeys, HelpDescribesTheVerbs) {
  const Result result = Keys({"--help"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out.rfind("Usage: mvutil keys check STRING\n", 0), 0u);
}

}  // namespace
}  // namespace mvutil::testing
