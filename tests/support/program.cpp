#include "support/program.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr const char* program = "/www/cgi-bin/handler.cgi";

int memory_file(const std::string& content = {}) {
  const int file = memfd_create("test", MFD_CLOEXEC);
  if (write(file, content.data(), content.size()) < 0) std::perror("memory_file");
  lseek(file, 0, SEEK_SET);
  return file;
}

std::string take_content(int file) {
  lseek(file, 0, SEEK_SET);
  std::string content;
  std::array<char, 65536> block;
  for (ssize_t length = 0; (length = read(file, block.data(), block.size())) > 0;) {
    content.append(block.data(), static_cast<std::size_t>(length));
  }
  close(file);
  return content;
}

pid_t start(const request& sent, int in, int out, int err) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : sent.environment) texts.push_back(name + "=" + value);
  std::vector<char*> environment;
  for (std::string& text : texts) environment.push_back(text.data());
  environment.push_back(nullptr);
  const pid_t process = fork();
  if (process != 0) return process;
  dup2(in, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  const bool by_shell = !sent.starter.empty();
  std::string line = sent.starter + " " + program;
  std::array<char*, 4> arguments{const_cast<char*>(program), nullptr, line.data(), nullptr};
  if (by_shell) arguments = {const_cast<char*>("sh"), const_cast<char*>("-c"), line.data(), nullptr};
  execve(by_shell ? "/bin/sh" : program, arguments.data(), environment.data());
  std::perror(program);
  _exit(127);
}

}  // namespace

request get(const std::string& query) {
  return {.environment = {{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", query}}, .body = {}};
}

request post(const std::string& body, const std::string& type) {
  return {.environment = {{"REQUEST_METHOD", "POST"},
                          {"CONTENT_TYPE", type},
                          {"CONTENT_LENGTH", std::to_string(body.size())}},
          .body = body};
}

request post_file(const std::string& command, const std::string& content, const std::string& name) {
  const std::string head = "--bound\r\nContent-Disposition: form-data; name=";
  return post(head + "CMD\r\n\r\n" + command + "\r\n" + head + "\"file\"; filename=\"" + name + "\"\r\n\r\n" +
                  content + "\r\n--bound--\r\n",
              "multipart/form-data; boundary=bound");
}

answer run_program(const request& sent, const std::function<void(pid_t)>& meanwhile) {
  const int in = memory_file(sent.body);
  const int out = memory_file();
  const int err = memory_file();
  const pid_t process = start(sent, in, out, err);
  if (meanwhile) meanwhile(process);
  const int status = wait_for(process);
  close(in);
  return {.status = status, .out = take_content(out), .err = take_content(err)};
}

pid_t start_program(const request& sent, int in, int out) {
  return start(sent, in, out, STDERR_FILENO);
}

int wait_for(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool is_sanitized() {
  return shell_output("grep -c libasan " + std::string{program}) != "0\n";
}

std::string shell_output(const std::string& command) {
  std::string output;
  std::FILE* pipe = popen(command.c_str(), "re");
  std::array<char, 4096> block;
  while (const std::size_t length = std::fread(block.data(), 1, block.size(), pipe)) {
    output.append(block.data(), length);
  }
  pclose(pipe);
  return output;
}

void start_fleet(const std::string& options) {
  const std::string command =
      "fleet " + options +
      " > /tmp/fleet.out & for i in $(seq 300); do grep -q ready /tmp/fleet.out && exit 0; "
      "sleep 0.1; done; exit 1";
  ASSERT_EQ(std::system(command.c_str()), 0);
}

std::string refusal(const std::string& message) {
  return "Content-type: text/html,\n\n<HTML><HEAD><meta name=\"ERROR_RORRE\" content=\"none\"></HEAD>"
         "<BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n<Center>\n" +
         message + "</Center></BODY></HTML>";
}

std::string page(const std::string& command, const std::string& body) {
  return "Content-type: text/html\r\n\r\n<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n<p>Key: "
         "CMD value: " +
         command + "</p>\n" + body + "</BODY></HTML>\n";
}
