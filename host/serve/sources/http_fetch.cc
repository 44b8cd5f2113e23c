#include "serve/sources/http_fetch.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <mutex>
#include <string_view>

namespace qiv {
namespace {

struct Transfer {
  FetchAnswer answer;
  std::uint64_t most_bytes = 0;
  std::stop_token stop;
  bool too_large = false;
};

std::size_t take_body(char* bytes, std::size_t, std::size_t size, void* user) {
  auto& transfer = *static_cast<Transfer*>(user);
  if (transfer.answer.body.size() + size > transfer.most_bytes) {
    transfer.too_large = true;
    return 0;
  }
  transfer.answer.body.append(bytes, size);
  return size;
}

std::string_view trimmed(std::string_view text) {
  constexpr const char* spaces = " \t\r\n";
  const auto first = text.find_first_not_of(spaces);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(spaces) - first + 1);
}

bool same_name(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

std::size_t take_header(char* bytes, std::size_t, std::size_t size, void* user) {
  auto& answer = static_cast<Transfer*>(user)->answer;
  const std::string_view line(bytes, size);
  if (line.starts_with("HTTP/")) {  // of a redirection's target too
    answer.etag.clear();
    answer.last_modified.clear();
  }
  const auto colon = line.find(':');
  if (colon == std::string_view::npos) return size;
  const std::string_view name = line.substr(0, colon);
  if (same_name(name, "ETag")) answer.etag = trimmed(line.substr(colon + 1));
  if (same_name(name, "Last-Modified")) answer.last_modified = trimmed(line.substr(colon + 1));
  return size;
}

int look_at_stop(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<Transfer*>(user)->stop.stop_requested() ? 1 : 0;
}

void initialize_once() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Headers = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

Headers headers_of(const FetchRequest& request) {
  curl_slist* list = nullptr;
  for (const std::string& header : request.headers) {
    list = curl_slist_append(list, header.c_str());
  }
  if (!request.etag.empty()) {
    list = curl_slist_append(list, ("If-None-Match: " + request.etag).c_str());
  }
  if (!request.last_modified.empty()) {
    list = curl_slist_append(list, ("If-Modified-Since: " + request.last_modified).c_str());
  }
  return {list, &curl_slist_free_all};
}

void set_options(CURL* curl, const FetchRequest& request, Transfer& transfer) {
  curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
  curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS,
                   static_cast<long>(request.connect_timeout.count()));
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
  curl_easy_setopt(curl, CURLOPT_USERAGENT, "qiv");
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &take_body);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &take_header);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &look_at_stop);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
}

std::string remedy_for(long status) {
  if (status == 401 || status == 403) return ": check the key in the source's headers";
  if (status == 404 || status == 410) return ": check the address";
  if (status == 429) return ": asked too often; raise the source's interval";
  return "";
}

}  // namespace

FetchAnswer fetch(const FetchRequest& request, std::stop_token stop) {
  initialize_once();
  Transfer transfer;
  transfer.most_bytes = request.most_bytes;
  transfer.stop = std::move(stop);
  const Handle curl(curl_easy_init(), &curl_easy_cleanup);
  const Headers headers = headers_of(request);
  set_options(curl.get(), request, transfer);
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
  const CURLcode code = curl_easy_perform(curl.get());
  FetchAnswer answer = std::move(transfer.answer);
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &answer.status);
  if (transfer.too_large) {
    answer.error = "the answer is larger than " + std::to_string(request.most_bytes) +
                   " bytes: raise the source's limit if that is right";
  } else if (code != CURLE_OK) {
    answer.error = curl_easy_strerror(code);
  } else if (answer.status == 304) {
    answer.not_modified = true;
  } else if (answer.status != 200) {
    answer.error = "HTTP status " + std::to_string(answer.status) + remedy_for(answer.status);
  } else {
    answer.ok = true;
  }
  if (!answer.ok) answer.body.clear();
  return answer;
}

std::string shown_url(const std::string& url) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parts(curl_url(), &curl_url_cleanup);
  if (curl_url_set(parts.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) return "?";
  for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_QUERY}) {
    curl_url_set(parts.get(), part, nullptr, 0);
  }
  char* text = nullptr;
  if (curl_url_get(parts.get(), CURLUPART_URL, &text, 0) != CURLUE_OK) return "?";
  const std::unique_ptr<char, decltype(&curl_free)> owned(text, &curl_free);
  return owned.get();
}

}  // namespace qiv
