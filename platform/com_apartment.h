// Platform service: the calling thread's COM apartment.
//
// Windows: CoInitialize / CoUninitialize. Linux has no COM; nothing needs initialising there.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_COM_APARTMENT_H
#define TAVROMEDIVANEUTIL_PLATFORM_COM_APARTMENT_H

namespace Tavro_KVO_Util::platform {

enum class ComStart {
  kInitialized,  // this call initialised COM (or it already was, in the same model): undo it later
  kOtherModel,   // the thread already runs another model (RPC_E_CHANGED_MODE): usable, do not undo
  kNotNeeded,    // the system has no COM (Linux): usable, nothing to undo
  kFailed,       // COM cannot be used on this thread
};

// Initialises COM for the calling thread in the apartment model.
ComStart StartComApartment();

// Undoes one kInitialized start on the calling thread.
void EndComApartment();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_COM_APARTMENT_H
