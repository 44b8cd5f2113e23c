#include "serve/web/embedded_page.h"

namespace qiv {

const std::vector<EmbeddedFile>& embedded_page() {
  static const std::vector<EmbeddedFile> files = {{"/index.html", "text/html; charset=utf-8",
                                                   R"(<!doctype html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>qiv</title>
<h1>qiv is running</h1>
<p>This program was built without its page. To have it, install <code>nodejs</code> and <code>npm</code>,
configure with <code>-DQIV_BUILD_PAGE=ON</code>, and build again.</p>
<p>The forecasts are served all the same:</p>
<ul>
<li><a href="/api/v1/status">/api/v1/status</a></li>
<li><a href="/api/v1/openapi.json">/api/v1/openapi.json</a></li>
<li><a href="/gtfs-rt/trip-updates?format=text">/gtfs-rt/trip-updates?format=text</a></li>
<li><a href="/gtfs-rt/vehicle-positions?format=text">/gtfs-rt/vehicle-positions?format=text</a></li>
<li><a href="/metrics">/metrics</a></li>
</ul>
</html>
)",
                                                   false}};
  return files;
}

}  // namespace qiv
