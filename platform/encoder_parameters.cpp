// No OS calls: the parameter GUIDs both back ends hand over, and the test recorder of the blocks.
#include <atomic>

#include "platform/image_codecs.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::atomic<EncoderParameterRecorderForTesting*> gRecorder{nullptr};

}  // namespace

const ImageEncoderClsid kEncoderQuality = {
    0x1d5be4b5, 0xfa4a, 0x452d, {0x9c, 0xdd, 0x5d, 0xb3, 0x51, 0x05, 0xe7, 0xeb}};
const ImageEncoderClsid kEncoderColorDepth = {
    0x66087055, 0xad66, 0x4c7c, {0x9a, 0x18, 0x38, 0xa2, 0x31, 0x0b, 0x83, 0x37}};

EncoderParameterRecorderForTesting::EncoderParameterRecorderForTesting() { gRecorder.store(this); }

EncoderParameterRecorderForTesting::~EncoderParameterRecorderForTesting() { gRecorder.store(nullptr); }

void RecordEncoderParameterBlock(const EncoderParameterBlock& block) {
  if (EncoderParameterRecorderForTesting* recorder = gRecorder.load()) recorder->Record(block);
}

}  // namespace Tavro_KVO_Util::platform
