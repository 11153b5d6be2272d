// Test seam, used only by the test that kills a process in the middle of rewriting the shared
// configuration, to kill it at the one moment that matters: after WriteWholeFile has emptied its
// file (or ReplaceWholeFile has created its temporary file) and before a byte is written.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_TRUNCATION_HOOK_H
#define TAVROMEDIVANEUTIL_PLATFORM_TRUNCATION_HOOK_H

namespace Tavro_KVO_Util::platform {

// Sets the function run at that moment; null (the default) runs nothing.
void SetAfterTruncationHookForTesting(void (*hook)());

// Runs the hook, if one is set. Called by the file back ends only.
void RunAfterTruncationHook();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_TRUNCATION_HOOK_H
