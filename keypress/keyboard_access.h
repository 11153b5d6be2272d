// What KeyPressSimulator asks of the keyboard platform service, with a seam for tests.
//
// Delivered keystrokes can be observed only on Windows and only through a window or a hook; the
// seam lets every build check the exact records DoSimulation hands over and the failure paths
// that a working system never takes.
#ifndef TAVROMEDIVANEUTIL_KEYPRESS_KEYBOARD_ACCESS_H
#define TAVROMEDIVANEUTIL_KEYPRESS_KEYBOARD_ACCESS_H

#include <mutex>
#include <vector>

#include "KeyPressSimulator.h"

namespace Tavro_KVO_Util::internal {

// platform::SendInputRecords over the simulator's records, or the recorder's answer.
unsigned int SendKeyRecords(unsigned int count, const KeyPressSimulator::MY_INPUT* records, int recordSize,
                            unsigned long& error);

// platform::WideToAnsiCodePage, or the recorder's failure.
int ConvertToAnsi(const wchar_t* text, char* out, int outSize, unsigned long& error);

// Test seam: while an object of this class lives, sends are recorded here instead of reaching the
// system, and answered as set below (by default: every record inserted). Not nestable.
class KeyboardRecorderForTesting {
 public:
  struct Send {
    unsigned int count;
    int recordSize;
    std::vector<KeyPressSimulator::MY_INPUT> records;  // the `count` records as handed over
  };

  KeyboardRecorderForTesting();
  ~KeyboardRecorderForTesting();
  KeyboardRecorderForTesting(const KeyboardRecorderForTesting&) = delete;
  KeyboardRecorderForTesting& operator=(const KeyboardRecorderForTesting&) = delete;

  // Later sends report `inserted` records inserted; 0 reports the failure `error`.
  void AnswerSends(unsigned int inserted, unsigned long error = 0);
  // ANSI conversions fail with `error` after the next `successes` ones (error 0: all convert).
  void FailConversions(unsigned long error, int successes = 0);

  std::vector<Send> Sends() const;

  unsigned int RecordSend(unsigned int count, const KeyPressSimulator::MY_INPUT* records, int recordSize,
                          unsigned long& error);
  bool FailsConversion(unsigned long& error);

 private:
  mutable std::mutex mMutex;
  std::vector<Send> mSends;
  bool mAnswerAll = true;
  unsigned int mInserted = 0;
  unsigned long mSendError = 0;
  unsigned long mConversionError = 0;
  int mConversionsBeforeFailure = 0;
};

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_KEYPRESS_KEYBOARD_ACCESS_H
