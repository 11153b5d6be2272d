// KeyPressSimulator: turns a key press string into synthetic keyboard input.
//
// A key press string is a sequence of key groups written one after another; a group is one or
// more keys joined by '+'. A key is one ASCII letter or digit (either case names the same key and
// never implies Shift), or a braced name: "{ALT}", "{SHIFT}", "{CONTROL}", "{ADD}" (the numeric
// keypad's plus key) or "{VK<n>}" for any virtual-key code n in decimal. Names are case-sensitive
// and nothing else is allowed, spaces included; the empty string is valid and sends nothing.
// Within a group all keys go down in the written order and then come up in the same order:
// "{CONTROL}+{ALT}+d" is one chord, "ab" types a then b.
//
// The string is parsed once, when the object is made, into an array of input records; each
// DoSimulation hands that array to the system in one call. A string that fails to parse is
// logged and leaves a simulator that sends nothing: the constructor reports nothing to its caller.
//
//   KeyPressSimulator keys(L"{CONTROL}+{ALT}+d", /*fromConfig=*/false, L"MyApp");
//   if (keys.DoSimulation() != KeyPressSimulator::KPS_OK) { ... }
//
// Logging: every failure is written through the Logger at ERROR in the caller's debug area, with
// the status or system error number in decimal as the entry's data; most messages begin with
// "KeyPressAction::" (support tools search for those texts). A key without a scan code is a WARN.
//
// Threads: an object belongs to one thread at a time; distinct objects are independent. Nothing
// is thrown, except "Auto lock failed." from OsAutoLock inside the Logger (see OsAutoLock.h).
#ifndef TAVROMEDIVANEUTIL_KEYPRESSSIMULATOR_H
#define TAVROMEDIVANEUTIL_KEYPRESSSIMULATOR_H

#include <cstdint>
#include <string>
#include <vector>

#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API KeyPressSimulator {
 public:
  // The result of every operation. The values are fixed: programs store and compare them.
  enum KPS_Status : std::int32_t {
    KPS_OK = 0,
    KPS_END_OF_INPUT = -3,     // no element at the position asked for (never returned publicly)
    KPS_OUT_OF_MEMORY = -20,   // the input array could not be allocated
    KPS_INVALID_FORMAT = -40,  // the string breaks the syntax or names an unknown key
    KPS_SEND_FAILED = -1000,   // the system refused the input
  };

  // The system's keyboard input record (Windows INPUT), declared here with exactly its layout
  // because the array is handed to the system as it stands: a 32-bit type, then the union of the
  // mouse, keyboard and hardware records; 40 bytes in a 64-bit process. Only `ki` is used.
  struct MY_INPUT {
    struct MY_MOUSEINPUT {
      std::int32_t dx;
      std::int32_t dy;
      std::uint32_t mouseData;
      std::uint32_t dwFlags;
      std::uint32_t time;
      std::uintptr_t dwExtraInfo;
    };
    struct MY_KEYBDINPUT {
      std::uint16_t wVk;           // virtual-key code
      std::uint16_t wScan;         // scan code of the key, 0 when the layout has none
      std::uint32_t dwFlags;       // 0: key down; KEYEVENTF_KEYUP (2): key up
      std::uint32_t time;          // always 0: the system stamps the event
      std::uintptr_t dwExtraInfo;  // always 0
    };
    struct MY_HARDWAREINPUT {
      std::uint32_t uMsg;
      std::uint16_t wParamL;
      std::uint16_t wParamH;
    };

    std::uint32_t type;  // INPUT_KEYBOARD (1) for every record made here
    union {
      MY_MOUSEINPUT mi;
      MY_KEYBDINPUT ki;
      MY_HARDWAREINPUT hi;
    };
  };

  // With `fromConfig` false, `input` is the key press string; with `fromConfig` true, it is a
  // configuration key whose value (read through Config::GetInstance(true, false)) is the string,
  // and a missing key means no keystrokes. `logArea` is the debug area of every entry this
  // object logs. A string that does not parse is logged ("Could not parse the input array for
  // key press action.  Error is:" or, from configuration, "Could not get the input array for key
  // press action.  Error is:", with the status) and the simulator then sends nothing.
  KeyPressSimulator(const std::wstring& input, bool fromConfig, const std::wstring& logArea);

  // Frees the input array.
  virtual ~KeyPressSimulator();

  // The object owns its array; copies would free it twice.
  KeyPressSimulator(const KeyPressSimulator&) = delete;
  KeyPressSimulator& operator=(const KeyPressSimulator&) = delete;

  // Sends the prepared records to the system in one call; every call sends the same records.
  // KPS_OK without calling the system when there is nothing to send, and KPS_OK when the system
  // took any of the records (a partial insertion is not detected). KPS_SEND_FAILED when it took
  // none: the system error number is logged after "KeyPressSimulator::DoSimulation - SendInput
  // failed, lasterror is: ". Linux has no input back end: there every non-empty send fails.
  KPS_Status DoSimulation();

  // Syntax check of a key press string: KPS_OK or KPS_INVALID_FORMAT, nothing else. Sends
  // nothing; the reasons a string is refused are logged in `logArea` as for a simulator.
  static KPS_Status ValidateInputString(const std::wstring& input, const std::wstring& logArea);

 private:
  // Parsing, in the order a string passes through it.
  KPS_Status GetInputString(std::wstring& input);
  KPS_Status GetInputStringElement(const std::wstring& input, std::wstring& element, int position,
                                   int* lastPosition);
  KPS_Status GetInputStringElementVector(const std::wstring& input, std::vector<std::wstring>& elements,
                                         int position, int* lastPosition);
  KPS_Status ParseInputString(const std::wstring& input, std::vector<MY_INPUT>& inputs);

  // Keys to records.
  KPS_Status GetVirtKeyCode(const std::wstring& element, unsigned short* virtKey);
  KPS_Status ElementsToInput(const std::vector<std::wstring>& elements, std::vector<MY_INPUT>& inputs);

  // The array the object owns (malloc and free).
  KPS_Status ParseInputString(const std::wstring& input, MY_INPUT** array, int* count);
  KPS_Status GetInputArray(MY_INPUT** array, int* count);
  KPS_Status FreeInputArray(MY_INPUT** array);

  std::wstring mConfigKey;  // set only when the string comes from configuration
  MY_INPUT* mInputArray;    // mInputCount records, or null
  int mInputCount;          // 0 when nothing is to be sent
  std::wstring mLogArea;

  friend class KeyPressRecords;            // mvutil and the tests read the prepared records
  friend class KeyPressSimulatorTestPeer;  // white-box tests run the parsers one step at a time
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_KEYPRESSSIMULATOR_H
