#include "host/app/stream_programs.h"

#include <fstream>
#include <sstream>

#include "serve/sources/http_fetch.h"

namespace qiv::testing {

void StreamProgramsTest::begin(StreamData data) {
  BrokerTest::begin(std::move(data));
  std::ofstream(folder / "city.toml")
      << "name = \"" << stream->prefix << "\"\n[kafka]\nagency = \"" << stream_agency.text()
      << "\"\ngroup = \"" << stream->options("").group
      << "\"\nproperties = { \"bootstrap.servers\" = \""
      << stream->properties.at("bootstrap.servers") << "\" }\n";
}

std::string answer_of(const std::string& url) {
  FetchRequest request;
  request.url = url;
  const FetchAnswer answer = fetch(request);
  return answer.status == 200 ? answer.body : "";
}

double sum_of(const std::string& metrics_text, const std::string& name) {
  double sum = 0.0;
  std::istringstream lines(metrics_text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(name + " ") && !line.starts_with(name + "{")) continue;
    sum += std::stod(line.substr(line.rfind(' ')));
  }
  return sum;
}

}  // namespace qiv::testing
