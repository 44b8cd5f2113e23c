#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "model/time.h"

namespace qiv {

/// Bytes that are served to any number of readers at once. Immutable; what is derived from the
/// bytes is made once, when first asked for. Safe to share between threads.
class Blob {
 public:
  /// `modified`: since when the bytes are as they are; empty: not stated to readers.
  Blob(std::string bytes, std::string content_type, std::optional<Instant> modified = std::nullopt);

  const std::string& bytes() const { return _bytes; }
  const std::string& content_type() const { return _content_type; }
  std::optional<Instant> modified() const { return _modified; }

  /// Names the content: equal bytes give equal names. Without quotes.
  const std::string& tag() const { return _tag; }

  /// The bytes as a gzip file; null where compressing does not make them smaller.
  const std::string* gzip() const;

 private:
  std::string _bytes;
  std::string _content_type;
  std::optional<Instant> _modified;
  std::string _tag;
  mutable std::once_flag _compressed;
  mutable std::string _gzip;
};

using BlobPtr = std::shared_ptr<const Blob>;

/// A blob to share.
BlobPtr make_blob(std::string bytes, std::string content_type,
                  std::optional<Instant> modified = std::nullopt);

}  // namespace qiv
