#include "serve/web/page_files.h"

#include <stdexcept>
#include <string_view>

#include "evaluate/plot_svg.h"
#include "serve/web/embedded_page.h"

namespace qiv {
namespace {

constexpr std::string_view for_ever = "public, max-age=31536000, immutable";

[[noreturn]] void refuse(const std::string& tiles) {
  throw std::invalid_argument(
      "the tile address \"" + tiles +
      "\" is neither https://HOST/PATH nor http://HOST/PATH nor a path that "
      "begins with \"/\", with {z}, {x} and {y}");
}

/// Scheme and host, as a Content-Security-Policy names them; empty for a path on this server.
std::string host_of(const std::string& tiles) {
  for (const char* part : {"{z}", "{x}", "{y}"}) {
    if (tiles.find(part) == std::string::npos) refuse(tiles);
  }
  if (tiles.front() == '/' && tiles.substr(0, 2) != "//") return {};
  const std::size_t scheme = tiles.rfind("https://", 0) == 0 ? 8 : 7;
  if (scheme == 7 && tiles.rfind("http://", 0) != 0) refuse(tiles);
  const std::string host = tiles.substr(0, tiles.find('/', scheme));
  const auto odd = host.find_first_not_of(
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-:[]", scheme);
  if (host.size() == scheme || odd != std::string::npos) refuse(tiles);
  return host;
}

void replace_all(std::string& text, std::string_view what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
    text.replace(at, what.size(), by);
    at += by.size();
  }
}

/// What the page may do, as it says itself, and that nobody may frame it, which only a header can
/// say.
std::string policy_of(std::string_view index) {
  constexpr std::string_view before = "http-equiv=\"Content-Security-Policy\" content=\"";
  const std::size_t found = index.find(before);
  if (found == std::string_view::npos) return "default-src 'none'; frame-ancestors 'none'";
  const std::size_t begin = found + before.size();
  return std::string(index.substr(begin, index.find('"', begin) - begin)) +
         "; frame-ancestors 'none'";
}

}  // namespace

std::map<std::string, StaticFile> page_files(const BaseMap& base_map) {
  const std::string tile_host = base_map.tiles.empty() ? "" : host_of(base_map.tiles);
  std::map<std::string, StaticFile> files;
  for (const EmbeddedFile& embedded : embedded_page()) {
    StaticFile file;
    file.bytes = embedded.bytes;
    file.content_type = embedded.content_type;
    if (embedded.hashed) file.cache_control = for_ever;
    if (embedded.path == "/index.html") {
      replace_all(file.bytes, "{{tile_host}}", tile_host);
      replace_all(file.bytes, "{{tiles}}", escape_markup(base_map.tiles));
      replace_all(file.bytes, "{{tiles_attribution}}", escape_markup(base_map.attribution));
    }
    files.emplace(embedded.path, std::move(file));
  }
  // Of the map's worker too: it is bound by the policy that it comes with, not by the page's.
  const std::string policy = policy_of(files.at("/index.html").bytes);
  for (auto& [path, file] : files) file.headers.emplace_back("Content-Security-Policy", policy);
  return files;
}

}  // namespace qiv
