#include "shipping/octet_counted_link.h"

#include "shipping/collector_stream.h"

namespace Tavro_KVO_Util::shipping {
namespace {

// A collector that takes nothing for this long is treated as gone.
constexpr int kSendTimeoutMilliseconds = 10000;
// Gathered frames go out once they fill this much.
constexpr std::size_t kFlushSize = 256 * 1024;

}  // namespace

bool OctetCountedLink::Open(int timeoutMilliseconds, std::string& why) {
  mHandedOver = 0;
  mGathered = 0;
  mOutgoing.clear();
  mStream = ConnectToCollector(mDestination, mTlsFiles, timeoutMilliseconds, why);
  return mStream != nullptr;
}

bool OctetCountedLink::Send(std::string_view message, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return false;
  }
  mOutgoing += std::to_string(message.size());
  mOutgoing += ' ';
  mOutgoing += message;
  ++mGathered;
  return mOutgoing.size() < kFlushSize || Flush(why);
}

bool OctetCountedLink::Flush(std::string& why) {
  if (mOutgoing.empty()) return true;
  const bool sent = mStream->SendAll(mOutgoing, kSendTimeoutMilliseconds, why);
  mOutgoing.clear();
  if (sent) mHandedOver += mGathered;
  mGathered = 0;
  return sent;
}

bool OctetCountedLink::Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) {
  if (!IsOpen()) {
    why = "not connected";
    return false;
  }
  if (!Flush(why)) return false;
  taken += mHandedOver;
  mHandedOver = 0;
  // The collector sends nothing back; reading only tells whether it closed the connection.
  std::string ignored;
  const auto result = mStream->Receive(ignored, 4096, timeoutMilliseconds, why);
  return result == platform::ByteStream::ReceiveResult::kData ||
         result == platform::ByteStream::ReceiveResult::kTimeout;
}

void OctetCountedLink::Close(int /*timeoutMilliseconds*/) {
  std::string why;
  if (!IsOpen()) return;
  Flush(why);  // nothing more can be done about a failure here; the connection is closed anyway
  mStream->Close();
  mStream.reset();
}

}  // namespace Tavro_KVO_Util::shipping
