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

// Marks a member that is defined in its header, so that callers inline it, but that earlier
// versions defined in the library: while the library itself is built, the member is still emitted
// out of line and exported, so programs built against those versions keep finding its symbol.
// Both need saying: GCC leaves the inline members of a dllexport class out of a DLL's exports,
// and on ELF platforms emits an inline function only where some call to it is not inlined.
// Callers see no attribute.
#if defined(TAVROMEDIVANEUTIL_BUILDING) && defined(_WIN32)
#define TAVRO_KVO_UTIL_KEEP_EXPORTED __declspec(dllexport)
#elif defined(TAVROMEDIVANEUTIL_BUILDING) && defined(__GNUC__)
#define TAVRO_KVO_UTIL_KEEP_EXPORTED __attribute__((used))
#else
#define TAVRO_KVO_UTIL_KEEP_EXPORTED
#endif

#endif  // TAVROMEDIVANEUTIL_EXPORT_H
