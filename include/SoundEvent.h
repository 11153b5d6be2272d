// SoundEvent: the product's device sounds (RFID reader, barcode scanner, camera, buttons),
// registered in the current user's sound scheme and played from it.
//
// The sounds are not wired into the programs: each event is an application event of the scheme
// node "AppEvents\\Schemes\\Apps\\Tavro Korvina" under the current user, with a ".Current" key (the
// sound that plays; the user may change or silence it in the system's sound settings) and a
// ".Default" key (the product's sound, for the settings' restore function). Both hold the table's
// path, unexpanded, as an expandable string, e.g. "%KVO_INSTALL_DIR%Sounds\\Error.wav":
// KVO_INSTALL_DIR must end in a path separator, since none is inserted after it.
//
//   Tavro_KVO_Util::SoundEvent::Register();                                  // at installation
//   Tavro_KVO_Util::SoundEvent::Play(Tavro_KVO_Util::SOUND_BARCODE_READ_SUCCESS, true);
//
// Windows: the registry (HKEY_CURRENT_USER) and PlaySoundW. Linux: the same key paths, value types
// and messages in one file, "$XDG_CONFIG_HOME/TavroMedivane/sound-scheme.ini" (or
// "~/.config/..."), changed atomically and safely between processes; playback through libcanberra
// on the user's sound server, with "\\" in paths read as "/".
//
// Logging: area "SoundEvent"; failures at ERROR (2) with the registry's error code, in these exact
// texts, which support tools search for (the %s is the key name or value, %d the code):
//   "SoundEvent::CreateKey: Unable to create registry key=%s err=%d"
//   "SoundEvent::CreateKey: Unable to set value=%s for registry key=%s err=%d"
//   "SoundEvent::DeleteKeyRecursive: Unable to open registry key=%s err=%d"
//   "SoundEvent::DeleteKeyRecursive: Unable to delete registry key=%s err=%d"
//   "SoundEvent::Play: no entry for eventType=%d"
//   "SoundEvent::Play: Unable to open registry key='%s' err=%d"
//   "SoundEvent::Play: Unable to read registry key='%s' err=%d"
// and at INFO (4) "SoundEvent::Register: Creating sound event entries for scheme='%s'" (each row),
// "SoundEvent::Play: Creating sound event entries for scheme='%s'" and "SoundEvent::Play:
// Deleting obsolete registry keys."; at DEBUG (5) "SoundEvent::Play: Playing sound '%s' ('%s')."
//
// Threads: every member is static and takes no lock; calls may come from any thread. Nothing is
// thrown and nothing is returned: every failure is logged.
#ifndef TAVROMEDIVANEUTIL_SOUNDEVENT_H
#define TAVROMEDIVANEUTIL_SOUNDEVENT_H

#include <cstdint>
#include <string>

#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

// The events. The numbers are fixed (other programs store them); each event's key name in the
// scheme is given beside it. Values outside 0..26 play the ".Default" event.
enum SoundEventType : std::int32_t {
  SOUND_DEFAULT = 0,                  // ".Default": the scheme's own default entry
  SOUND_ERROR = 1,                    // "Error"
  SOUND_RFID_READ_SUCCESS = 2,        // "Rfid Read Success"
  SOUND_RFID_READ_FAILURE = 3,        // "Rfid Read Failure"
  SOUND_RFID_WRITE_SUCCESS = 4,       // "Rfid Write Success"
  SOUND_RFID_WRITE_FAILURE = 5,       // "Rfid Write Failure"
  SOUND_RFID_SCAN_START = 6,          // "Rfid Scan Start"
  SOUND_RFID_SCAN_STOP = 7,           // "Rfid Scan Stop"
  SOUND_RFID_TAG_FOUND = 8,           // "Rfid Tag found"
  SOUND_RFID_WAIT_FOR_TIMED_OUT = 9,  // "Rfid WaitFor timed out"
  SOUND_RFID_ERROR = 10,              // "Rfid Error"
  SOUND_BARCODE_CONFIGURATION = 11,   // "Barcode Configuration"
  SOUND_BARCODE_READ_SUCCESS = 12,    // "Barcode Read Success"
  SOUND_BARCODE_READ_FAILURE = 13,    // "Barcode Read Failure"
  SOUND_BARCODE_SCAN_START = 14,      // "Barcode Scan Start"
  // 15 and 16 share one entry, "Barcode Scan Stop Found": whichever was written last (after a
  // full registration, the not-found sound) plays for both. Kept as it is: installed schemes and
  // users' own choices are stored under that one name.
  SOUND_BARCODE_SCAN_STOP_FOUND = 15,      // "Barcode Scan Stop Found"
  SOUND_BARCODE_SCAN_STOP_NOT_FOUND = 16,  // "Barcode Scan Stop Found"
  SOUND_BARCODE_WAIT_SUCCESS = 17,         // "Barcode Wait Success"; registered with an empty path
  SOUND_BARCODE_WAIT_TIMEOUT = 18,         // "Barcode Wait Timeout"
  SOUND_BARCODE_ERROR = 19,                // "Barcode Error"
  SOUND_CAMERA_PREVIEW_START = 20,         // "Camera Preview Start"
  SOUND_CAMERA_PREVIEW_STOP = 21,          // "Camera Preview Stop"
  SOUND_CAMERA_FRAME_CAPTURED = 22,        // "Camera Frame Captured"
  SOUND_CAMERA_CAPTURE_FRAME_ERROR = 23,   // "Camera Capture Frame Error"
  SOUND_CAMERA_ERROR = 24,                 // "Camera Error"
  SOUND_BUTTON_CLICK = 25,                 // "Button Click"
  SOUND_INAPPROPRIATE_BUTTON_CLICK = 26,   // "Inappropriate Button Click"
};

// One row of the fixed event table.
struct SoundEventTableEntry {
  SoundEventType type;
  const wchar_t* name;     // the event's key name in the scheme (also what is logged)
  const wchar_t* wavPath;  // "%KVO_INSTALL_DIR%Sounds\\<file>.wav", expanded only when played
};

class TAVRO_KVO_UTIL_API SoundEvent {
 public:
  // The class has no state: construction, destruction and assignment do nothing.
  SoundEvent();
  virtual ~SoundEvent();
  SoundEvent& operator=(const SoundEvent& other);

  // Writes the ".Current" and ".Default" keys of all 27 rows, in table order, overwriting what
  // is there (so a user's own choices are replaced). Logs one INFO line per row; a row that fails
  // is logged and the others are still written.
  static void Register();

  // Deletes the node "AppEvents\\Schemes\\Apps\\Tavro Korvina" with everything beneath it.
  // Where the node does not exist, logs "Unable to open registry key" once and changes nothing.
  static void Unregister();

  // Plays, asynchronously, the file that the event's ".Current" key names at this moment (an
  // expandable string is expanded first; a plain string is played as it stands). `interrupt`
  // true stops a sound of this process that is still playing; false keeps it and drops this
  // request. Repairs the scheme first when the event's ".Current" key is missing: deletes the
  // node "AppEvents\\Schemes\\Apps\\Tavro Medivane SDK" left by earlier releases, then registers
  // all rows if the application node is missing too, or else only this event's two keys.
  // A value longer than 255 characters is not played ("Unable to read registry key"). A file
  // that cannot be played is left to the system's fall-back (Windows plays its default sound).
  static void Play(SoundEventType eventType, bool interrupt);

 private:
  // The row of `eventType`, searched in table order; a value outside 0..26 gives the ".Default"
  // row. Null only if no row has the type.
  static const SoundEventTableEntry* GetSoundEventEntry(SoundEventType eventType);
  // "AppEvents\\Schemes\\Apps\\Tavro Korvina", followed by "\\" and `eventName` unless it is null.
  static void GetSchemeKeyName(const wchar_t* eventName, std::wstring& keyName);
  // Creates (or opens) `keyName` and sets its default value to `value` as an expandable string;
  // returns the system's error code (0 on success), after logging a failure.
  static long CreateKey(const std::wstring& keyName, const std::wstring& value);
  // Deletes `keyName` with all its subkeys. Returns false on success and true on failure: the
  // inverted sense is what its own recursion tests for.
  static bool DeleteKeyRecursive(const std::wstring& keyName);
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_SOUNDEVENT_H
