#include "support/web_server.hpp"

#include <cstdlib>

#include "support/program.hpp"

std::string web_server() {
  const char* name = std::getenv("HANDLER_WEB_SERVER");
  return name != nullptr ? name : "lighttpd";
}

void start_web_server(const std::string& scheme) {
  std::system(("box/web-server " + web_server() + " 2> /dev/null &").c_str());
  wait_until("curl -sk -o /dev/null " + scheme + "://127.0.0.1:8080/");
}
