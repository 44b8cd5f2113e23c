#include "host/app/program.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace qiv::testing {

Program::Program(const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& environment) {
  int ends[2];
  // Errors go to a file: nobody reads them before the end, and a pipe that is full would stop it.
  char name[] = "/tmp/qiv-errors-XXXXXX";
  _err = mkstemp(name);
  if (_err < 0 || pipe(ends) != 0) throw std::runtime_error("no pipe");
  unlink(name);
  _process = fork();
  if (_process < 0) throw std::runtime_error("no process");
  if (_process == 0) {
    dup2(ends[1], STDOUT_FILENO);
    dup2(_err, STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    std::string program = QIV_PROGRAM;
    std::vector<std::string> own = arguments;
    std::vector<char*> argv = {program.data()};
    for (std::string& argument : own) argv.push_back(argument.data());
    argv.push_back(nullptr);
    for (const auto& [variable, value] : environment) setenv(variable.c_str(), value.c_str(), 1);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(ends[1]);
  _out = ends[0];
}

Program::~Program() {
  end(SIGKILL);
  close(_out);
  close(_err);
}

std::string Program::wait_for(const std::string& text) {
  std::string line;
  for (char c = 0; read(_out, &c, 1) == 1;) {
    if (c != '\n') {
      line += c;
    } else if (line.find(text) != std::string::npos) {
      return line;
    } else {
      line.clear();
    }
  }
  return "";
}

std::string Program::wait_for_url() {
  const std::string line = wait_for("http://");
  if (line.empty()) return "";
  const std::size_t begin = line.find("http://");
  return line.substr(begin, line.find('/', begin + 7) - begin);
}

int Program::wait() {
  if (_process < 0) return _code;
  int status = 0;
  waitpid(_process, &status, 0);
  _process = -1;
  _code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return _code;
}

int Program::end(int signal) {
  if (_process >= 0) kill(_process, signal);
  return wait();
}

std::string Program::errors() {
  std::string text;
  lseek(_err, 0, SEEK_SET);
  char part[4096];
  for (ssize_t count = 0; (count = read(_err, part, sizeof part)) > 0;) {
    text.append(part, static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace qiv::testing
