// TavroMedivaneUtil: the shared utility library of the point-of-care tablet's programs.
//
// Including this header gives every exported class. Each class also has a header of its own.
// Everything lives in namespace Tavro_KVO_Util except mvButtonType, mvImageType and mvImageFormat,
// which the product's programs share, and the dialog layout class DlgResize with its record
// DlgResizeInfo, which exist on Windows only and are included here only there. No function of the
// library throws, with the single exception of OsAutoLock's constructor (see OsAutoLock.h).
#ifndef TAVROMEDIVANEUTIL_H
#define TAVROMEDIVANEUTIL_H

#include "ButtonActionInfo.h"
#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPid.h"
#include "ButtonActionInfoPidList.h"
#include "CFGStatus.h"
#include "CRC16.h"
#include "Config.h"
#include "Crc32.h"
#ifdef _WIN32
#include "DlgResize.h"
#endif
#include "FileModTime.h"
#include "ImageUtil.h"
#include "KeyPressSimulator.h"
#include "Logger.h"
#include "OsAutoLock.h"
#include "OsCriticalSection.h"
#include "OsLockableObject.h"
#include "SoundEvent.h"
#include "TavroMedivaneUtilExport.h"
#include "mvButtonType.h"
#include "mvImageFormat.h"

#endif  // TAVROMEDIVANEUTIL_H
