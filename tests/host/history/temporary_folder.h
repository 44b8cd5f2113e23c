#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace qiv::samples {

/// A folder of its own for one test, which goes with it. In memory where there is such a place.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (parent() / "qiv-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
    _path = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  const std::filesystem::path& path() const { return _path; }
  std::filesystem::path operator/(const char* name) const { return _path / name; }

 private:
  static std::filesystem::path parent() {
    const std::filesystem::path memory = "/dev/shm";
    return access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
  }

  std::filesystem::path _path;
};

}  // namespace qiv::samples
