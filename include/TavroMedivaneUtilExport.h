// Export macro for the classes of TavroMedivaneUtil.
//
// On Windows every exported class is marked dllexport while the DLL itself is built and dllimport
// for callers, so member functions and static data members (such as Crc32::mCrc32Table) resolve
// through the import library. On other platforms the macro expands to nothing.
#ifndef TAVROMEDIVANEUTIL_EXPORT_H
#define TAVROMEDIVANEUTIL_EXPORT_H

#if defined(_WIN32)
#if defined(TAVROMEDIVANEUTIL_BUILDING)
#define TAVRO_KVO_UTIL_API __declspec(dllexport)
#else
#define TAVRO_KVO_UTIL_API __declspec(dllimport)
#endif
#else
#define TAVRO_KVO_UTIL_API
#endif

#endif  // TAVROMEDIVANEUTIL_EXPORT_H
