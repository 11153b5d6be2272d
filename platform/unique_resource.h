// UniqueResource: a move-only owner of one OS resource (a handle, a descriptor, a key).
//
// Each resource type is a one-line alias naming its close function and invalid value, so no
// path through the code can forget to release it:
//   using UniqueFd = UniqueResource<int, CloseFd, -1>;
// reset() preserves errno / GetLastError(), so a failure can be reported after cleaning up.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_UNIQUE_RESOURCE_H
#define TAVROMEDIVANEUTIL_PLATFORM_UNIQUE_RESOURCE_H

#include <utility>

namespace Tavro_KVO_Util::platform {

// `Traits` provides: using Type = ...; static Type Invalid(); static void Close(Type) (which
// must leave the thread's last-error value as it found it).
template <typename Traits>
class UniqueResource {
 public:
  using Type = typename Traits::Type;

  UniqueResource() : mValue(Traits::Invalid()) {}
  explicit UniqueResource(Type value) : mValue(value) {}
  ~UniqueResource() { reset(); }

  UniqueResource(UniqueResource&& other) noexcept : mValue(other.release()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;

  Type get() const { return mValue; }
  bool valid() const { return mValue != Traits::Invalid(); }
  explicit operator bool() const { return valid(); }

  // Closes the held resource (if any) and takes `value`.
  void reset(Type value = Traits::Invalid()) {
    const Type old = std::exchange(mValue, value);
    if (old != Traits::Invalid()) Traits::Close(old);
  }

  // Gives up ownership without closing.
  Type release() { return std::exchange(mValue, Traits::Invalid()); }

 private:
  Type mValue;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_UNIQUE_RESOURCE_H
