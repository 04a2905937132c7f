#include "render/omSimpleWindow.h"
#include "tests/support/printCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

std::string socketOf(const std::string& number)
{
  return "/tmp/.X11-unix/X" + number;
}

/// A local server that does with each client what the test wants. DISPLAY names it while it lives.
class FakeServer
{
public:
  using Answer = std::function<void(int client, std::size_t before)>; ///< given how many clients came before

  explicit FakeServer(Answer answer) : m_answer(std::move(answer)), m_socket(socket(AF_UNIX, SOCK_STREAM, 0))
  {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    for (int number = 300; m_number.empty() && number < 400; ++number)
    {
      socketOf(std::to_string(number)).copy(address.sun_path, sizeof address.sun_path - 1);
      if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        m_number = std::to_string(number);
    }
    EXPECT_EQ(listen(m_socket, 5), 0);
    setenv("DISPLAY", (":" + m_number).c_str(), 1);
    m_thread = std::thread([this] { serve(); });
  }
  ~FakeServer()
  {
    stop();
    for (const int client : m_clients)
      close(client);
    close(m_socket);
    unlink(socketOf(m_number).c_str());
  }
  FakeServer(const FakeServer&) = delete;
  FakeServer& operator=(const FakeServer&) = delete;

  const std::string& number() const { return m_number; }

  /// Takes no more clients, and returns how many came.
  std::size_t stop()
  {
    shutdown(m_socket, SHUT_RDWR);
    if (m_thread.joinable())
      m_thread.join();
    return m_clients.size();
  }

private:
  void serve()
  {
    for (int client; (client = accept(m_socket, nullptr, nullptr)) >= 0;)
    {
      m_answer(client, m_clients.size());
      m_clients.push_back(client);
    }
  }

  const Answer m_answer;
  const int m_socket;
  std::string m_number;
  std::vector<int> m_clients;
  std::thread m_thread;
};

void hangUp(int client)
{
  shutdown(client, SHUT_RDWR);
}

/// Whether a window opens, and if not, says so once.
bool opens()
{
  const PrintCapture capture(4);
  OmSimpleWindow window;
  window.setHideWindow(true);
  const bool opened = window.init();
  const Messages failure = {{4, "X11::openWindow - Cannot open display.\n"},
                            {4, "OmWindow::Impl::openWindow Failed\n"}};
  EXPECT_EQ(capture.messages(), opened ? Messages() : failure);
  return opened;
}

} // namespace

TEST(omX11ServerTest, AServerThatHangsUpIsTriedForHalfASecond)
{
  std::signal(SIGPIPE, SIG_IGN); // Xlib may still be writing
  FakeServer server([](int client, std::size_t) { hangUp(client); });
  EXPECT_FALSE(opens());
  EXPECT_GE(server.stop(), 4u);  // each try is one of Xlib's and one of the library's
  EXPECT_LE(server.stop(), 42u); // with the pauses in between
}

TEST(omX11ServerTest, AServerThatComesBackIsOpened)
{
  const char* const display = std::getenv("DISPLAY");
  ASSERT_TRUE(display);
  const std::string real = display;
  std::string path;
  FakeServer server(
      [&](int client, std::size_t before)
      {
        if (before == 2) // from now on the real one's clients
        {
          unlink(path.c_str());
          EXPECT_EQ(symlink(socketOf(real.substr(1, real.find('.') - 1)).c_str(), path.c_str()), 0);
        }
        hangUp(client);
      });
  path = socketOf(server.number());
  EXPECT_TRUE(opens());
  EXPECT_EQ(server.stop(), 3u);
}

TEST(omX11ServerTest, OtherServersAreTriedOnce)
{
  const std::pair<FakeServer::Answer, std::size_t> cases[] = {
      {[](int client, std::size_t) { usleep(300000), hangUp(client); }, 1}, // too slow for a server that resets itself
      {[](int client, std::size_t before) { before == 0 ? hangUp(client) : void(); }, 2}, // gives no answer after that
  };
  for (const auto& [answer, clients] : cases)
  {
    FakeServer server(answer);
    EXPECT_FALSE(opens());
    EXPECT_EQ(server.stop(), clients);
  }
}

TEST(omX11ServerTest, ARefusalIsTakenForAnAnswerToTheUsersCookie)
{
  std::vector<std::string> greetings;
  FakeServer server(
      [&](int client, std::size_t)
      {
        char greeting[256];
        const ssize_t size = recv(client, greeting, sizeof greeting, 0);
        greetings.emplace_back(greeting, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        send(client, "\0\4\v\0\0\0\1\0full", 12, MSG_NOSIGNAL); // refused, with a reason of 4 bytes
        hangUp(client);
      });
  constexpr char Cookie[] = "\377\377\0\0\0\0\0\22MIT-MAGIC-COOKIE-1\0\20sixteen bytes..."; // of any host and display
  const std::string file = testing::TempDir() + "omX11ServerTest" + std::to_string(getpid());
  std::ofstream(file, std::ios::binary).write(Cookie, sizeof Cookie - 1);
  setenv("XAUTHORITY", file.c_str(), 1);
  EXPECT_FALSE(opens());
  unlink(file.c_str());
  ASSERT_EQ(server.stop(), 2u);
  EXPECT_NE(greetings[0].find("sixteen bytes..."), std::string::npos);
  EXPECT_EQ(greetings[1], greetings[0]) << "the library introduces itself as Xlib does";
}
