#include "shipping/octet_counted_link.h"

namespace Tavro_KVO_Util::shipping {
namespace {

// A collector that takes nothing for this long is treated as gone.
constexpr int kSendTimeoutMilliseconds = 10000;

}  // namespace

bool OctetCountedLink::Open(int timeoutMilliseconds, std::string& why) {
  mHandedOver = 0;
  return mConnection.Connect(mDestination.host, mDestination.port, timeoutMilliseconds, why);
}

bool OctetCountedLink::Send(std::string_view message, std::string& why) {
  std::string frame = std::to_string(message.size());
  frame += ' ';
  frame += message;
  if (!mConnection.SendAll(frame, kSendTimeoutMilliseconds, why)) return false;
  ++mHandedOver;
  return true;
}

bool OctetCountedLink::Collect(int timeoutMilliseconds, std::size_t& taken, std::string& why) {
  taken += mHandedOver;
  mHandedOver = 0;
  // The collector sends nothing back; reading only tells whether it closed the connection.
  std::string ignored;
  const auto result = mConnection.Receive(ignored, 4096, timeoutMilliseconds, why);
  return result == platform::TcpConnection::ReceiveResult::kData ||
         result == platform::TcpConnection::ReceiveResult::kTimeout;
}

void OctetCountedLink::Close(int /*timeoutMilliseconds*/) { mConnection.Close(); }

}  // namespace Tavro_KVO_Util::shipping
