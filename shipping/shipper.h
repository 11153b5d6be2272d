// The shipper: follows the shared log and delivers every entry to a syslog collector as one
// RFC 5424 message, at least once, and exactly once while nothing crashes.
//
// The log itself is the buffer. The shipper reads ahead at most one read of the log (256 KiB)
// plus the window of messages awaiting the collector's answer, so its memory stays
// bounded whatever the backlog. The cursor file records the position after the last entry the
// collector has taken (RELP: answered; TCP: accepted by the socket); it is saved at most a second
// after it moves, before more than one window of messages beyond it is sent, and at the end. A
// restart goes on after it, in whichever file holds it now, and sends again at most one window
// of messages the collector already has.
//
// It reports on its error stream only, never into the log it ships.
#ifndef TAVROMEDIVANEUTIL_SHIPPING_SHIPPER_H
#define TAVROMEDIVANEUTIL_SHIPPING_SHIPPER_H

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>

#include "platform/tls_connection.h"
#include "shipping/destination.h"
#include "shipping/syslog_message.h"

namespace Tavro_KVO_Util::shipping {

struct ShipperOptions {
  Destination destination;
  platform::TlsFiles tlsFiles;    // for relp+tls:// and tls://
  std::filesystem::path logFile;  // the current log; backups are logFile.1 ... logFile.N
  long maxBackups = 5;
  std::wstring format;  // the entry template
  std::filesystem::path stateFile;
  bool once = false;     // ship up to the current end, then stop
  bool fromEnd = false;  // without a state file, start at the end instead of the oldest backup
  MessageContext context;
  std::size_t window = 4096;
  // How often the log is looked at when there is nothing new.
  std::chrono::milliseconds pollInterval{100};
};

enum class ShipResult {
  kDelivered,    // --once: everything up to the end was taken; or stopped on request
  kUnreachable,  // --once: the collector could not be reached, refused, or broke off
};

class Shipper {
 public:
  Shipper(ShipperOptions options, std::ostream& err);

  // Ships until stopped (platform::StopRequested), or with `once` until the end of the log.
  ShipResult Run();

 private:
  struct Impl;
  ShipperOptions mOptions;
  std::ostream& mErr;
};

}  // namespace Tavro_KVO_Util::shipping

#endif  // TAVROMEDIVANEUTIL_SHIPPING_SHIPPER_H
