// PEM files made usable for Schannel and CryptoAPI: a certificate, and a client credential (a
// certificate with its private key). The key is imported into a key container of this process's
// own, which is deleted again when the credential goes, so no key stays in the user's profile.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_PEM_CREDENTIAL_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_PEM_CREDENTIAL_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include <filesystem>
#include <string>

#include "platform/win32/crypt_owners.h"

namespace Tavro_KVO_Util::platform {

// The first certificate ("-----BEGIN CERTIFICATE-----") in `file`. False with `why`.
bool LoadPemCertificate(const std::filesystem::path& file, UniqueCertContext& certificate, std::string& why);

class PemClientCredential {
 public:
  PemClientCredential() = default;
  ~PemClientCredential();
  PemClientCredential(const PemClientCredential&) = delete;
  PemClientCredential& operator=(const PemClientCredential&) = delete;

  // The certificate of `certificateFile` with the RSA key of `keyFile` (PKCS#1 "RSA PRIVATE KEY"
  // or PKCS#8 "PRIVATE KEY", unencrypted). False with `why`.
  bool Load(const std::filesystem::path& certificateFile, const std::filesystem::path& keyFile,
            std::string& why);

  PCCERT_CONTEXT certificate() const { return mCertificate.get(); }

 private:
  std::wstring mContainer;  // the key container made for the key, deleted by the destructor
  UniqueCertContext mCertificate;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_PEM_CREDENTIAL_H
