#include "serve/http/blob.h"

#include <zlib.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string_view>
#include <utility>

namespace qiv {
namespace {

// Below this a packet holds the answer anyway.
constexpr std::size_t smallest_compressed = 512;
// What has been compressed already.
constexpr std::array<std::string_view, 3> packed_types = {"image/", "font/", "application/zip"};

std::string tag_of(const std::string& bytes) {
  std::array<char, 40> text{};
  const int length =
      std::snprintf(text.data(), text.size(), "%016llx-%zx",
                    static_cast<unsigned long long>(std::hash<std::string>()(bytes)), bytes.size());
  return {text.data(), static_cast<std::size_t>(length)};
}

bool is_packed(std::string_view content_type) {
  if (content_type.starts_with("image/svg")) return false;
  for (const std::string_view packed : packed_types) {
    if (content_type.starts_with(packed)) return true;
  }
  return false;
}

/// Empty when it fails.
std::string compress(const std::string& bytes) {
  constexpr int gzip_window = MAX_WBITS + 16;
  constexpr int memory_level = 8;
  // The fastest level: live answers are compressed anew with every cycle.
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, gzip_window, memory_level,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    return {};
  }
  std::string out(deflateBound(&stream, bytes.size()), '\0');
  std::size_t read = 0;
  std::size_t written = 0;
  int state = Z_OK;
  while (state == Z_OK) {
    // zlib counts in 32 bits.
    constexpr std::size_t step = 1U << 30U;
    const std::size_t in_now = std::min(step, bytes.size() - read);
    const std::size_t out_now = std::min(step, out.size() - written);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data() + read));
    stream.avail_in = static_cast<uInt>(in_now);
    stream.next_out = reinterpret_cast<Bytef*>(out.data() + written);
    stream.avail_out = static_cast<uInt>(out_now);
    state = deflate(&stream, read + in_now == bytes.size() ? Z_FINISH : Z_NO_FLUSH);
    read += in_now - stream.avail_in;
    written += out_now - stream.avail_out;
  }
  deflateEnd(&stream);
  if (state != Z_STREAM_END) return {};
  out.resize(written);
  out.shrink_to_fit();
  return out;
}

}  // namespace

Blob::Blob(std::string bytes, std::string content_type, std::optional<Instant> modified)
    : _bytes(std::move(bytes)),
      _content_type(std::move(content_type)),
      _modified(modified),
      _tag(tag_of(_bytes)) {}

const std::string* Blob::gzip() const {
  if (_bytes.size() < smallest_compressed || is_packed(_content_type)) return nullptr;
  std::call_once(_compressed, [this] {
    std::string gzip = compress(_bytes);
    if (gzip.size() < _bytes.size()) _gzip = std::move(gzip);
  });
  return _gzip.empty() ? nullptr : &_gzip;
}

BlobPtr make_blob(std::string bytes, std::string content_type, std::optional<Instant> modified) {
  return std::make_shared<const Blob>(std::move(bytes), std::move(content_type), modified);
}

}  // namespace qiv
