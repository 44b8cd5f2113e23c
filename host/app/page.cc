#include "app/page.h"

namespace qiv {

std::map<std::string, StaticFile> page_files() {
  return {{"/index.html",
           {"<!doctype html><title>qiv</title><p>The service runs; see <a "
            "href=\"/api/v1/status\">its status</a>. This program was built without its page: "
            "install npm and build it again.",
            "text/html; charset=utf-8"}}};
}

}  // namespace qiv
