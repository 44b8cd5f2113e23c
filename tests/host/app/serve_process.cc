#include "host/app/serve_process.h"

#include <signal.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "serve/sources/http_fetch.h"

namespace qiv::testing {

ServeProcess::ServeProcess(const std::filesystem::path& city)
    : _program({"serve", city.string(), "--port", "0"}), _url(_program.wait_for_url()) {
  if (_url.empty()) {
    _program.end(SIGKILL);
    throw std::runtime_error("the service gave no address: " + _program.errors());
  }
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
