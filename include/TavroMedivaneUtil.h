// TavroMedivaneUtil: the shared utility library of the point-of-care tablet's programs.
//
// Including this header gives every exported class. Each class also has a header of its own.
// Everything lives in namespace Tavro_KVO_Util except mvButtonType, mvImageType and mvImageFormat,
// which the product's programs share. No function of the library throws, with the single
// exception of OsAutoLock's constructor (see OsAutoLock.h).
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
#include "FileModTime.h"
#include "ImageUtil.h"
#include "KeyPressSimulator.h"
#include "Logger.h"
#include "OsAutoLock.h"
#include "OsCriticalSection.h"
#include "OsLockableObject.h"
#include "TavroMedivaneUtilExport.h"
#include "mvButtonType.h"
#include "mvImageFormat.h"

#endif  // TAVROMEDIVANEUTIL_H
