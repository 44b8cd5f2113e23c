#include "host/app/serve_process.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "serve/sources/http_fetch.h"

namespace qiv::testing {

ServeProcess::ServeProcess(const std::filesystem::path& city) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  _process = fork();
  if (_process == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    execl(QIV_PROGRAM, QIV_PROGRAM, "serve", city.c_str(), "--port", "0", nullptr);
    _exit(127);
  }
  close(ends[1]);
  std::string line;
  for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';) line += c;
  close(ends[0]);
  const std::size_t at = line.find("http://");
  if (at == std::string::npos) {
    end(SIGKILL);
    throw std::runtime_error("the service gave no address: " + line);
  }
  _url = line.substr(at, line.size() - at - 1);
}

ServeProcess::~ServeProcess() {
  end(SIGKILL);
}

void ServeProcess::end(int signal) {
  if (_process < 0) return;
  kill(_process, signal);
  waitpid(_process, nullptr, 0);
  _process = -1;
}

std::string ServeProcess::ask(const std::string& path) const {
  FetchRequest request;
  request.url = _url + path;
  return fetch(request).body;
}

double ServeProcess::metric(const std::string& name) const {
  const std::string text = ask("/metrics");
  const std::string start = "\n" + name + " ";
  const std::size_t at = text.find(start);
  return at == std::string::npos ? -1.0 : std::stod(text.substr(at + start.size()));
}

bool eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 600; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

}  // namespace qiv::testing
