// The event log on Linux: one syslog record per report, written to the daemon's socket by the
// library itself (see syslog_socket.h for why). The record is the one syslog(3) sends after
// openlog(ident, LOG_PID, LOG_USER), in the RFC 3164 form "<PRI>Mmm dd hh:mm:ss IDENT[PID]: TEXT",
// so daemons and support tools see no difference; the host program's own openlog settings are
// never touched.
#include "platform/event_log.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include "platform/posix/syslog_socket.h"
#include "platform/posix/unique_fd.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

// Constant-initialised, so that reports made while the program starts or ends find it intact.
std::mutex gSocketLock;
const char* gSocketPath = kSystemSyslogSocket;  // guarded by gSocketLock

std::string SocketPath() {
  const std::lock_guard<std::mutex> guard(gSocketLock);
  return gSocketPath;
}

int SyslogPriority(unsigned short eventType) {
  switch (eventType) {
    case kEventError:
      return LOG_ERR;
    case kEventWarning:
      return LOG_WARNING;
    default:  // information, and the audit types Windows also has
      return LOG_INFO;
  }
}

// "<PRI>Mmm dd hh:mm:ss " in local time. The month names are English whatever the program's
// locale, and the day is padded with a blank, as RFC 3164 and syslog(3) write them.
bool RecordHead(unsigned short eventType, std::string& head) {
  static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t now = std::time(nullptr);
  struct tm local {};
  if (::localtime_r(&now, &local) == nullptr) return false;
  char text[64];
  std::snprintf(text, sizeof text, "<%d>%s %2d %02d:%02d:%02d ", LOG_USER | SyslogPriority(eventType),
                kMonths[local.tm_mon], local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  head = text;
  return true;
}

// Connects a socket of `type` to `path` and sends `record`. One connection per record: reports
// are rare (the logger's own failures), and a daemon restarted meanwhile is found again.
bool Send(const std::string& path, int type, const std::string& record) {
  sockaddr_un address{};
  if (path.size() >= sizeof address.sun_path) return false;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const UniqueFd fd(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  if (!fd || ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return false;
  }
  // On a stream the terminating NUL goes too: daemons listening on one split records at it.
  const std::size_t size = record.size() + (type == SOCK_STREAM ? 1 : 0);
  return ::send(fd.get(), record.c_str(), size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

}  // namespace

bool ReportEvent(const std::wstring& source, const std::wstring& message, unsigned short eventType,
                 SourceRegistration /*registration*/) {
  std::string record;
  if (!RecordHead(eventType, record)) return false;
  record += WideToUtf8(source) + "[" + std::to_string(::getpid()) + "]: " + WideToUtf8(message);
  const std::string path = SocketPath();
  // Daemons listen on a datagram socket; a few older ones on a stream socket, which the datagram
  // connect reports as EPROTOTYPE (syslog(3) falls back the same way).
  if (Send(path, SOCK_DGRAM, record)) return true;
  return errno == EPROTOTYPE && Send(path, SOCK_STREAM, record);
}

void ForgetSourceRegistrationsForTesting() {}

SyslogSocketForTesting::SyslogSocketForTesting(const std::string& path) : mPath(path) {
  const std::lock_guard<std::mutex> guard(gSocketLock);
  gSocketPath = mPath.c_str();
}

SyslogSocketForTesting::~SyslogSocketForTesting() {
  const std::lock_guard<std::mutex> guard(gSocketLock);
  gSocketPath = kSystemSyslogSocket;
}

}  // namespace Tavro_KVO_Util::platform
