#include "support/program.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/files.hpp"

namespace {

constexpr const char* program = "/www/cgi-bin/handler.cgi";

std::string path_of(int file) {
  return "/proc/self/fd/" + std::to_string(file);
}

int memory_file(const std::string& content = {}) {
  const int file = memfd_create("test", MFD_CLOEXEC);
  write_file(path_of(file), content);
  return file;
}

std::string take_content(int file) {
  std::string content = read_file(path_of(file));
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
  const bool by_shell = !sent.shell_prefix.empty();
  std::string line = sent.shell_prefix + " " + program;
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
  std::system(("fleet " + options + " > /tmp/fleet.out &").c_str());
  wait_until("grep -q ready /tmp/fleet.out");
}

void wait_until(const std::string& condition) {
  const std::string loop = "for i in $(seq 600); do " + condition + " && exit; sleep 0.1; done; exit 1";
  EXPECT_EQ(std::system(loop.c_str()), 0) << condition;
}

std::string refusal(const std::string& message) {
  return "Content-type: text/html,\n\n<HTML><HEAD><meta name=\"ERROR_RORRE\" content=\"none\"></HEAD>"
         "<BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n<Center>\n" +
         message + "</Center></BODY></HTML>";
}

std::string body_of(const std::string& command, const std::string& answer) {
  const std::string frame = page(command, "|");
  const std::size_t head = frame.find('|');
  const std::size_t tail = frame.size() - head - 1;
  const bool framed = answer.size() >= head + tail && answer.starts_with(frame.substr(0, head)) &&
                      answer.ends_with(frame.substr(head + 1));
  return framed ? answer.substr(head, answer.size() - head - tail) : answer;
}

std::string body_of(const std::string& command) {
  return body_of(command, run_program(get("CMD=" + command)).out);
}

std::string page(const std::string& command, const std::string& body) {
  return "Content-type: text/html\r\n\r\n<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n<p>Key: "
         "CMD value: " +
         command + "</p>\n" + body + "</BODY></HTML>\n";
}
