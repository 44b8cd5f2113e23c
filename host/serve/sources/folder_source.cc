#include "serve/sources/folder_source.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "feed/file_bundle.h"
#include "feed/gtfs_realtime.h"
#include "feed/siri_vm.h"
#include "serve/sources/pause.h"

namespace qiv {

namespace fs = std::filesystem;

FolderSource::FolderSource(FolderSourceOptions options, Clock clock)
    : _options(std::move(options)),
      _clock(std::move(clock)),
      _monitor({_options.name, "snapshots in " + _options.folder.filename().string(),
                _options.stale_after}) {}

void FolderSource::run(std::stop_token stop, const TakePositions& take) {
  do {
    look(take);
  } while (!pause(stop, _options.interval));
}

/// Files behind the last one that was read, in the order of their names.
std::vector<fs::path> FolderSource::new_files() {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(_options.folder)) {
    const std::string name = entry.path().filename().string();
    if (entry.is_regular_file() && name > _last_name && !name.starts_with('.')) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

void FolderSource::look(const TakePositions& take) {
  try {
    std::vector<fs::path> files = new_files();
    if (_first_look && files.size() > 1) {
      _last_name = (files.end() - 2)->filename().string();
      files.erase(files.begin(), files.end() - 1);
    }
    _first_look = false;
    for (const fs::path& file : files) {
      const std::string name = file.filename().string();
      const std::uintmax_t size = fs::file_size(file);
      if (name != _growing || size != _grown_to) {
        _growing = name;
        _grown_to = size;
        if (file == files.back()) return;
      }
      _last_name = name;
      read(file, take);
    }
  } catch (const fs::filesystem_error& error) {
    _monitor.failed(_clock(), error.code().message() + ": check the source's folder");
  }
}

void FolderSource::read(const fs::path& file, const TakePositions& take) {
  const Instant now = _clock();
  try {
    const FileBundle bundle = FileBundle::open(file);
    const std::string bytes = bundle.read(bundle.entries().at(0)).value();
    if (_monitor.is_repeated(now, bytes)) return;
    PositionOptions reading;
    reading.name = file.filename().string();
    reading.received = now;
    reading.strip_prefixes = _options.strip_prefixes;
    PositionBatch batch = bytes.starts_with('<') || bytes.starts_with("\xEF\xBB\xBF<")
                              ? read_siri_vm(bytes, reading)
                              : read_vehicle_positions(bytes, reading);
    if (_monitor.accepts(now, batch)) take(std::move(batch.positions));
  } catch (const std::runtime_error& error) {
    _monitor.failed(now, error.what());
  }
}

}  // namespace qiv
