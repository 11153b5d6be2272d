#include "shipping/relp_link.h"

#include <chrono>

#include "platform/deadline.h"
#include "platform/stop_request.h"
#include "shipping/collector_stream.h"
#include "shipping/relp_frame.h"

namespace Tavro_KVO_Util::shipping {
namespace {

using platform::MillisecondsLeft;

using Clock = std::chrono::steady_clock;

// A collector that takes nothing for this long is treated as gone.
constexpr int kSendTimeoutMilliseconds = 10000;
constexpr std::size_t kReadSize = 64 * 1024;
// A response frame is short; anything this long without a whole frame is not RELP.
constexpr std::size_t kMaxPending = 1 << 20;
// Gathered frames go out once they fill this much, so that a full window of long messages is not
// held back until Collect.
constexpr std::size_t kFlushSize = 256 * 1024;

}  // namespace

void RelpLink::Drop() {
  if (mStream) mStream->Close();
  mStream.reset();
  mReceived.clear();
  mOutgoing.clear();
  mSent.clear();
  mOpenTxnr = 0;
}

bool RelpLink::Open(int timeoutMilliseconds, std::string& why) {
  Drop();
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  mStream = ConnectToCollector(mDestination, mTlsFiles, timeoutMilliseconds, why);
  if (!mStream) return false;
  mNextTxnr = 1;
  mOpenTxnr = mNextTxnr;
  const std::string offers =
      "relp_version=0\nrelp_software=mvutil," + mSoftwareVersion + ",-\ncommands=syslog";
  if (!mStream->SendAll(EncodeRelpFrame(mOpenTxnr, "open", offers), MillisecondsLeft(deadline), why)) {
    Drop();
    ExplainEarlyEnd(why);
    return false;
  }
  mNextTxnr = NextRelpTxnr(mNextTxnr);
  while (mOpenTxnr != 0) {
    const int left = MillisecondsLeft(deadline);
    if (left == 0 || platform::StopRequested()) {
      why = "the collector did not answer the RELP open";
      Drop();
      return false;
    }
    if (!ReadResponses(left, why)) {
      ExplainEarlyEnd(why);
      return false;
    }
  }
  return true;
}

// With TLS 1.3 a server that wants a client certificate and got none ends the session only after
// the handshake, so its refusal shows as a session that breaks before the open is answered.
void RelpLink::ExplainEarlyEnd(std::string& why) const {
  if (!mDestination.tls || !mTlsFiles.certificate.empty()) return;
  why = "the collector ended the TLS session before answering the RELP open (" + why + "); " +
        platform::kClientCertificateHint;
}

bool RelpLink::Send(std::string_view message, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return false;
  }
  AppendRelpFrame(mNextTxnr, "syslog", message, mOutgoing);
  mSent.push_back({mNextTxnr, false});
  mNextTxnr = NextRelpTxnr(mNextTxnr);
  return mOutgoing.size() < kFlushSize || Flush(why);
}

bool RelpLink::Flush(std::string& why) {
  if (mOutgoing.empty()) return true;
  if (!mStream->SendAll(mOutgoing, kSendTimeoutMilliseconds, why)) {
    Drop();
    return false;
  }
  mOutgoing.clear();
  return true;
}

bool RelpLink::Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) {
  if (!Flush(why)) return false;
  const bool ok = ReadResponses(timeoutMilliseconds, why);
  // Taken in order: an answer that overtook an older one waits for it.
  while (!mSent.empty() && mSent.front().answered) {
    mSent.pop_front();
    ++taken;
  }
  return ok;
}

bool RelpLink::ReadResponses(int timeoutMilliseconds, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return false;
  }
  using Result = platform::ByteStream::ReceiveResult;
  const Result result = mStream->Receive(mReceived, kReadSize, timeoutMilliseconds, why);
  if (result == Result::kClosed || result == Result::kFailed) {
    Drop();
    return false;
  }
  std::size_t at = 0;
  for (;;) {
    RelpFrame frame;
    std::size_t used = 0;
    const FrameParse parse = ParseRelpFrame(std::string_view(mReceived).substr(at), frame, used);
    if (parse == FrameParse::kNeedMore) break;
    if (parse == FrameParse::kMalformed) {
      why = "the collector sent something that is not RELP";
      Drop();
      return false;
    }
    at += used;
    if (!Handle(frame, why)) {
      Drop();
      return false;
    }
  }
  mReceived.erase(0, at);
  if (mReceived.size() > kMaxPending) {
    why = "the collector sent something that is not RELP";
    Drop();
    return false;
  }
  return true;
}

bool RelpLink::Handle(const RelpFrame& frame, std::string& why) {
  if (frame.command == "serverclose") {
    why = "the collector closed the RELP session";
    return false;
  }
  if (frame.command != "rsp") return true;  // nothing else is meant for a client; ignored
  const int code = RelpResponseCode(frame.data);
  if (frame.txnr == mOpenTxnr && mOpenTxnr != 0) {
    if (code != 200) {
      why = "the collector refused the RELP session: " + frame.data.substr(0, frame.data.find('\n'));
      return false;
    }
    mOpenTxnr = 0;
    return true;
  }
  // Frames are numbered consecutively (wrapping after kMaxRelpTxnr), so an answer's place among
  // those waiting is its distance from the oldest; no search through the window per answer.
  if (mSent.empty() || frame.txnr == 0 || frame.txnr > kMaxRelpTxnr) return true;
  const std::uint32_t oldest = mSent.front().txnr;
  const std::size_t place = frame.txnr >= oldest ? frame.txnr - oldest : kMaxRelpTxnr - oldest + frame.txnr;
  if (place >= mSent.size()) return true;  // an answer to a frame of an earlier session, or to close
  if (code != 200) {
    why = "the collector refused a message: " + frame.data.substr(0, frame.data.find('\n'));
    return false;
  }
  mSent[place].answered = true;
  return true;
}

void RelpLink::Close(int timeoutMilliseconds) {
  if (IsOpen()) {
    std::string why;
    const std::uint32_t closeTxnr = mNextTxnr;
    AppendRelpFrame(closeTxnr, "close", "", mOutgoing);
    if (mStream->SendAll(mOutgoing, timeoutMilliseconds, why)) {
      // The answer is awaited so that the collector ends the session cleanly; nothing depends on it.
      const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
      std::string bytes;
      while (MillisecondsLeft(deadline) > 0 &&
             mStream->Receive(bytes, kReadSize, MillisecondsLeft(deadline), why) ==
                 platform::ByteStream::ReceiveResult::kData) {
        if (bytes.find('\n') != std::string::npos) break;
      }
    }
  }
  Drop();
}

}  // namespace Tavro_KVO_Util::shipping
