// Platform service: a request to stop from outside, for long-running commands.
//
// Linux: SIGINT and SIGTERM. Windows: Ctrl+C, Ctrl+Break and the console being closed. The
// handler only records the request; the command sees it at its next look and finishes cleanly.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_STOP_REQUEST_H
#define TAVROMEDIVANEUTIL_PLATFORM_STOP_REQUEST_H

namespace Tavro_KVO_Util::platform {

// Installs the handlers for the rest of the process. Calling it again does nothing more.
void ListenForStopRequests();

// True once a stop was requested (or RequestStop was called). Safe from any thread.
bool StopRequested();

// Records a stop request as the handlers do (tests, and the service a later version adds).
void RequestStop();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_STOP_REQUEST_H
