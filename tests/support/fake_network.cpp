#include "support/fake_network.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

constexpr const char* group = "226.0.0.19";
constexpr const char* first_unit = "10.77.1.1";
constexpr in_port_t api_port = 8000;

// Waits shortly for one datagram.
bool receive(int socket, std::string& text, sockaddr_in& sender) {
  std::array<char, 4096> bytes;
  socklen_t size = sizeof sender;
  auto* address = reinterpret_cast<sockaddr*>(&sender);
  const ssize_t length = recvfrom(socket, bytes.data(), bytes.size(), 0, address, &size);
  if (length >= 0) text.assign(bytes.data(), static_cast<std::size_t>(length));
  return length >= 0;
}

void send(int socket, const std::string& text, const sockaddr_in& to) {
  sendto(socket, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

// A UDP socket bound to the API port of one address.
int bind_unit_socket(const std::string& address) {
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in own{};
  own.sin_family = AF_INET;
  own.sin_port = htons(api_port);
  inet_aton(address.c_str(), &own.sin_addr);
  constexpr timeval short_wait{0, 20'000};
  setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &short_wait, sizeof short_wait);
  // A child that is just being started still holds the last socket of this address.
  constexpr int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
    std::perror(address.c_str());
    std::abort();
  }
  return descriptor;
}

}  // namespace

fake_network::fake_network(std::vector<scripted_answer> script) : script_(std::move(script)) {
  for (const std::string address : {group, first_unit}) sockets_[address] = bind_unit_socket(address);
  for (const scripted_answer& answer : script_) {
    if (!sockets_.contains(answer.from)) sockets_[answer.from] = bind_unit_socket(answer.from);
  }
  ip_mreq membership{};
  inet_aton(group, &membership.imr_multiaddr);
  inet_aton("10.77.0.1", &membership.imr_interface);
  setsockopt(sockets_[group], IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership);
  thread_ = std::thread{[this] { serve(); }};
}

fake_network::~fake_network() {
  ending_ = true;
  thread_.join();
  for (const auto& [address, socket] : sockets_) close(socket);
}

std::vector<std::string> fake_network::heard(std::size_t count) {
  constexpr int most_looks = 500;
  for (int look = 0;; ++look) {
    usleep(10'000);
    const std::lock_guard lock{mutex_};
    if (heard_.size() >= count || look == most_looks) return heard_;
  }
}

void fake_network::serve() {
  constexpr int short_wait = 20;
  std::vector<pollfd> arrivals;
  for (const auto& [address, socket] : sockets_) arrivals.push_back({socket, POLLIN, 0});
  while (!ending_) {
    poll(arrivals.data(), arrivals.size(), short_wait);
    auto arrival = arrivals.begin();
    for (const auto& [address, socket] : sockets_) {
      if ((arrival++)->revents != 0) take(address);
    }
  }
}

void fake_network::take(const std::string& address) {
  std::string request;
  sockaddr_in sender{};
  if (!receive(sockets_[address], request, sender)) return;
  {
    const std::lock_guard lock{mutex_};
    heard_.push_back(request);
  }
  if (request.find("UNIT.ID=NONE") != std::string::npos) return;
  if (request.find("&QUERY.") == std::string::npos) {
    send(sockets_[address == group ? first_unit : address], "API=SUCCESS", sender);
    return;
  }
  for (const scripted_answer& answer : script_) {
    if (address != group && address != answer.from) continue;
    std::this_thread::sleep_for(answer.wait);
    send(sockets_[answer.from], answer.text, sender);
  }
}

fake_service::fake_service(std::vector<std::vector<std::string>> replies)
    : replies_(std::move(replies)), socket_(bind_unit_socket("127.0.0.1")), thread_([this] { serve(); }) {}

fake_service::~fake_service() {
  end();
  close(socket_);
}

std::vector<std::string> fake_service::end() {
  ending_ = true;
  if (thread_.joinable()) thread_.join();
  return heard_;
}

void fake_service::serve() {
  while (!ending_) {
    std::string message;
    sockaddr_in sender{};
    if (!receive(socket_, message, sender)) continue;
    heard_.push_back(message);
    std::ofstream{"/var/log/tools.log", std::ios::app} << "api " << message << '\n';
    if (heard_.size() > replies_.size()) continue;
    for (const std::string& datagram : replies_[heard_.size() - 1]) send(socket_, datagram, sender);
  }
}
