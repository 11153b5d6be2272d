// The shipper's settings in the shared configuration file, under
// "/Tavro/MedivaneSDK/LogShipping/". The command line overrides each of them.
//
//   Protocol          relp, relp+tls, tls or tcp               (default relp)
//   CollectorHost     the collector's name or address          (default 127.0.0.1)
//   CollectorPort     1-65535                                  (default 2514)
//   CaFile            TLS: the certificate authority, PEM      (no default; TLS needs it)
//   CertFile          TLS: the client certificate, PEM        (default: none)
//   KeyFile           TLS: the client certificate's key, PEM  (default: none)
//   StateFile         the cursor file                         (default: beside the log, see below)
//   Hostname          HOSTNAME of every message               (default: the computer's name)
//   Facility          0-23                                    (default 16, local0)
//   StartAtEnd        1: a first start skips what is there    (default 0: from the oldest backup)
//   EnterpriseNumber  N of the SD-ID "tavro@N"                (default 32473)
//   WindowSize        RELP messages awaiting an answer, 1-16384 (default 4096)
//
// A key that is missing or unusable keeps its default. The service (mvutil ship --service) ships
// only when CollectorHost is set: without it a newly installed tablet has nowhere to send to. The destination
// is three keys rather than one URL because a value in the configuration file ends at "//" (the rest is a
// comment); the three make the URL "Protocol://CollectorHost:CollectorPort".
#ifndef TAVROMEDIVANEUTIL_SHIPPING_SHIPPING_SETTINGS_H
#define TAVROMEDIVANEUTIL_SHIPPING_SHIPPING_SETTINGS_H

#include <cstddef>
#include <filesystem>
#include <string>

namespace Tavro_KVO_Util::shipping {

constexpr char kDefaultProtocol[] = "relp";
constexpr char kDefaultCollectorHost[] = "127.0.0.1";
constexpr long kDefaultCollectorPort = 2514;
constexpr std::size_t kDefaultWindow = 4096;
constexpr std::size_t kMaxWindow = 16384;
// The cursor file's name beside the log: the logger's rolling renames only "<log>.<number>" and
// deletes only the highest of those, so it never touches this one.
constexpr char kStateFileSuffix[] = ".ship-state";

struct ShippingSettings {
  std::string destination;           // the URL the three keys make
  bool collectorConfigured = false;  // CollectorHost is set (not missing, not empty)
  std::filesystem::path caFile;      // empty: none
  std::filesystem::path certFile;    // empty: none
  std::filesystem::path keyFile;     // empty: none
  std::filesystem::path stateFile;   // empty: the log's path with kStateFileSuffix
  std::string hostname;              // empty: the computer's name
  int facility = 16;
  bool startAtEnd = false;
  std::string enterpriseNumber = "32473";
  std::size_t window = kDefaultWindow;
};

// Reads the keys from the default configuration file without logging.
ShippingSettings ReadShippingSettings();

// True for a facility number RFC 5424 knows (0-23).
bool IsFacility(long value);

// True for an enterprise number as an SD-ID may carry it: digits, optionally dotted ("32473.1").
bool IsEnterpriseNumber(const std::string& text);

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_SHIPPING_SETTINGS_H
