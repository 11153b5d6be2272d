// What a TLS client needs from its files, the same on every OS.
#include "platform/tls_connection.h"

namespace Tavro_KVO_Util::platform {

bool CheckTlsFiles(const TlsFiles& files, std::string& why) {
  if (files.authority.empty()) {
    why = "TLS needs the certificate authority's file (--ca)";
    return false;
  }
  if (files.certificate.empty() != files.key.empty()) {
    why = "a client certificate needs both its file (--cert) and its key (--key)";
    return false;
  }
  return true;
}

}  // namespace Tavro_KVO_Util::platform
