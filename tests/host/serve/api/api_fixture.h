#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "host/serve/api/sample_snapshot.h"
#include "host/serve/http/http_client.h"
#include "serve/api/api_server.h"

namespace qiv::testing {

/// A server that shows the sample.
class ApiTest : public ::testing::Test {
 protected:
  /// With an answer to `why`, an action "reload", a page, and the token "secret".
  static ApiOptions sample_options();

  void start(ApiOptions options = sample_options());
  void show(Snapshot snapshot);

  Response get(const std::string& target) const { return testing::get(_server->port(), target); }
  /// The answer's JSON, whatever its status.
  nlohmann::json json(const std::string& target) const {
    return nlohmann::json::parse(get(target).body);
  }
  /// "404 not_found".
  std::string error(const std::string& target) const;

  std::unique_ptr<ApiServer> _server;
};

}  // namespace qiv::testing
