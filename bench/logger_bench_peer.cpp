#include "logger_bench_peer.h"

#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/layout.h>

#include <memory>

#include "logger_bench_support.h"

namespace logger_bench {

log4cplus::Logger PeerLogger(const std::filesystem::path& file, long maxFileSize) {
  log4cplus::helpers::Properties properties;
  properties.setProperty(LOG4CPLUS_TEXT("File"), file.string());
  properties.setProperty(LOG4CPLUS_TEXT("MaxFileSize"), std::to_string(maxFileSize));
  properties.setProperty(LOG4CPLUS_TEXT("MaxBackupIndex"), LOG4CPLUS_TEXT("5"));
  properties.setProperty(LOG4CPLUS_TEXT("ImmediateFlush"), LOG4CPLUS_TEXT("true"));
  properties.setProperty(LOG4CPLUS_TEXT("UseLockFile"), LOG4CPLUS_TEXT("true"));
  log4cplus::SharedAppenderPtr appender(new log4cplus::RollingFileAppender(properties));
  // Our template "%L %D %T %Z %A {%P-%t} %m" in log4cplus's terms, so that both write lines of the
  // same number of characters. The program path is spelled out because log4cplus has no token for
  // it ("%%" keeps a percent sign in it literal); "%.1p" keeps the last letter of the level name,
  // since log4cplus cuts from the front.
  std::string program;
  for (const char c : ProgramPath()) {
    program += c;
    if (c == '%') program += '%';
  }
  const std::string pattern = "%.1p %D{%Y-%m-%d} %D{%H:%M:%S.%q} %D{%Z} %c {" + program + "-%T} %m\r\n";
  appender->setLayout(std::unique_ptr<log4cplus::Layout>(new log4cplus::PatternLayout(pattern)));
  log4cplus::Logger logger = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Bench"));
  logger.removeAllAppenders();
  logger.setAdditivity(false);
  logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
  logger.addAppender(appender);
  return logger;
}

}  // namespace logger_bench
