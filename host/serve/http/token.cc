#include "serve/http/token.h"

#include <algorithm>
#include <cstddef>

namespace qiv {
namespace {

constexpr std::string_view scheme = "bearer ";

bool is_bearer(std::string_view authorization) {
  if (authorization.size() < scheme.size()) return false;
  return std::equal(scheme.begin(), scheme.end(), authorization.begin(), [](char a, char b) {
    return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b - 'A' + 'a') : b);
  });
}

}  // namespace

bool is_authorized(std::string_view authorization, std::string_view token) {
  if (token.empty() || !is_bearer(authorization)) return false;
  const std::string_view stated = authorization.substr(scheme.size());
  // Every byte of what was stated is looked at, whatever the result so far.
  unsigned difference = stated.size() == token.size() ? 0U : 1U;
  for (std::size_t i = 0; i < stated.size(); ++i) {
    difference |= static_cast<unsigned char>(stated[i]) ^
                  static_cast<unsigned>(static_cast<unsigned char>(token[i % token.size()]));
  }
  return difference == 0;
}

}  // namespace qiv
