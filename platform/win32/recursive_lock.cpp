#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/recursive_lock.h"

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

static_assert(sizeof(CRITICAL_SECTION) == kRecursiveLockSize, "storage must hold a CRITICAL_SECTION");
static_assert(alignof(CRITICAL_SECTION) <= kRecursiveLockAlign, "storage is under-aligned");

CRITICAL_SECTION* AsSection(void* storage) { return static_cast<CRITICAL_SECTION*>(storage); }

}  // namespace

void InitRecursiveLock(void* storage) { InitializeCriticalSection(AsSection(storage)); }

void DestroyRecursiveLock(void* storage) { DeleteCriticalSection(AsSection(storage)); }

void EnterRecursiveLock(void* storage) { EnterCriticalSection(AsSection(storage)); }

bool TryEnterRecursiveLock(void* storage) { return TryEnterCriticalSection(AsSection(storage)) != 0; }

void LeaveRecursiveLock(void* storage) { LeaveCriticalSection(AsSection(storage)); }

}  // namespace Tavro_KVO_Util::platform
