// Where the Linux event log delivers its records: the syslog daemon's socket, /dev/log.
//
// The library writes the records to the socket itself instead of calling syslog(3), which
// always writes to /dev/log and cannot tell whether anything was delivered. That also lets a test
// bind a datagram socket of its own and read back exactly what the daemon would receive.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_SYSLOG_SOCKET_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_SYSLOG_SOCKET_H

#include <string>

namespace Tavro_KVO_Util::platform {

constexpr char kSystemSyslogSocket[] = "/dev/log";

// While alive, ReportEvent sends its records to the socket at `path` instead of /dev/log. Not
// nestable; safe against reports made from other threads meanwhile.
class SyslogSocketForTesting {
 public:
  explicit SyslogSocketForTesting(const std::string& path);
  ~SyslogSocketForTesting();
  SyslogSocketForTesting(const SyslogSocketForTesting&) = delete;
  SyslogSocketForTesting& operator=(const SyslogSocketForTesting&) = delete;

 private:
  const std::string mPath;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_SYSLOG_SOCKET_H
