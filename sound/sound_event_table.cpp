#include "sound/sound_event_table.h"

namespace Tavro_KVO_Util::internal {

// Installed schemes and users' choices are stored under these names and paths; keep them exact,
// including the three odd rows: 15 and 16 share one name (the row written last wins), 17 has no
// sound, and 0 is the scheme's own ".Default" entry.
const SoundEventTableEntry kSoundEventTable[kSoundEventRows] = {
    {SOUND_DEFAULT, L".Default", L"%KVO_INSTALL_DIR%Sounds\\Default.wav"},
    {SOUND_ERROR, L"Error", L"%KVO_INSTALL_DIR%Sounds\\Error.wav"},
    {SOUND_RFID_TAG_FOUND, L"Rfid Tag found", L"%KVO_INSTALL_DIR%Sounds\\RfidTagFound.wav"},
    {SOUND_RFID_WAIT_FOR_TIMED_OUT, L"Rfid WaitFor timed out",
     L"%KVO_INSTALL_DIR%Sounds\\RfidWaitForTimedOut.wav"},
    {SOUND_RFID_READ_SUCCESS, L"Rfid Read Success", L"%KVO_INSTALL_DIR%Sounds\\RfidReadSuccess.wav"},
    {SOUND_RFID_READ_FAILURE, L"Rfid Read Failure", L"%KVO_INSTALL_DIR%Sounds\\RfidReadFailure.wav"},
    {SOUND_RFID_WRITE_SUCCESS, L"Rfid Write Success", L"%KVO_INSTALL_DIR%Sounds\\RfidWriteSuccess.wav"},
    {SOUND_RFID_WRITE_FAILURE, L"Rfid Write Failure", L"%KVO_INSTALL_DIR%Sounds\\RfidWriteFailure.wav"},
    {SOUND_RFID_SCAN_START, L"Rfid Scan Start", L"%KVO_INSTALL_DIR%Sounds\\RfidScanStart.wav"},
    {SOUND_RFID_SCAN_STOP, L"Rfid Scan Stop", L"%KVO_INSTALL_DIR%Sounds\\RfidScanStop.wav"},
    {SOUND_RFID_ERROR, L"Rfid Error", L"%KVO_INSTALL_DIR%Sounds\\RfidError.wav"},
    {SOUND_BARCODE_CONFIGURATION, L"Barcode Configuration",
     L"%KVO_INSTALL_DIR%Sounds\\BarcodeConfiguration.wav"},
    {SOUND_BARCODE_READ_SUCCESS, L"Barcode Read Success", L"%KVO_INSTALL_DIR%Sounds\\BarcodeReadSuccess.wav"},
    {SOUND_BARCODE_READ_FAILURE, L"Barcode Read Failure", L"%KVO_INSTALL_DIR%Sounds\\BarcodeReadFailure.wav"},
    {SOUND_BARCODE_SCAN_START, L"Barcode Scan Start", L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStart.wav"},
    {SOUND_BARCODE_SCAN_STOP_FOUND, L"Barcode Scan Stop Found",
     L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopFound.wav"},
    {SOUND_BARCODE_SCAN_STOP_NOT_FOUND, L"Barcode Scan Stop Found",
     L"%KVO_INSTALL_DIR%Sounds\\BarcodeScanStopNotFound.wav"},
    {SOUND_BARCODE_WAIT_SUCCESS, L"Barcode Wait Success", L""},
    {SOUND_BARCODE_WAIT_TIMEOUT, L"Barcode Wait Timeout", L"%KVO_INSTALL_DIR%Sounds\\BarcodeWaitTimeout.wav"},
    {SOUND_BARCODE_ERROR, L"Barcode Error", L"%KVO_INSTALL_DIR%Sounds\\BarcodeError.wav"},
    {SOUND_CAMERA_PREVIEW_START, L"Camera Preview Start", L"%KVO_INSTALL_DIR%Sounds\\CameraPreviewStart.wav"},
    {SOUND_CAMERA_PREVIEW_STOP, L"Camera Preview Stop", L"%KVO_INSTALL_DIR%Sounds\\CameraPreviewStop.wav"},
    {SOUND_CAMERA_FRAME_CAPTURED, L"Camera Frame Captured",
     L"%KVO_INSTALL_DIR%Sounds\\CameraFrameCaptured.wav"},
    {SOUND_CAMERA_CAPTURE_FRAME_ERROR, L"Camera Capture Frame Error",
     L"%KVO_INSTALL_DIR%Sounds\\CameraCaptureFrameError.wav"},
    {SOUND_CAMERA_ERROR, L"Camera Error", L"%KVO_INSTALL_DIR%Sounds\\CameraError.wav"},
    {SOUND_BUTTON_CLICK, L"Button Click", L"%KVO_INSTALL_DIR%Sounds\\ButtonClick.wav"},
    {SOUND_INAPPROPRIATE_BUTTON_CLICK, L"Inappropriate Button Click",
     L"%KVO_INSTALL_DIR%Sounds\\ButtonClickInappropriate.wav"},
};

const SoundEventTableEntry* FindSoundEventRow(SoundEventType type) {
  const SoundEventType wanted = (type < 0 || type > 26) ? SOUND_DEFAULT : type;
  for (const SoundEventTableEntry& row : kSoundEventTable) {
    if (row.type == wanted) return &row;
  }
  return nullptr;
}

}  // namespace Tavro_KVO_Util::internal
