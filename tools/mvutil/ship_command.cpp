#include "ship_command.h"

#include <filesystem>
#include <optional>
#include <ostream>

#include "config_location.h"
#include "event_log_stream.h"
#include "log_settings.h"
#include "platform/event_log.h"
#include "platform/host_name.h"
#include "platform/service_host.h"
#include "platform/stop_request.h"
#include "platform/utf8.h"
#include "shipping/shipper.h"
#include "shipping/shipping_settings.h"
#include "version.h"

namespace mvutil {

namespace shipping = Tavro_KVO_Util::shipping;
namespace platform = Tavro_KVO_Util::platform;

const char kShipUsage[] =
    "Usage: mvutil ship [--to URL] [--ca FILE] [--cert FILE --key FILE] [--state FILE] [--once]\n"
    "                   [--from-end] [--hostname NAME] [--facility N] [--service]\n"
    "Sends every entry of the shared log to a syslog collector as one RFC 5424 message, following\n"
    "the log across rolls, until stopped (Ctrl+C, SIGTERM). Each option's default is the key of the\n"
    "same meaning under /Tavro/MedivaneSDK/LogShipping/ in the shared configuration file.\n\n"
    "  --to URL         relp://HOST:PORT (acknowledged; the reliable choice), relp+tls://HOST:PORT\n"
    "                   (the same inside TLS), tls://HOST:PORT (RFC 5425) or tcp://HOST:PORT\n"
    "                   (octet-counted, unacknowledged) (keys Protocol, CollectorHost and\n"
    "                   CollectorPort, default relp://127.0.0.1:2514)\n"
    "  --ca FILE        TLS: the certificate authority (PEM) the collector's certificate must\n"
    "                   lead to; its name must match HOST (key CaFile)\n"
    "  --cert FILE      TLS: a client certificate (PEM) to present (key CertFile)\n"
    "  --key FILE       TLS: its private key (PEM, unencrypted) (key KeyFile)\n"
    "  --state FILE     the cursor file: how far the collector has taken the log (key StateFile,\n"
    "                   default: the log's path followed by .ship-state)\n"
    "  --once           ship up to the current end, wait for every answer, save the cursor, exit\n"
    "  --from-end       without a cursor file, start at the end of the log rather than at its\n"
    "                   oldest backup (key StartAtEnd)\n"
    "  --hostname NAME  HOSTNAME of the messages (key Hostname, default: the computer's name)\n"
    "  --facility N     syslog facility 0-23 (key Facility, default 16, local0)\n"
    "  --service        run as the Windows service TavroLogShipper (the service control manager\n"
    "                   starts it so): reports go to the Application event log, and without a\n"
    "                   CollectorHost key (or --to) the service stays idle and says so once\n\n"
    "Reports go to standard error, never into the log shipped.\n\n"
    "Exit codes: 0 everything was delivered (or stopped on request), 1 the collector could not be\n"
    "reached or refused (--once), 2 wrong command line.\n";

namespace {

struct ShipArgs {
  std::optional<std::string> to;
  std::optional<std::string> ca;
  std::optional<std::string> cert;
  std::optional<std::string> key;
  std::optional<std::string> state;
  std::optional<std::string> hostname;
  std::optional<long> facility;
  bool once = false;
  bool fromEnd = false;
  bool service = false;
};

// The service's name; the installer creates the service and its event source under it.
constexpr wchar_t kServiceName[] = L"TavroLogShipper";

bool ParseFacility(const std::string& text, long& facility) {
  if (text.empty() || text.size() > 2 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  facility = std::stol(text);
  return shipping::IsFacility(facility);
}

bool ParseShipArgs(const Args& args, ShipArgs& parsed, std::ostream& err) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool takesValue = arg == "--to" || arg == "--ca" || arg == "--cert" || arg == "--key" ||
                            arg == "--state" || arg == "--hostname" || arg == "--facility";
    if (takesValue && i + 1 >= args.size()) {
      err << "mvutil ship: " << arg << " needs a value; see 'mvutil ship --help'\n";
      return false;
    }
    if (arg == "--once") {
      parsed.once = true;
    } else if (arg == "--from-end") {
      parsed.fromEnd = true;
    } else if (arg == "--service") {
      parsed.service = true;
    } else if (arg == "--to") {
      parsed.to = args[++i];
    } else if (arg == "--ca") {
      parsed.ca = args[++i];
    } else if (arg == "--cert") {
      parsed.cert = args[++i];
    } else if (arg == "--key") {
      parsed.key = args[++i];
    } else if (arg == "--state") {
      parsed.state = args[++i];
    } else if (arg == "--hostname") {
      parsed.hostname = args[++i];
    } else if (arg == "--facility") {
      long facility = 0;
      if (!ParseFacility(args[++i], facility)) {
        err << "mvutil ship: --facility needs a number from 0 to 23, not '" << args[i] << "'\n";
        return false;
      }
      parsed.facility = facility;
    } else {
      err << "mvutil ship: unexpected argument '" << arg << "'; see 'mvutil ship --help'\n";
      return false;
    }
  }
  return true;
}

// The shipper's options from the command line over the configuration; kExitUsage, with the reason
// on `err`, when they do not make a destination the shipper can use.
int BuildShipperOptions(const ShipArgs& parsed, const shipping::ShippingSettings& settings,
                        shipping::ShipperOptions& options, std::ostream& err) {
  const LogSettings log = ReadLogSettings();
  std::string why;
  if (!shipping::ParseDestination(parsed.to.value_or(settings.destination), options.destination, why)) {
    err << "mvutil ship: " << why << "\n";
    return kExitUsage;
  }
  const auto path = [](const std::optional<std::string>& given, const std::filesystem::path& fallback) {
    return given ? std::filesystem::u8path(*given) : fallback;
  };
  options.tlsFiles.authority = path(parsed.ca, settings.caFile);
  options.tlsFiles.certificate = path(parsed.cert, settings.certFile);
  options.tlsFiles.key = path(parsed.key, settings.keyFile);
  if (options.destination.tls && options.tlsFiles.authority.empty()) {
    err << "mvutil ship: TLS needs the certificate authority that signed the collector's certificate: "
           "--ca FILE (key CaFile)\n";
    return kExitUsage;
  }
  if (options.tlsFiles.certificate.empty() != options.tlsFiles.key.empty()) {
    err << "mvutil ship: a client certificate needs both --cert FILE and --key FILE (keys CertFile and "
           "KeyFile)\n";
    return kExitUsage;
  }
  options.logFile = log.file;
  options.maxBackups = log.maxBackups;
  options.format = log.format;
  if (parsed.state) {
    options.stateFile = std::filesystem::u8path(*parsed.state);
  } else if (!settings.stateFile.empty()) {
    options.stateFile = settings.stateFile;
  } else {
    options.stateFile = log.file;
    options.stateFile += shipping::kStateFileSuffix;
  }
  options.once = parsed.once;
  options.fromEnd = parsed.fromEnd || settings.startAtEnd;
  options.context.hostname =
      parsed.hostname.value_or(settings.hostname.empty() ? platform::ComputerName() : settings.hostname);
  options.context.facility = static_cast<int>(parsed.facility.value_or(settings.facility));
  options.context.enterpriseNumber = settings.enterpriseNumber;
  options.context.softwareVersion = kVersion;
  options.window = settings.window;
  return kExitOk;
}

int Ship(const ShipArgs& parsed, std::ostream& err) {
  const shipping::ShippingSettings settings = shipping::ReadShippingSettings();
  shipping::ShipperOptions options;
  const int built = BuildShipperOptions(parsed, settings, options, err);
  if (built != kExitOk) return built;
  platform::ListenForStopRequests();
  shipping::Shipper shipper(std::move(options), err);
  return shipper.Run() == shipping::ShipResult::kDelivered ? kExitOk : kExitFailure;
}

// The service's work: ships as the command would, reporting to the event log. A tablet installed
// without a collector has nowhere to ship to, so the service then waits for its stop and says why
// once, instead of knocking at 127.0.0.1 for ever.
int ShipAsService(const ShipArgs& parsed) {
  if (!parsed.to && !shipping::ReadShippingSettings().collectorConfigured) {
    EventLogStream(kServiceName, platform::kEventInformation)
        << "TavroLogShipper is idle: no collector is configured. Set "
           "/Tavro/MedivaneSDK/LogShipping/CollectorHost (and Protocol and CollectorPort) in "
        << platform::WideToUtf8(DefaultConfigFile()) << ", then restart the service.\n";
    // The installer stops the service and soon starts it again: the stop must be quick.
    while (!platform::WaitForStopRequest(60000)) {
    }
    return kExitOk;
  }
  EventLogStream reports(kServiceName, platform::kEventWarning);
  return Ship(parsed, reports);
}

}  // namespace

int RunShipCommand(const Args& args, Io& io) {
  ShipArgs parsed;
  if (!ParseShipArgs(args, parsed, io.err)) return kExitUsage;
  if (!parsed.service) return Ship(parsed, io.err);
  if (parsed.once) {
    io.err << "mvutil ship: --service runs until the service is stopped; it takes no --once\n";
    return kExitUsage;
  }
  int exitCode = kExitOk;
  std::string why;
  switch (platform::RunAsService(
      kServiceName, [&parsed] { return ShipAsService(parsed); }, exitCode, why)) {
    case platform::ServiceRun::kRan:
      return exitCode;
    case platform::ServiceRun::kNotStartedByManager:
      io.err << "mvutil ship: --service is for the service control manager, which starts the service "
                "TavroLogShipper; from a console, run mvutil ship without it\n";
      return kExitUsage;
    case platform::ServiceRun::kFailed:
    default:
      io.err << "mvutil ship: cannot run as the service TavroLogShipper: " << why << "\n";
      return kExitFailure;
  }
}

}  // namespace mvutil
