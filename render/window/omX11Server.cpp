#include "render/window/omX11Server.h"

#include "foundation/common/omUtils.h"

#include <X11/X.h>
#include <X11/Xauth.h>
#include <X11/Xproto.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds Patience(500);
constexpr std::chrono::milliseconds SlowTry(100); // a longer attempt is not repeated: a resetting server refuses sooner
constexpr unsigned int PauseMs = 25;

/// "7" for ":7", ":7.0" and "unix:7". Empty for a display of another host.
std::string localNumber(const std::string& display)
{
  const std::size_t colon = display.find(':');
  if (colon == std::string::npos || (colon > 0 && display.compare(0, colon, "unix") != 0))
    return {};
  return display.substr(colon + 1, display.find('.', colon) - colon - 1);
}

/// Connects to a local server and sends a client's first message, to learn what XOpenDisplay() does not report: how the
/// server refuses. Stays connected while it lives, so that the server does not reset itself again for want of a client.
class Greeting
{
public:
  explicit Greeting(const std::string& number) : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
  {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/tmp/.X11-unix/X" + number;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    m_connected = m_socket >= 0 && connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (m_connected)
      introduce(number);
  }
  ~Greeting()
  {
    if (m_socket >= 0)
      close(m_socket);
  }
  Greeting(const Greeting&) = delete;
  Greeting& operator=(const Greeting&) = delete;

  /// Whether XOpenDisplay() is worth another try: the server closes the connection, or it accepts clients now. False if
  /// it refuses the client or does not answer.
  bool isWorthATry() const
  {
    if (!m_connected)
      return false;
    pollfd ready = {m_socket, POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(SlowTry.count())) <= 0)
      return false;
    char answer = xFalse;
    return recv(m_socket, &answer, 1, 0) <= 0 || answer == xTrue;
  }

private:
  void introduce(const std::string& number) const
  {
    char host[256] = "";
    gethostname(host, sizeof host - 1);
    char kind[] = "MIT-MAGIC-COOKIE-1";
    char* kinds[] = {kind};
    const int kindSizes[] = {sizeof kind - 1};
    Xauth* const cookie =
        XauGetBestAuthByAddr(FamilyLocal, static_cast<unsigned short>(std::strlen(host)), host,
                             static_cast<unsigned short>(number.size()), number.c_str(), 1, kinds, kindSizes);
    xConnClientPrefix prefix = {};
    prefix.byteOrder = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 'l' : 'B';
    prefix.majorVersion = X_PROTOCOL;
    prefix.minorVersion = X_PROTOCOL_REVISION;
    prefix.nbytesAuthProto = cookie ? cookie->name_length : 0;
    prefix.nbytesAuthString = cookie ? cookie->data_length : 0;
    std::string text(reinterpret_cast<const char*>(&prefix), sz_xConnClientPrefix);
    if (cookie)
    {
      const auto add = [&text](const char* data, std::size_t size)
      {
        text.append(data, size);
        text.append((4 - size % 4) % 4, '\0');
      };
      add(cookie->name, cookie->name_length);
      add(cookie->data, cookie->data_length);
      XauDisposeAuth(cookie);
    }
    send(m_socket, text.data(), text.size(), MSG_NOSIGNAL); // recv() sees whether that failed
  }

  int m_socket;
  bool m_connected = false;
};

} // namespace

Display* omOpenDisplay()
{
  const std::string number = localNumber(XDisplayName(nullptr));
  const Clock::time_point end = Clock::now() + Patience;
  std::optional<Greeting> greeting;
  for (;;)
  {
    const Clock::time_point start = Clock::now();
    Display* const display = XOpenDisplay(nullptr);
    const Clock::time_point now = Clock::now();
    if (display || number.empty() || now - start > SlowTry || now > end)
      return display;
    if (!greeting.emplace(number).isWorthATry())
      return nullptr;
    OmSLEEPMS(PauseMs);
  }
}
