// The web server of a test: the one that its build names, started as the demo starts it.

#pragma once

#include <string>

// Its name, as box/web-server takes it.
std::string web_server();

// Starts it and waits until it serves the unit's pages under that scheme.
void start_web_server(const std::string& scheme = "http");
