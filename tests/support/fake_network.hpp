// A network of units that the test scripts word by word: it hears the discovery group and answers a query
// after real waits. The simulated fleet plays well-behaved units; this plays exact ones.

#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct scripted_answer {
  std::string text;
  std::chrono::milliseconds wait{0};  // after the answer before it, or after the query
  std::string from = "10.77.1.1";     // any address of the box's network
};

class fake_network {
 public:
  // Answers a query of all units with the whole script, and one of a single unit with that unit's part. Any
  // other order is acknowledged: by the unit that it reaches, or by 10.77.1.1 where it reaches the group.
  explicit fake_network(std::vector<scripted_answer> script = {});
  fake_network(const fake_network&) = delete;
  fake_network& operator=(const fake_network&) = delete;
  ~fake_network();

  // The datagrams that the group and the units got, in order. Waits at most 5 s until `count` have come.
  std::vector<std::string> heard(std::size_t count);

 private:
  void serve();
  void take(const std::string& address);

  std::vector<scripted_answer> script_;
  std::map<std::string, int> sockets_;  // by address: the group's and each unit's
  std::atomic<bool> ending_ = false;
  std::mutex mutex_;
  std::vector<std::string> heard_;
  std::thread thread_;
};

// The unit's own API service at 127.0.0.1, scripted word by word: the n-th message is answered by the n-th
// list of datagrams, and further ones by silence. The messages are in the log of the tools' calls, too, after
// "api ".
class fake_service {
 public:
  explicit fake_service(std::vector<std::vector<std::string>> replies);
  fake_service(const fake_service&) = delete;
  fake_service& operator=(const fake_service&) = delete;
  ~fake_service();

  // Ends the service. Returns the messages that it heard, in order.
  std::vector<std::string> end();

 private:
  void serve();

  std::vector<std::vector<std::string>> replies_;
  int socket_;
  std::atomic<bool> ending_ = false;
  std::vector<std::string> heard_;
  std::thread thread_;
};
