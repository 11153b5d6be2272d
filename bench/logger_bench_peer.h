// The peer the logger is measured against: log4cplus's RollingFileAppender with UseLockFile, the
// closest log4cplus comes to several processes appending to one rolling file. Its lines are laid
// out like ours (level, date, time, zone, area, program and thread, message, CR LF), in 8-bit text
// where ours are UTF-16LE.
#ifndef TAVROMEDIVANEUTIL_BENCH_LOGGER_BENCH_PEER_H
#define TAVROMEDIVANEUTIL_BENCH_LOGGER_BENCH_PEER_H

#include <log4cplus/logger.h>

#include <filesystem>
#include <string>

namespace logger_bench {

// log4cplus refuses to roll below 200 KiB; the rolling cases of both loggers use this size.
constexpr long kRollingSize = 256 * 1024;

// The log4cplus logger "Bench" (the area of our entries) at threshold INFO, writing only to `file`
// through a new RollingFileAppender (UseLockFile, ImmediateFlush, 5 backups, rolling at
// `maxFileSize`), which replaces any appender the logger had.
log4cplus::Logger PeerLogger(const std::filesystem::path& file, long maxFileSize);

}  // namespace logger_bench

#endif  // TAVROMEDIVANEUTIL_BENCH_LOGGER_BENCH_PEER_H
