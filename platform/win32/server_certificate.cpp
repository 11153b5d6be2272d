#ifndef _WIN32
#error "Windows-only source file"
#endif

// The chain is built by CryptoAPI with the authority added as one more store; it then ends at the
// authority marked "untrusted root" (the authority is ours, not the machine's), which is the one
// error expected. The name is compared here, from the subject alternative names, because the SSL
// chain policy would also demand a root the machine trusts.
#include "platform/win32/server_certificate.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <cwctype>
#include <vector>

#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

std::wstring Lower(std::wstring text) {
  std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towlower(c); });
  return text;
}

// "*.ward.example" covers "a.ward.example", not "ward.example" nor "a.b.ward.example".
bool DnsNameMatches(std::wstring pattern, const std::wstring& host) {
  pattern = Lower(std::move(pattern));
  if (pattern.rfind(L"*.", 0) != 0) return pattern == host;
  const std::size_t dot = host.find(L'.');
  return dot != std::wstring::npos && dot > 0 && host.substr(dot) == pattern.substr(1);
}

// The 4 or 16 bytes of an IP address, or none for a name.
std::vector<BYTE> AddressBytes(const std::string& host) {
  in_addr v4{};
  if (inet_pton(AF_INET, host.c_str(), &v4) == 1) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&v4);
    return std::vector<BYTE>(bytes, bytes + sizeof v4);
  }
  in6_addr v6{};
  if (inet_pton(AF_INET6, host.c_str(), &v6) == 1) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&v6);
    return std::vector<BYTE>(bytes, bytes + sizeof v6);
  }
  return {};
}

bool NamesHost(PCCERT_CONTEXT server, const std::string& host) {
  const std::vector<BYTE> address = AddressBytes(host);
  const std::wstring name = Lower(Utf8ToWide(host));
  bool hasDnsName = false;
  const CERT_EXTENSION* extension = CertFindExtension(szOID_SUBJECT_ALT_NAME2, server->pCertInfo->cExtension,
                                                      server->pCertInfo->rgExtension);
  if (extension) {
    void* decoded = nullptr;
    DWORD size = 0;
    if (CryptDecodeObjectEx(kEncoding, X509_ALTERNATE_NAME, extension->Value.pbData, extension->Value.cbData,
                            CRYPT_DECODE_ALLOC_FLAG, nullptr, &decoded, &size)) {
      const UniqueLocalMemory owner(decoded);
      const auto* names = static_cast<const CERT_ALT_NAME_INFO*>(decoded);
      for (DWORD i = 0; i < names->cAltEntry; ++i) {
        const CERT_ALT_NAME_ENTRY& entry = names->rgAltEntry[i];
        if (entry.dwAltNameChoice == CERT_ALT_NAME_DNS_NAME) {
          hasDnsName = true;
          if (address.empty() && DnsNameMatches(entry.pwszDNSName, name)) return true;
        } else if (entry.dwAltNameChoice == CERT_ALT_NAME_IP_ADDRESS && !address.empty() &&
                   entry.IPAddress.cbData == address.size() &&
                   std::equal(address.begin(), address.end(), entry.IPAddress.pbData)) {
          return true;
        }
      }
    }
  }
  if (hasDnsName || !address.empty()) return false;
  // Only a certificate without DNS names is judged by its common name.
  wchar_t common[256] = L"";
  CertGetNameStringW(server, CERT_NAME_ATTR_TYPE, /*dwFlags=*/0, const_cast<char*>(szOID_COMMON_NAME), common,
                     256);
  return common[0] != L'\0' && DnsNameMatches(common, name);
}

// Whether every certificate of the chain is within its validity: +1 one has expired, -1 one is
// not valid yet, 0 all are.
int Validity(const CERT_SIMPLE_CHAIN* chain) {
  for (DWORD i = 0; i < chain->cElement; ++i) {
    const LONG when =
        CertVerifyTimeValidity(/*pTimeToVerify=*/nullptr, chain->rgpElement[i]->pCertContext->pCertInfo);
    if (when != 0) return when > 0 ? 1 : -1;
  }
  return 0;
}

}  // namespace

std::string ServerCertificateProblems(PCCERT_CONTEXT server, PCCERT_CONTEXT authority,
                                      const std::string& authorityFile, const std::string& host) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };

  // The authority and what the server sent beside its own certificate, for building the chain.
  UniqueCertStore extra(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr));
  if (extra) {
    CertAddCertificateContextToStore(extra.get(), authority, CERT_STORE_ADD_ALWAYS, nullptr);
    for (PCCERT_CONTEXT sent = nullptr;
         server->hCertStore && (sent = CertEnumCertificatesInStore(server->hCertStore, sent)) != nullptr;) {
      CertAddCertificateContextToStore(extra.get(), sent, CERT_STORE_ADD_USE_EXISTING, nullptr);
    }
  }
  CERT_CHAIN_PARA para{};
  para.cbSize = sizeof para;
  PCCERT_CHAIN_CONTEXT built = nullptr;
  const bool haveChain = extra && CertGetCertificateChain(/*hChainEngine=*/nullptr, server, /*pTime=*/nullptr,
                                                          extra.get(), &para, /*dwFlags=*/0, nullptr, &built);
  const UniqueCertChain chain(haveChain ? built : nullptr);
  const CERT_SIMPLE_CHAIN* simple = chain && chain.get()->cChain > 0 ? chain.get()->rgpChain[0] : nullptr;
  const CERT_CHAIN_ELEMENT* root =
      simple && simple->cElement > 0 ? simple->rgpElement[simple->cElement - 1] : nullptr;
  const bool endsAtAuthority =
      root && CertCompareCertificate(kEncoding, root->pCertContext->pCertInfo, authority->pCertInfo);
  // What the chain may show besides the authority being a root the machine does not trust:
  // revocation cannot be checked against a private authority, and is not asked for.
  const DWORD tolerated = CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_REVOCATION_STATUS_UNKNOWN |
                          CERT_TRUST_IS_OFFLINE_REVOCATION | CERT_TRUST_IS_PARTIAL_CHAIN;
  const DWORD errors = chain ? chain.get()->TrustStatus.dwErrorStatus & ~tolerated : 0;
  if (!endsAtAuthority || (errors & (CERT_TRUST_IS_NOT_SIGNATURE_VALID | CERT_TRUST_IS_CYCLIC)))
    add("it is not signed by the certificate authority in " + authorityFile);
  if (!NamesHost(server, host)) add("it was issued for another host name");
  const int validity = simple ? Validity(simple) : CertVerifyTimeValidity(nullptr, server->pCertInfo);
  if (validity > 0) add("it has expired");
  if (validity < 0) add("it is not valid yet");
  if (endsAtAuthority && (errors & CERT_TRUST_IS_REVOKED)) add("it has been revoked");
  return text;
}

}  // namespace Tavro_KVO_Util::platform
