#include "serve/sources/folder_source.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "feed/file_bundle.h"
#include "serve/sources/pause.h"

namespace qiv {

namespace fs = std::filesystem;

namespace {

FeedIntakeOptions intake_options(const FolderSourceOptions& options) {
  FeedIntakeOptions intake;
  intake.name = options.name;
  intake.kind = "snapshots in " + options.folder.filename().string();
  if (options.content != FeedContent::positions) {
    intake.kind = std::string(to_string(options.content)) + " by " + intake.kind;
  }
  intake.content = options.content;
  intake.strip_prefixes = options.strip_prefixes;
  intake.stale_after = options.stale_after;
  intake.hold = options.hold;
  return intake;
}

}  // namespace

FolderSource::FolderSource(FolderSourceOptions options, Clock clock, TakeReport tell)
    : _options(std::move(options)),
      _clock(std::move(clock)),
      _intake(intake_options(_options), std::move(tell)) {}

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
    _intake.failed(_clock(), error.code().message() + ": check the source's folder");
  }
}

void FolderSource::read(const fs::path& file, const TakePositions& take) {
  const Instant now = _clock();
  try {
    const FileBundle bundle = FileBundle::open(file);
    const std::string bytes = bundle.read(bundle.entries().at(0)).value();
    _intake.take(now, bytes, take, file.filename().string());
  } catch (const std::runtime_error& error) {
    _intake.failed(now, error.what());
  }
}

}  // namespace qiv
