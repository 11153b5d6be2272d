// Owned CryptoAPI and SSPI resources for TLS: certificate stores, certificates, chains, key
// containers (what CryptDecodeObjectEx allocates is a UniqueLocalMemory), and the credentials and security
// context of a Schannel session. Each close keeps GetLastError() so failures can be reported after cleanup.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_CRYPT_OWNERS_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_CRYPT_OWNERS_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include <utility>

#include "platform/unique_resource.h"
#include "platform/win32/local_memory.h"
#include "platform/win32/windows_include.h"

#define SECURITY_WIN32
#include <schannel.h>
#include <security.h>
#include <wincrypt.h>

namespace Tavro_KVO_Util::platform {

struct CertStoreTraits {
  using Type = HCERTSTORE;
  static HCERTSTORE Invalid() { return nullptr; }
  static void Close(HCERTSTORE store) {
    const DWORD saved = GetLastError();
    ::CertCloseStore(store, /*dwFlags=*/0);
    SetLastError(saved);
  }
};
using UniqueCertStore = UniqueResource<CertStoreTraits>;

struct CertContextTraits {
  using Type = PCCERT_CONTEXT;
  static PCCERT_CONTEXT Invalid() { return nullptr; }
  static void Close(PCCERT_CONTEXT certificate) {
    const DWORD saved = GetLastError();
    ::CertFreeCertificateContext(certificate);
    SetLastError(saved);
  }
};
using UniqueCertContext = UniqueResource<CertContextTraits>;

struct CertChainTraits {
  using Type = PCCERT_CHAIN_CONTEXT;
  static PCCERT_CHAIN_CONTEXT Invalid() { return nullptr; }
  static void Close(PCCERT_CHAIN_CONTEXT chain) {
    const DWORD saved = GetLastError();
    ::CertFreeCertificateChain(chain);
    SetLastError(saved);
  }
};
using UniqueCertChain = UniqueResource<CertChainTraits>;

struct CryptProvTraits {
  using Type = HCRYPTPROV;
  static HCRYPTPROV Invalid() { return 0; }
  static void Close(HCRYPTPROV provider) {
    const DWORD saved = GetLastError();
    ::CryptReleaseContext(provider, /*dwFlags=*/0);
    SetLastError(saved);
  }
};
using UniqueCryptProv = UniqueResource<CryptProvTraits>;

struct CryptKeyTraits {
  using Type = HCRYPTKEY;
  static HCRYPTKEY Invalid() { return 0; }
  static void Close(HCRYPTKEY key) {
    const DWORD saved = GetLastError();
    ::CryptDestroyKey(key);
    SetLastError(saved);
  }
};
using UniqueCryptKey = UniqueResource<CryptKeyTraits>;

// An SSPI handle (a SecHandle is two words, not a scalar): credentials or a security context,
// released by FreeCredentialsHandle or DeleteSecurityContext.
template <SECURITY_STATUS(SEC_ENTRY* Release)(PSecHandle)>
class UniqueSecHandle {
 public:
  UniqueSecHandle() = default;
  ~UniqueSecHandle() { reset(); }
  UniqueSecHandle(UniqueSecHandle&& other) noexcept
      : mHandle(other.mHandle), mValid(std::exchange(other.mValid, false)) {}
  UniqueSecHandle& operator=(UniqueSecHandle&& other) noexcept {
    if (this != &other) {
      reset();
      mHandle = other.mHandle;
      mValid = std::exchange(other.mValid, false);
    }
    return *this;
  }
  UniqueSecHandle(const UniqueSecHandle&) = delete;
  UniqueSecHandle& operator=(const UniqueSecHandle&) = delete;

  bool valid() const { return mValid; }
  SecHandle* get() { return mValid ? &mHandle : nullptr; }
  // For the call that creates the handle: then taken() when it succeeded.
  SecHandle* put() {
    reset();
    return &mHandle;
  }
  void taken() { mValid = true; }
  void reset() {
    if (!std::exchange(mValid, false)) return;
    const DWORD saved = GetLastError();
    Release(&mHandle);
    SetLastError(saved);
  }

 private:
  SecHandle mHandle{};
  bool mValid = false;
};
using UniqueCredentials = UniqueSecHandle<&::FreeCredentialsHandle>;
using UniqueSecurityContext = UniqueSecHandle<&::DeleteSecurityContext>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_CRYPT_OWNERS_H
