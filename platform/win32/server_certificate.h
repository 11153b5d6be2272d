// Checking a TLS server's certificate against one certificate authority, not the machine's trust
// store: the chain must end at that authority, every certificate in it must be within its
// validity, and the server's certificate must name the host asked for.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_SERVER_CERTIFICATE_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_SERVER_CERTIFICATE_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include <string>

#include "platform/win32/crypt_owners.h"

namespace Tavro_KVO_Util::platform {

// Empty when `server` passes; otherwise what is wrong, in the words the Linux build uses ("it is
// not signed by the certificate authority in FILE", "it was issued for another host name", "it
// has expired", "it is not valid yet"), joined by "; ". `host` is a DNS name (matched against the
// certificate's DNS names, "*." covering one label, or its common name when it has none) or an
// IPv4 or IPv6 address (matched against its IP addresses). The intermediate certificates the
// server sent are taken from `server`'s own store.
std::string ServerCertificateProblems(PCCERT_CONTEXT server, PCCERT_CONTEXT authority,
                                      const std::string& authorityFile, const std::string& host);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_SERVER_CERTIFICATE_H
