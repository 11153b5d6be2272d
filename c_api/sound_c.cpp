// The sound functions of the C interface over SoundEvent and its table.
#include <string>

#include "SoundEvent.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"
#include "sound/sound_event_table.h"

namespace {

using Tavro_KVO_Util::SoundEvent;
using Tavro_KVO_Util::SoundEventType;
using Tavro_KVO_Util::c_api::Guarded;
using Tavro_KVO_Util::c_api::Present;
using Tavro_KVO_Util::c_api::WideArgument;

}  // namespace

extern "C" {

tmu_status tmu_sound_register(void) {
  return Guarded("tmu_sound_register", []() -> tmu_status {
    SoundEvent::Register();
    return TMU_OK;
  });
}

tmu_status tmu_sound_unregister(void) {
  return Guarded("tmu_sound_unregister", []() -> tmu_status {
    SoundEvent::Unregister();
    return TMU_OK;
  });
}

tmu_status tmu_sound_play(int32_t event, int interrupt) {
  return Guarded("tmu_sound_play", [&]() -> tmu_status {
    SoundEvent::Play(static_cast<SoundEventType>(event), interrupt != 0);
    return TMU_OK;
  });
}

tmu_status tmu_sound_event_by_name(const char* name, int32_t* event) {
  return Guarded("tmu_sound_event_by_name", [&]() -> tmu_status {
    std::wstring wideName;
    if (!Present("tmu_sound_event_by_name", "event", event) ||
        !WideArgument("tmu_sound_event_by_name", "name", name, wideName)) {
      return TMU_INVALID_ARGUMENT;
    }
    bool found = false;
    for (const auto& row : Tavro_KVO_Util::internal::kSoundEventTable) {
      if (wideName == row.name && (!found || row.type < *event)) {
        *event = row.type;
        found = true;
      }
    }
    return found ? TMU_OK : TMU_NOT_FOUND;
  });
}

}  // extern "C"
