#include "feed/file_bundle.h"

#include <zip.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "feed/gunzip.h"
#include "feed/quotation.h"

namespace qiv {
namespace {

constexpr std::uint64_t small_bytes = std::uint64_t{1} << 20U;

[[noreturn]] void fail(const std::string& file, const std::string& what) {
  throw std::runtime_error(file + " " + what);
}

void check_size(const std::string& file, std::uint64_t bytes, std::uint64_t max_bytes) {
  if (bytes > max_bytes)
    fail(file, "holds " + std::to_string(bytes) + " bytes, more than the limit of " +
                   std::to_string(max_bytes) +
                   ": split it, or raise the limit if it is what it claims to be");
}

std::string read_file(const std::filesystem::path& path, std::uint64_t max_bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) fail(path.string(), "cannot be opened: check that it exists and may be read");
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path, error);
  if (error) fail(path.string(), "cannot be read: " + error.message());
  check_size(path.string(), size, max_bytes);
  std::string bytes(size, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(size));
  if (static_cast<std::uint64_t>(in.gcount()) != size)
    fail(path.string(), "cannot be read to its end: check the disk, and that nobody writes to it");
  return bytes;
}

bool is_zip(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  char magic[4] = {};
  in.read(magic, sizeof magic);
  const std::string_view begin(magic, static_cast<std::size_t>(in.gcount()));
  return begin == "PK\x03\x04" || begin == "PK\x05\x06";
}

bool leads_out(std::string_view entry) {
  if (entry.empty() || entry.front() == '/') return true;
  while (!entry.empty()) {
    const std::size_t end = std::min(entry.find('/'), entry.size());
    if (entry.substr(0, end) == "..") return true;
    entry.remove_prefix(std::min(end + 1, entry.size()));
  }
  return false;
}

struct FileCloser {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};

std::string read_zip_entry(zip_t* zip, const zip_stat_t& entry, const std::string& name) {
  const std::unique_ptr<zip_file_t, FileCloser> file(zip_fopen_index(zip, entry.index, 0));
  if (!file) fail(name, std::string("cannot be unpacked: ") + zip_strerror(zip));
  std::string bytes;
  std::size_t done = 0;
  while (done < entry.size) {  // grows with what arrives: the declared size may be a lie
    bytes.resize(std::min<std::size_t>(entry.size, std::max(2 * done, small_bytes)));
    const zip_int64_t n = zip_fread(file.get(), bytes.data() + done, bytes.size() - done);
    if (n <= 0) fail(name, "is damaged: fetch the file again");
    done += static_cast<std::size_t>(n);
  }
  char beyond = 0;
  if (zip_fread(file.get(), &beyond, 1) != 0) fail(name, "is damaged: fetch the file again");
  return bytes;
}

void check_zip_entry(const zip_stat_t& entry, const std::string& name,
                     const FileBundleLimits& limits) {
  if ((entry.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && entry.encryption_method != ZIP_EM_NONE)
    fail(name, "is encrypted: pack it again without a password");
  check_size(name, entry.size, limits.entry_bytes);
  if (entry.size > small_bytes && entry.size / limits.ratio > entry.comp_size)
    fail(name, "unpacks from " + std::to_string(entry.comp_size) + " to " +
                   std::to_string(entry.size) +
                   " bytes, which no table does: unpack it yourself if you trust it");
}

[[noreturn]] void fail_to_open(const std::string& name, const std::string& message) {
  fail(name, "cannot be opened as a zip file (" + message + "): fetch it again");
}

// A zip file whose bytes live as long as it is open.
struct ZipInMemory {
  explicit ZipInMemory(std::string content) : bytes(std::move(content)) {}
  ~ZipInMemory() {
    if (zip != nullptr) zip_discard(zip);
  }
  ZipInMemory(const ZipInMemory&) = delete;
  ZipInMemory& operator=(const ZipInMemory&) = delete;

  std::string bytes;
  zip_t* zip = nullptr;
};

std::shared_ptr<zip_t> open_zip_file(const std::string& path) {
  int code = 0;
  zip_t* const zip = zip_open(path.c_str(), ZIP_RDONLY, &code);
  if (zip != nullptr) return {zip, zip_discard};
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  const std::string message = zip_error_strerror(&error);
  zip_error_fini(&error);
  fail_to_open(path, message);
}

}  // namespace

FileBundle FileBundle::open(const std::filesystem::path& path, const FileBundleLimits& limits) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status))
    fail(path.string(), "does not exist: check the path, and that it may be read");
  FileBundle bundle(path.string(), limits);
  if (std::filesystem::is_directory(status)) {
    bundle.add_folder(path);
  } else if (is_zip(path)) {
    bundle.add_zip(open_zip_file(path.string()));
  } else {
    bundle.add(path.filename().string(),
               [path, limits] { return read_file(path, limits.entry_bytes); });
  }
  return bundle;
}

FileBundle FileBundle::open_zip(std::string bytes, const std::string& name,
                                const FileBundleLimits& limits) {
  const auto memory = std::make_shared<ZipInMemory>(std::move(bytes));
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* const source =
      zip_source_buffer_create(memory->bytes.data(), memory->bytes.size(), 0, &error);
  if (source != nullptr) {
    memory->zip = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (memory->zip == nullptr) zip_source_free(source);
  }
  const std::string message = zip_error_strerror(&error);
  zip_error_fini(&error);
  if (memory->zip == nullptr) fail_to_open(name, message);
  FileBundle bundle(name, limits);
  bundle.add_zip({memory, memory->zip});
  return bundle;
}

FileBundle FileBundle::of(const std::map<std::string, std::string>& contents,
                          const std::string& name, const FileBundleLimits& limits) {
  FileBundle bundle(name, limits);
  for (const auto& [entry, content] : contents)
    bundle.add(entry, [bytes = content] { return bytes; });
  return bundle;
}

std::vector<std::string> FileBundle::entries() const {
  std::vector<std::string> names;
  names.reserve(_entries.size());
  for (const auto& [entry, load] : _entries) names.push_back(entry);
  return names;
}

std::optional<std::string> FileBundle::read(std::string_view entry) const {
  const auto found = _entries.find(entry);
  if (found == _entries.end()) return std::nullopt;
  std::string bytes = found->second();
  if (!is_gzip(bytes)) return bytes;
  return gunzip(bytes, _name + ": " + found->first, _limits.entry_bytes);
}

void FileBundle::add(std::string entry, Load load) {
  std::replace(entry.begin(), entry.end(), '\\', '/');
  if (leads_out(entry)) {
    _rejections.add("entry leads out of the bundle", [&] { return quotation(_name, entry); });
  } else if (contains(entry)) {
    _rejections.add("entry occurs twice", [&] { return quotation(_name, entry); });
  } else {
    _entries.emplace(std::move(entry), std::move(load));
  }
}

void FileBundle::add_folder(const std::filesystem::path& folder) {
  try {
    std::uint64_t count = 0;
    for (auto file = std::filesystem::recursive_directory_iterator(folder);
         file != std::filesystem::recursive_directory_iterator(); ++file) {
      const bool hidden = file->path().filename().string().starts_with('.');
      if (hidden && file->is_directory()) file.disable_recursion_pending();
      if (hidden || !file->is_regular_file()) continue;
      if (++count > _limits.entries) fail(_name, "holds too many files: split it");
      add(file->path().lexically_relative(folder).generic_string(),
          [path = file->path(), limit = _limits.entry_bytes] { return read_file(path, limit); });
    }
  } catch (const std::filesystem::filesystem_error& error) {
    fail(_name, std::string("cannot be listed: ") + error.code().message());
  }
}

void FileBundle::add_zip(const std::shared_ptr<zip_t>& zip) {
  const auto count = static_cast<zip_uint64_t>(zip_get_num_entries(zip.get(), 0));
  if (count > _limits.entries) fail(_name, "holds too many entries: split it");
  std::uint64_t total = 0;
  for (zip_uint64_t i = 0; i < count; ++i) {
    zip_stat_t entry;
    constexpr zip_uint64_t needed = ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE;
    if (zip_stat_index(zip.get(), i, 0, &entry) != 0 || (entry.valid & needed) != needed) {
      _rejections.add("entry cannot be read", [&] { return _name; });
      continue;
    }
    const std::string_view name = entry.name;
    if (name.ends_with('/')) continue;
    check_size(_name, entry.size, _limits.total_bytes);
    total += entry.size;
    check_size(_name, total, _limits.total_bytes);
    const std::string full_name = _name + ": " + std::string(name);
    add(std::string(name), [zip, entry, full_name, limits = _limits] {
      check_zip_entry(entry, full_name, limits);
      return read_zip_entry(zip.get(), entry, full_name);
    });
  }
}

}  // namespace qiv
