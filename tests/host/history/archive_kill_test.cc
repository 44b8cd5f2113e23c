#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

constexpr int positions_in_a_batch = 200;

/// Batch `number`: positions of one poll, a finished trip, and one under way.
void write_batch(Archive& archive, int number) {
  const Instant received = samples::midnight + Seconds(number);
  const std::string name = std::to_string(number);
  std::vector<VehiclePosition> positions(positions_in_a_batch);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    positions[i].received = received;
    positions[i].vehicle = VehicleId("V" + std::to_string(i) + " of " + name);
  }
  archive.together([&] {
    archive.record(positions);
    archive.add_runs(std::vector<ArchivedRun>{
        {samples::run_of("V", "T" + name, "P", "08:00:00 at 0 \n 08:02:00 at 900"), {}}});
    archive.correct_progress(samples::run_of("V", "U" + name, "P", "08:00:00 at 0"));
  });
}

/// Writes batches from `first` on and tells the number of each to `acknowledge` once it is written.
[[noreturn]] void write_until_killed(const std::filesystem::path& file, int first,
                                     int acknowledge) {
  Archive archive(file);
  for (int number = first;; ++number) {
    write_batch(archive, number);
    if (write(acknowledge, &number, sizeof number) != sizeof number) _exit(1);
  }
}

/// The last number that can be read from `pipe`, of at most `most` numbers; `last` if there is
/// none.
int last_of(int pipe, int last, int most) {
  int number = 0;
  for (int i = 0; i < most && read(pipe, &number, sizeof number) == sizeof number; ++i) {
    last = number;
  }
  return last;
}

/// Has a process write from batch `first` on, kills it, and returns the last batch that it
/// acknowledged, `first - 1` if none.
int write_and_kill(const std::filesystem::path& file, int first, std::mt19937& random) {
  int ends[2];
  if (pipe(ends) != 0) return -2;
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    write_until_killed(file, first, ends[1]);
  }
  close(ends[1]);
  const int before = last_of(ends[0], first - 1, std::uniform_int_distribution(0, 8)(random));
  usleep(std::uniform_int_distribution<useconds_t>(0, 20'000)(random));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  const int last = last_of(ends[0], before, 1 << 20);
  close(ends[0]);
  return last;
}

TEST(ArchiveKillTest, HoldsAllThatWasAcknowledgedAndOnlyWholeBatches) {
  const samples::TemporaryFolder folder;
  const auto file = folder / "archive.sqlite";
  std::mt19937 random(20251007);
  int next = 0;
  for (int repetition = 0; repetition < 10; ++repetition) {
    const int acknowledged = write_and_kill(file, next, random) + 1;
    ASSERT_GE(acknowledged, next);
    Archive archive(file);
    const auto batches = static_cast<int>(archive.runs().size());
    EXPECT_GE(batches, acknowledged);
    EXPECT_LE(batches, acknowledged + 1);
    EXPECT_EQ(archive.under_way().size(), static_cast<std::size_t>(batches));
    for (int number = 0; number < batches; ++number) {
      const Instant received = samples::midnight + Seconds(number);
      EXPECT_EQ(archive.positions(received, received + Seconds(1)).size(), positions_in_a_batch);
    }
    EXPECT_EQ(archive.summary().positions,
              static_cast<std::uint64_t>(batches) * positions_in_a_batch);
    next = batches;
  }
  EXPECT_GT(next, 0);
}

}  // namespace
}  // namespace qiv
