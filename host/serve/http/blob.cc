#include "serve/http/blob.h"

#include <libdeflate.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
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

struct FreeCompressor {
  void operator()(libdeflate_compressor* compressor) const {
    libdeflate_free_compressor(compressor);
  }
};

/// Empty when it does not become smaller.
std::string compress(const std::string& bytes) {
  // The fastest level: live answers are compressed anew with every cycle.
  constexpr int level = 1;
  const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
      libdeflate_alloc_compressor(level));
  if (compressor == nullptr) return {};
  const std::size_t most = bytes.size() - 1;
  const auto out = std::make_unique_for_overwrite<char[]>(most);
  const std::size_t size =
      libdeflate_gzip_compress(compressor.get(), bytes.data(), bytes.size(), out.get(), most);
  return {out.get(), size};
}

}  // namespace

Blob::Blob(std::string bytes, std::string content_type, std::optional<Instant> modified)
    : _bytes(std::move(bytes)),
      _content_type(std::move(content_type)),
      _modified(modified),
      _tag(tag_of(_bytes)) {}

const std::string* Blob::gzip() const {
  if (_bytes.size() < smallest_compressed || is_packed(_content_type)) return nullptr;
  std::call_once(_compressed, [this] { _gzip = compress(_bytes); });
  return _gzip.empty() ? nullptr : &_gzip;
}

BlobPtr make_blob(std::string bytes, std::string content_type, std::optional<Instant> modified) {
  return std::make_shared<const Blob>(std::move(bytes), std::move(content_type), modified);
}

}  // namespace qiv
