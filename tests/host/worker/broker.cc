#include "host/worker/broker.h"

#include <signal.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace qiv::testing {
namespace {

std::string why_missing;
/// What a run is known by in which the tests on a broker are skipped.
const std::string no_broker = "no broker here: ";

}  // namespace

Broker* Broker::get() {
  static const std::unique_ptr<Broker> broker = [] {
    try {
      const char* const nodes = std::getenv("QIV_BROKER_NODES");
      return std::make_unique<Broker>(nodes == nullptr ? 1 : std::stoi(nodes));
    } catch (const std::runtime_error& error) {
      why_missing = error.what();
      return std::unique_ptr<Broker>();
    }
  }();
  return broker.get();
}

const std::string& Broker::missing() {
  return why_missing;
}

bool Broker::is_unavailable() {
  return why_missing.starts_with(no_broker);
}

Broker::Broker(int nodes)
    : _folder((std::filesystem::temp_directory_path() / "qiv-broker-XXXXXX").string()) {
  if (mkdtemp(_folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
  const int code = run("start --nodes " + std::to_string(nodes), &_servers);
  if (code == 0) return;
  std::filesystem::remove_all(_folder);
  constexpr int unavailable = 3;
  throw std::runtime_error((code == unavailable ? no_broker : "the broker did not start: ") +
                           _servers);
}

Broker::~Broker() {
  run("stop");
  std::filesystem::remove_all(_folder);
}

int Broker::run(const std::string& command, std::string* said) const {
  const std::string line =
      std::string(QIV_SOURCE_DIR) + "/scripts/broker " + command + " " + _folder + " 2>&1";
  FILE* const pipe = popen(line.c_str(), "r");
  if (pipe == nullptr) return -1;
  std::array<char, 256> part{};
  std::string text;
  while (fgets(part.data(), part.size(), pipe) != nullptr) text += part.data();
  const int status = pclose(pipe);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  if (said != nullptr) *said = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int Broker::process() const {
  int number = 0;
  std::ifstream(_folder + "/node1.pid") >> number;
  if (number <= 1) throw std::runtime_error("the broker does not run");
  return number;
}

void Broker::pause() const {
  ::kill(process(), SIGSTOP);
}

void Broker::go_on() const {
  ::kill(process(), SIGCONT);
}

void Broker::restart() {
  run("stop");
  if (run("start") != 0) throw std::runtime_error("the broker does not start again");
}

kafka::Properties Broker::properties() const {
  return {{"bootstrap.servers", _servers}};
}

}  // namespace qiv::testing
