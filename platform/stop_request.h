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

// Records a stop request as the handlers do (tests, and the service's stop control).
void RequestStop();

// Waits until a stop is requested or `milliseconds` have passed; true when one was requested.
// Windows wakes at once (an event); Linux looks every 10 ms, since a signal handler may only set
// the flag.
bool WaitForStopRequest(long milliseconds);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_STOP_REQUEST_H
