#include "support/allocation_failures.h"

#include <cstdlib>
#include <new>

namespace {

// Per thread, so that nothing another thread allocates can take the failure.
thread_local int gUntilFailure = 0;
thread_local std::size_t gFailFromSize = 0;  // 0: no size rule armed
thread_local int gLetThrough = 0;            // allocations of that size that succeed first
thread_local bool gSizedFailed = false;

void* Allocate(std::size_t size) noexcept {
  if (gUntilFailure > 0 && --gUntilFailure == 0) return nullptr;
  if (gFailFromSize != 0 && size >= gFailFromSize && gLetThrough-- == 0) {
    gFailFromSize = 0;
    gSizedFailed = true;
    return nullptr;
  }
  return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

namespace Tavro_KVO_Util::testing {

void FailNthAllocation(int n) { gUntilFailure = n; }

int AllocationsUntilFailure() { return gUntilFailure; }

void FailAllocationFromSize(std::size_t minimumSize, int letThrough) {
  gSizedFailed = false;
  gLetThrough = letThrough;
  gFailFromSize = minimumSize;
}

bool SizedAllocationFailed() { return gSizedFailed; }

}  // namespace Tavro_KVO_Util::testing

// Every form the library and the standard library use; the aligned forms stay the runtime's own
// and never mix with these (they have their own delete).
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }
