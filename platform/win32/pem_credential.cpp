#ifndef _WIN32
#error "Windows-only source file"
#endif

// PEM certificates and keys through CryptoAPI: the base64 block decoded, the certificate made a
// CERT_CONTEXT, the key imported (exportable, which Wine's Schannel needs to hand it to GnuTLS)
// into a key container named for this process, and the two tied together by the certificate's
// key-provider property, which is where Schannel looks for a client certificate's key.
#include "platform/win32/pem_credential.h"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

std::string Shown(const std::filesystem::path& file) { return WideToUtf8(file.wstring()); }

std::string ErrorCode() {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(GetLastError()));
  return text;
}

bool ReadText(const std::filesystem::path& file, std::string& text, std::string& why) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    why = "cannot open " + Shown(file);
    return false;
  }
  text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

// The DER bytes of the first "-----BEGIN <label>-----" block of `text`; false when there is none
// or its base64 does not decode.
bool PemBlock(const std::string& text, const std::string& label, std::vector<BYTE>& der) {
  const std::string begin = "-----BEGIN " + label + "-----";
  const std::string end = "-----END " + label + "-----";
  const std::size_t start = text.find(begin);
  if (start == std::string::npos) return false;
  const std::size_t stop = text.find(end, start);
  if (stop == std::string::npos) return false;
  const std::string block = text.substr(start, stop + end.size() - start);
  DWORD size = 0;
  if (!CryptStringToBinaryA(block.c_str(), static_cast<DWORD>(block.size()), CRYPT_STRING_BASE64HEADER,
                            nullptr, &size, /*pdwSkip=*/nullptr, /*pdwFlags=*/nullptr))
    return false;
  der.resize(size);
  return CryptStringToBinaryA(block.c_str(), static_cast<DWORD>(block.size()), CRYPT_STRING_BASE64HEADER,
                              der.data(), &size, nullptr, nullptr) != FALSE;
}

// A PRIVATEKEYBLOB for CryptImportKey from a PKCS#1 or PKCS#8 RSA key.
bool RsaKeyBlob(const std::string& text, UniqueLocalMemory& blob, DWORD& blobSize, std::string& why) {
  std::vector<BYTE> der;
  std::vector<BYTE> pkcs1;
  if (PemBlock(text, "RSA PRIVATE KEY", der)) {
    pkcs1 = std::move(der);
  } else if (PemBlock(text, "PRIVATE KEY", der)) {
    void* decoded = nullptr;
    DWORD size = 0;
    if (!CryptDecodeObjectEx(kEncoding, PKCS_PRIVATE_KEY_INFO, der.data(), static_cast<DWORD>(der.size()),
                             CRYPT_DECODE_ALLOC_FLAG, nullptr, &decoded, &size)) {
      why = "its PKCS#8 key does not decode (" + ErrorCode() + ")";
      return false;
    }
    const UniqueLocalMemory info(decoded);
    const auto* keyInfo = static_cast<const CRYPT_PRIVATE_KEY_INFO*>(decoded);
    if (std::string(keyInfo->Algorithm.pszObjId) != szOID_RSA_RSA) {
      why = "its key is not an RSA key";
      return false;
    }
    pkcs1.assign(keyInfo->PrivateKey.pbData, keyInfo->PrivateKey.pbData + keyInfo->PrivateKey.cbData);
  } else {
    why = "it holds no unencrypted RSA key (\"RSA PRIVATE KEY\" or \"PRIVATE KEY\")";
    return false;
  }
  void* decoded = nullptr;
  if (!CryptDecodeObjectEx(kEncoding, PKCS_RSA_PRIVATE_KEY, pkcs1.data(), static_cast<DWORD>(pkcs1.size()),
                           CRYPT_DECODE_ALLOC_FLAG, nullptr, &decoded, &blobSize)) {
    why = "its RSA key does not decode (" + ErrorCode() + ")";
    return false;
  }
  blob.reset(decoded);
  return true;
}

std::wstring NewContainerName() {
  static std::atomic<unsigned> counter{0};
  return L"TavroMedivaneUtil mvutil " + std::to_wstring(GetCurrentProcessId()) + L" " +
         std::to_wstring(counter.fetch_add(1));
}

}  // namespace

bool LoadPemCertificate(const std::filesystem::path& file, UniqueCertContext& certificate, std::string& why) {
  std::string text;
  if (!ReadText(file, text, why)) return false;
  std::vector<BYTE> der;
  if (!PemBlock(text, "CERTIFICATE", der)) {
    why = "no certificate in " + Shown(file);
    return false;
  }
  // X.509 alone: Wine's Schannel takes no client certificate marked as PKCS #7 as well.
  certificate.reset(
      CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
  if (!certificate) {
    why = "the certificate in " + Shown(file) + " does not decode (" + ErrorCode() + ")";
    return false;
  }
  return true;
}

PemClientCredential::~PemClientCredential() {
  mCertificate.reset();
  if (mContainer.empty()) return;
  HCRYPTPROV deleted = 0;  // CRYPT_DELETEKEYSET hands back no provider to release
  CryptAcquireContextW(&deleted, mContainer.c_str(), MS_ENH_RSA_AES_PROV_W, PROV_RSA_AES, CRYPT_DELETEKEYSET);
}

bool PemClientCredential::Load(const std::filesystem::path& certificateFile,
                               const std::filesystem::path& keyFile, std::string& why) {
  std::string problem;
  if (!LoadPemCertificate(certificateFile, mCertificate, problem)) {
    why = "cannot use the client certificate: " + problem;
    return false;
  }
  std::string keyText;
  UniqueLocalMemory blob;
  DWORD blobSize = 0;
  if (!ReadText(keyFile, keyText, problem) || !RsaKeyBlob(keyText, blob, blobSize, problem)) {
    why = "cannot use the key " + Shown(keyFile) + ": " + problem;
    return false;
  }

  mContainer = NewContainerName();
  HCRYPTPROV acquired = 0;
  if (!CryptAcquireContextW(&acquired, mContainer.c_str(), MS_ENH_RSA_AES_PROV_W, PROV_RSA_AES,
                            CRYPT_NEWKEYSET)) {
    why = "cannot make a key container for the client key (" + ErrorCode() + ")";
    mContainer.clear();
    return false;
  }
  const UniqueCryptProv provider(acquired);
  HCRYPTKEY imported = 0;
  if (!CryptImportKey(provider.get(), static_cast<const BYTE*>(blob.get()), blobSize, /*hPubKey=*/0,
                      CRYPT_EXPORTABLE, &imported)) {
    why = "cannot import the key " + Shown(keyFile) + " (" + ErrorCode() + ")";
    return false;
  }
  const UniqueCryptKey key(imported);

  // A key that is not the certificate's would only fail later, in the handshake, without a reason.
  DWORD infoSize = 0;
  CryptExportPublicKeyInfo(provider.get(), AT_KEYEXCHANGE, kEncoding, nullptr, &infoSize);
  std::vector<BYTE> info(infoSize);
  auto* publicKey = reinterpret_cast<CERT_PUBLIC_KEY_INFO*>(info.data());
  if (infoSize == 0 ||
      !CryptExportPublicKeyInfo(provider.get(), AT_KEYEXCHANGE, kEncoding, publicKey, &infoSize) ||
      !CertComparePublicKeyInfo(kEncoding, publicKey, &mCertificate.get()->pCertInfo->SubjectPublicKeyInfo)) {
    why = "the key " + Shown(keyFile) + " is not the key of the certificate " + Shown(certificateFile);
    return false;
  }

  CRYPT_KEY_PROV_INFO where{};
  where.pwszContainerName = mContainer.data();
  where.pwszProvName = const_cast<wchar_t*>(MS_ENH_RSA_AES_PROV_W);
  where.dwProvType = PROV_RSA_AES;
  where.dwKeySpec = AT_KEYEXCHANGE;
  if (!CertSetCertificateContextProperty(mCertificate.get(), CERT_KEY_PROV_INFO_PROP_ID, /*dwFlags=*/0,
                                         &where)) {
    why = "cannot tie the key to the client certificate (" + ErrorCode() + ")";
    return false;
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform
