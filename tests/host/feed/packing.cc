#include "host/feed/packing.h"

#define ZLIB_CONST
#include <zip.h>
#include <zlib.h>

#include <stdexcept>

namespace qiv {
namespace {

void require(bool done, const char* what) {
  if (!done) throw std::runtime_error(what);
}

}  // namespace

std::string zip_of(const std::vector<std::pair<std::string, std::string>>& entries) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* const target = zip_source_buffer_create(nullptr, 0, 0, &error);
  require(target != nullptr, "zip_source_buffer_create");
  zip_source_keep(target);
  zip_t* const zip = zip_open_from_source(target, ZIP_TRUNCATE, &error);
  require(zip != nullptr, "zip_open_from_source");
  for (const auto& [name, content] : entries) {
    zip_source_t* const source = zip_source_buffer(zip, content.data(), content.size(), 0);
    require(zip_file_add(zip, name.c_str(), source, 0) >= 0, "zip_file_add");
  }
  require(zip_close(zip) == 0, "zip_close");
  require(zip_source_open(target) == 0, "zip_source_open");
  zip_source_seek(target, 0, SEEK_END);
  std::string bytes(static_cast<std::size_t>(zip_source_tell(target)), '\0');
  zip_source_seek(target, 0, SEEK_SET);
  const zip_int64_t read = zip_source_read(target, bytes.data(), bytes.size());
  require(read == static_cast<zip_int64_t>(bytes.size()), "zip_source_read");
  zip_source_close(target);
  zip_source_free(target);
  zip_error_fini(&error);
  return bytes;
}

std::string gzip_of(std::string_view content) {
  z_stream stream{};
  require(deflateInit2(&stream, 9, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY) == Z_OK,
          "deflateInit2");
  std::string bytes(deflateBound(&stream, content.size()), '\0');
  stream.next_in = reinterpret_cast<const Bytef*>(content.data());
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
  stream.avail_out = static_cast<uInt>(bytes.size());
  require(deflate(&stream, Z_FINISH) == Z_STREAM_END, "deflate");
  bytes.resize(bytes.size() - stream.avail_out);
  deflateEnd(&stream);
  return bytes;
}

}  // namespace qiv
