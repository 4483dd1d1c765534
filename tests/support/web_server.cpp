#include "support/web_server.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

std::string web_server() {
  const char* name = std::getenv("HANDLER_WEB_SERVER");
  return name != nullptr ? name : "lighttpd";
}

void start_web_server() {
  const std::string command =
      "box/web-server " + web_server() +
      " 2> /dev/null & for i in $(seq 600); do "
      "curl -s -o /dev/null http://127.0.0.1:8080/ && exit 0; sleep 0.1; done; exit 1";
  EXPECT_EQ(std::system(command.c_str()), 0);
}
