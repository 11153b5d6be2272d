#include "keypress/keyboard_access.h"

#include <atomic>

#include "platform/keyboard_input.h"

namespace Tavro_KVO_Util::internal {
namespace {

std::atomic<KeyboardRecorderForTesting*> gRecorder{nullptr};

}  // namespace

unsigned int SendKeyRecords(unsigned int count, const KeyPressSimulator::MY_INPUT* records, int recordSize,
                            unsigned long& error) {
  if (KeyboardRecorderForTesting* recorder = gRecorder.load(std::memory_order_acquire)) {
    return recorder->RecordSend(count, records, recordSize, error);
  }
  return platform::SendInputRecords(count, records, recordSize, error);
}

int ConvertToAnsi(const wchar_t* text, char* out, int outSize, unsigned long& error) {
  if (KeyboardRecorderForTesting* recorder = gRecorder.load(std::memory_order_acquire)) {
    if (recorder->FailsConversion(error)) return 0;
  }
  return platform::WideToAnsiCodePage(text, out, outSize, error);
}

KeyboardRecorderForTesting::KeyboardRecorderForTesting() { gRecorder.store(this, std::memory_order_release); }

KeyboardRecorderForTesting::~KeyboardRecorderForTesting() {
  gRecorder.store(nullptr, std::memory_order_release);
}

void KeyboardRecorderForTesting::AnswerSends(unsigned int inserted, unsigned long error) {
  std::lock_guard<std::mutex> hold(mMutex);
  mAnswerAll = false;
  mInserted = inserted;
  mSendError = error;
}

void KeyboardRecorderForTesting::FailConversions(unsigned long error, int successes) {
  std::lock_guard<std::mutex> hold(mMutex);
  mConversionError = error;
  mConversionsBeforeFailure = successes;
}

std::vector<KeyboardRecorderForTesting::Send> KeyboardRecorderForTesting::Sends() const {
  std::lock_guard<std::mutex> hold(mMutex);
  return mSends;
}

unsigned int KeyboardRecorderForTesting::RecordSend(unsigned int count,
                                                    const KeyPressSimulator::MY_INPUT* records,
                                                    int recordSize, unsigned long& error) {
  std::lock_guard<std::mutex> hold(mMutex);
  mSends.push_back({count, recordSize, std::vector<KeyPressSimulator::MY_INPUT>(records, records + count)});
  if (mAnswerAll) return count;
  if (mInserted == 0) error = mSendError;
  return mInserted;
}

bool KeyboardRecorderForTesting::FailsConversion(unsigned long& error) {
  std::lock_guard<std::mutex> hold(mMutex);
  if (mConversionError == 0) return false;
  if (mConversionsBeforeFailure > 0) {
    --mConversionsBeforeFailure;
    return false;
  }
  error = mConversionError;
  return true;
}

}  // namespace Tavro_KVO_Util::internal
