#include "base/datagram.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "base/handles.hpp"

namespace {

using namespace std::chrono_literals;

struct Datagram : testing::Test {
  Datagram() {
    socklen_t size = sizeof own;
    EXPECT_EQ(bind_any_port(socket.get()), 0);
    getsockname(socket.get(), reinterpret_cast<sockaddr*>(&own), &size);
    own.sin_addr = datagram_address("127.0.0.1", 0).sin_addr;
    set_receive_timeout(socket.get(), 100ms);
  }

  const unique_fd socket{open_datagram_socket()};
  sockaddr_in own{};
  std::array<char, 5> buffer{'o', 'l', 'd', '!', '!'};
};

}  // namespace

// If it fails, an answer of a unit is read past its end, or its sender is mistaken.
TEST_F(Datagram, TextIsCutAtTheBufferAndAlwaysTerminated) {
  EXPECT_EQ(send_datagram(socket.get(), "abcd", own), 4);
  EXPECT_EQ(send_datagram(socket.get(), "abcdef", own), 6);
  EXPECT_EQ(send_datagram(socket.get(), "", own), 0);
  sockaddr_in sender{};
  EXPECT_EQ(receive_datagram(socket.get(), buffer, &sender), 4);
  EXPECT_STREQ(buffer.data(), "abcd");
  EXPECT_EQ(sender.sin_addr.s_addr, own.sin_addr.s_addr);
  EXPECT_EQ(sender.sin_port, own.sin_port);
  EXPECT_EQ(receive_datagram(socket.get(), buffer), 4);
  EXPECT_STREQ(buffer.data(), "abcd");
  EXPECT_EQ(receive_datagram(socket.get(), buffer), 0);
  EXPECT_STREQ(buffer.data(), "");
}

// If it fails, signals make a discovery wait for ever.
TEST_F(Datagram, ManySignalsDoNotProlongTheTimeOut) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  set_receive_timeout(socket.get(), 300ms);
  constexpr itimerval every_20_ms{{0, 20'000}, {0, 20'000}};
  setitimer(ITIMER_REAL, &every_20_ms, nullptr);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(receive_datagram(socket.get(), buffer), -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 290ms);
  std::thread sender{[this] {
    std::this_thread::sleep_for(100ms);
    send_datagram(socket.get(), "late", own);
  }};
  EXPECT_EQ(receive_datagram(socket.get(), buffer), 4);
  sender.join();
}
