// Read-only access to the input records a KeyPressSimulator prepared, for the tools and tests
// that show or check them without sending them.
//
// Header-only on purpose: it reads two data members of the object and calls nothing inside the
// library, so a program that links only the library's exports can use it.
#ifndef TAVROMEDIVANEUTIL_KEYPRESS_KEY_PRESS_RECORDS_H
#define TAVROMEDIVANEUTIL_KEYPRESS_KEY_PRESS_RECORDS_H

#include <vector>

#include "KeyPressSimulator.h"

namespace Tavro_KVO_Util {

class KeyPressRecords {
 public:
  // The records DoSimulation would send, in order (none when the string did not parse).
  static std::vector<KeyPressSimulator::MY_INPUT> Of(const KeyPressSimulator& simulator) {
    if (simulator.mInputArray == nullptr || simulator.mInputCount <= 0) return {};
    return std::vector<KeyPressSimulator::MY_INPUT>(simulator.mInputArray,
                                                    simulator.mInputArray + simulator.mInputCount);
  }

  // mInputCount as it stands.
  static int Count(const KeyPressSimulator& simulator) { return simulator.mInputCount; }
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_KEYPRESS_KEY_PRESS_RECORDS_H
