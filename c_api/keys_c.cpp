// The key-press functions of the C interface over KeyPressSimulator.
#include <string>
#include <vector>

#include "KeyPressSimulator.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "keypress/key_press_records.h"

namespace {

using Tavro_KVO_Util::KeyPressRecords;
using Tavro_KVO_Util::KeyPressSimulator;
using Tavro_KVO_Util::c_api::CopyRecordsOut;
using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::Present;
using Tavro_KVO_Util::c_api::WideArgument;

// The simulator's statuses as the C interface returns them: its out-of-memory value is the
// configuration store's "write not allowed" value, so the shared TMU_OUT_OF_MEMORY stands for it.
tmu_status FromSimulator(KeyPressSimulator::KPS_Status status) {
  return status == KeyPressSimulator::KPS_OUT_OF_MEMORY ? TMU_OUT_OF_MEMORY : static_cast<tmu_status>(status);
}

// The constructor reports nothing when a string does not parse (it logs, and the simulator then
// sends nothing, successfully). A literal string is therefore checked first, so that the caller
// hears of it; a string from the configuration is the simulator's to read.
bool Refused(const std::wstring& keys, bool fromConfig, const std::wstring& logArea) {
  return !fromConfig && KeyPressSimulator::ValidateInputString(keys, logArea) != KeyPressSimulator::KPS_OK;
}

}  // namespace

extern "C" {

tmu_status tmu_keys_validate(const char* keys, const char* log_area) {
  return Guarded("tmu_keys_validate", [&]() -> tmu_status {
    std::wstring wideKeys;
    std::wstring wideArea;
    if (!WideArgument("tmu_keys_validate", "keys", keys, wideKeys) ||
        !WideArgument("tmu_keys_validate", "log_area", log_area, wideArea)) {
      return TMU_INVALID_ARGUMENT;
    }
    return FromSimulator(KeyPressSimulator::ValidateInputString(wideKeys, wideArea));
  });
}

tmu_status tmu_keys_records(const char* keys, int from_config, const char* log_area, tmu_key_record* records,
                            size_t capacity, size_t* count) {
  return Guarded("tmu_keys_records", [&]() -> tmu_status {
    std::wstring wideKeys;
    std::wstring wideArea;
    if (!Present("tmu_keys_records", "count", count) ||
        (capacity > 0 && !Present("tmu_keys_records", "records", records)) ||
        !WideArgument("tmu_keys_records", "keys", keys, wideKeys) ||
        !WideArgument("tmu_keys_records", "log_area", log_area, wideArea)) {
      return TMU_INVALID_ARGUMENT;
    }
    *count = 0;
    if (Refused(wideKeys, from_config != 0, wideArea)) return TMU_KPS_INVALID_FORMAT;
    const KeyPressSimulator simulator(wideKeys, from_config != 0, wideArea);
    std::vector<tmu_key_record> prepared;
    for (const KeyPressSimulator::MY_INPUT& input : KeyPressRecords::Of(simulator)) {
      prepared.push_back({input.ki.wVk, input.ki.wScan, input.ki.dwFlags});
    }
    return CopyRecordsOut(prepared, records, capacity, count);
  });
}

tmu_status tmu_keys_send(const char* keys, int from_config, const char* log_area) {
  return Guarded("tmu_keys_send", [&]() -> tmu_status {
    std::wstring wideKeys;
    std::wstring wideArea;
    if (!WideArgument("tmu_keys_send", "keys", keys, wideKeys) ||
        !WideArgument("tmu_keys_send", "log_area", log_area, wideArea)) {
      return TMU_INVALID_ARGUMENT;
    }
    if (Refused(wideKeys, from_config != 0, wideArea)) return TMU_KPS_INVALID_FORMAT;
    KeyPressSimulator simulator(wideKeys, from_config != 0, wideArea);
    return FromSimulator(simulator.DoSimulation());
  });
}

}  // extern "C"
