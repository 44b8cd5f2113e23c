#include "feed/gunzip.h"

#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace qiv {
namespace {

constexpr int gzip_only = 16 + MAX_WBITS;
constexpr std::size_t chunk_bytes = std::size_t{1} << 16U;

class Inflater {
 public:
  explicit Inflater(const std::string& name) : _name(name) {
    if (inflateInit2(&_stream, gzip_only) != Z_OK) fail("cannot be unpacked (out of memory)");
  }
  ~Inflater() { inflateEnd(&_stream); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  // Appends one member to `out` and takes it off `bytes`.
  void read_member(std::string_view& bytes, std::string& out, std::uint64_t max_bytes) {
    if (inflateReset(&_stream) != Z_OK) fail("cannot be unpacked");
    for (int status = Z_OK; status != Z_STREAM_END;) {
      const std::size_t offered =
          std::min<std::size_t>(bytes.size(), std::numeric_limits<uInt>::max());
      _stream.next_in = reinterpret_cast<const Bytef*>(bytes.data());
      _stream.avail_in = static_cast<uInt>(offered);
      _stream.next_out = _chunk;
      _stream.avail_out = chunk_bytes;
      status = inflate(&_stream, Z_NO_FLUSH);
      bytes.remove_prefix(offered - _stream.avail_in);
      const std::size_t unpacked = chunk_bytes - _stream.avail_out;
      if (out.size() + unpacked > max_bytes)
        fail("holds more than " + std::to_string(max_bytes) +
             " bytes: split it, or raise the limit if it is what it claims to be");
      out.append(reinterpret_cast<const char*>(_chunk), unpacked);
      if (status == Z_BUF_ERROR) fail("ends too early: fetch it again");
      if (status != Z_OK && status != Z_STREAM_END) fail("is damaged: fetch it again");
    }
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    throw std::runtime_error(_name + " (gzip) " + what);
  }

  const std::string& _name;
  z_stream _stream{};
  Bytef _chunk[chunk_bytes];
};

}  // namespace

bool is_gzip(std::string_view bytes) {
  return bytes.starts_with("\x1F\x8B");
}

std::string gunzip(std::string_view bytes, const std::string& name, std::uint64_t max_bytes) {
  Inflater inflater(name);
  std::string out;
  do {
    inflater.read_member(bytes, out, max_bytes);
  } while (is_gzip(bytes));
  return out;
}

}  // namespace qiv
