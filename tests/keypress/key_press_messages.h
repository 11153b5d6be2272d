// The simulator's log messages as support tools search for them, written out once more here so
// that a change to any of them fails a test.
#ifndef TAVROMEDIVANEUTIL_TESTS_KEYPRESS_KEY_PRESS_MESSAGES_H
#define TAVROMEDIVANEUTIL_TESTS_KEYPRESS_KEY_PRESS_MESSAGES_H

namespace Tavro_KVO_Util::testing {

inline constexpr wchar_t kElementFailed[] =
    L"KeyPressAction::GetInputStringElementVector - GetInputStringElement failed with status: ";
inline constexpr wchar_t kEndsWithJoiner[] =
    L"KeyPressAction::GetInputStringElementVector - invalid key press input string format (can't end with "
    L"'+')";
inline constexpr wchar_t kGroupFailed[] =
    L"KeyPressAction::ParseInputString - GetInputStringElementVector failed with status: ";
inline constexpr wchar_t kGroupToInputFailed[] =
    L"KeyPressAction::ParseInputString - ElementsToInput failed with status: ";
inline constexpr wchar_t kConversionFailed[] =
    L"KeyPressAction::GetVirtKeyCode - WideCharToMultiByte failed, lasterror is: ";
inline constexpr wchar_t kPressCodeFailed[] =
    L"KeyPressAction::ElementsToInput - GetVirtKeyCode1 failed with status: ";
inline constexpr wchar_t kReleaseCodeFailed[] =
    L"KeyPressAction::ElementsToInput - GetVirtKeyCode2 failed with status: ";
inline constexpr wchar_t kNoScanCode[] = L"KeyPressAction::ElementsToInput - MapVirtualKey failed for:";
inline constexpr wchar_t kArrayParseFailed[] =
    L"KeyPressAction::ParseInputString - ParseInputString failed with status: ";
inline constexpr wchar_t kConfiguredParseFailed[] =
    L"KeyPressAction::GetInputArray - ParseInputString failed with status: ";
inline constexpr wchar_t kNoParsedArray[] =
    L"Could not parse the input array for key press action.  Error is:";
inline constexpr wchar_t kNoConfiguredArray[] =
    L"Could not get the input array for key press action.  Error is:";
inline constexpr wchar_t kSendFailed[] =
    L"KeyPressSimulator::DoSimulation - SendInput failed, lasterror is: ";

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_KEYPRESS_KEY_PRESS_MESSAGES_H
