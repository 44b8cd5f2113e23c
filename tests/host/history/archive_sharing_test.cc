#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

/// Runs `work` in a process of its own; exit code 0 if it does not throw.
template <class Work>
pid_t start(Work&& work) {
  const pid_t child = fork();
  if (child != 0) return child;
  try {
    work();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    _exit(1);
  }
  _exit(0);
}

int exit_code(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ArchiveSharingTest, SeveralProcessesMayMakeAndWriteTheSameArchive) {
  const samples::TemporaryFolder folder;
  const auto file = folder / "archive.sqlite";
  constexpr int processes = 4;
  constexpr int positions_each = 25;
  std::vector<pid_t> children;
  for (int process = 0; process < processes; ++process) {
    children.push_back(start([&] {
      Archive archive(file, {ArchiveOptions::Access::write, std::chrono::seconds(60), 0});
      VehiclePosition position;
      for (int i = 0; i < positions_each; ++i) {
        position.received = samples::midnight + Seconds(i);
        position.vehicle = VehicleId("V" + std::to_string((process + i) % processes));
        position.trip = TripId("T" + std::to_string(process));
        archive.record(std::vector{position});
      }
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(exit_code(child), 0);

  const Archive archive(file);
  const auto positions = archive.positions(Instant::min(), Instant::max());
  EXPECT_EQ(positions.size(), static_cast<std::size_t>(processes * positions_each));
  for (const VehiclePosition& p : positions) {
    const auto i = (p.received - samples::midnight).count();
    const auto process = std::stoll(p.trip.text().substr(1));
    EXPECT_EQ(p.vehicle.text(), "V" + std::to_string((process + i) % processes));
  }
}

TEST(ArchiveSharingTest, AReaderSeesWhatAWriterHasFinished) {
  const samples::TemporaryFolder folder;
  Archive writer(folder / "archive.sqlite");
  const Archive reader(folder / "archive.sqlite", {ArchiveOptions::Access::read, {}, 0});
  writer.together([&] {
    writer.correct_progress(samples::run_of("V", "T", "P", "08:00:00 at 0"));
    EXPECT_EQ(reader.under_way().size(), 0U);
  });
  EXPECT_EQ(reader.under_way().size(), 1U);
}

}  // namespace
}  // namespace qiv
