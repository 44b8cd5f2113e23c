#include "history/archive_error.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using samples::TemporaryFolder;
using testing::AllOf;
using testing::HasSubstr;
using Access = ArchiveOptions::Access;
using Kind = ArchiveError::Kind;

struct Failure {
  std::optional<Kind> kind;
  std::string text;
};

template <class Work>
Failure failure_of(Work&& work) {
  try {
    work();
  } catch (const ArchiveError& error) {
    return {error.kind(), error.what()};
  }
  return {std::nullopt, "no failure"};
}

void execute(const std::filesystem::path& file, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
}

std::vector<VehiclePosition> many_positions() {
  std::vector<VehiclePosition> positions(20'000);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    positions[i].received = samples::midnight + Seconds(i);
    positions[i].vehicle = VehicleId("vehicle " + std::to_string(i));
  }
  return positions;
}

class ArchiveErrorTest : public testing::Test {
 protected:
  Failure opening(Access access = Access::write) const {
    return failure_of([&] { Archive(file, {access, std::chrono::milliseconds(10), 0}); });
  }

  TemporaryFolder folder;
  std::filesystem::path file = folder / "archive.sqlite";
};

TEST_F(ArchiveErrorTest, MissingFile) {
  const Failure failure = opening(Access::read);
  EXPECT_EQ(failure.kind, Kind::missing);
  EXPECT_THAT(failure.text, AllOf(HasSubstr(file.string()), HasSubstr("make the city first")));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(ArchiveErrorTest, MissingFolder) {
  file = folder / "nowhere/archive.sqlite";
  EXPECT_EQ(opening().kind, Kind::missing);
  EXPECT_THAT(opening().text, HasSubstr("is not a folder; make it first"));
}

TEST_F(ArchiveErrorTest, FolderInsteadOfAFile) {
  file = folder.path();
  EXPECT_EQ(opening().kind, Kind::not_an_archive);
}

TEST_F(ArchiveErrorTest, NotADatabase) {
  const std::string text(5000, 'x');
  std::ofstream(file) << text;
  const Failure failure = opening();
  EXPECT_EQ(failure.kind, Kind::not_an_archive);
  EXPECT_THAT(failure.text, AllOf(HasSubstr(file.string()), HasSubstr("check the path")));
  EXPECT_EQ(std::filesystem::file_size(file), text.size());
}

TEST_F(ArchiveErrorTest, DatabaseOfAnotherProgramStaysAsItIs) {
  execute(file, "CREATE TABLE theirs (x)");
  EXPECT_EQ(opening().kind, Kind::not_an_archive);
  EXPECT_THAT(opening().text, HasSubstr("another program"));
  execute(file, "PRAGMA application_id = 1; PRAGMA user_version = 1");
  EXPECT_EQ(opening().kind, Kind::not_an_archive);
  execute(file, "INSERT INTO theirs VALUES (1)");
}

TEST_F(ArchiveErrorTest, NewerVersion) {
  Archive{file};
  execute(file, "PRAGMA user_version = 99");
  for (const Access access : {Access::read, Access::write}) {
    const Failure failure = opening(access);
    EXPECT_EQ(failure.kind, Kind::newer);
    EXPECT_THAT(failure.text,
                AllOf(HasSubstr("format 99"), HasSubstr("later version"), HasSubstr("use that")));
  }
}

TEST_F(ArchiveErrorTest, TruncatedFile) {
  {
    Archive archive(file);
    archive.record(many_positions());
  }
  std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
  const Failure failure = failure_of([&] {
    Archive archive(file);
    archive.positions(Instant::min(), Instant::max());
  });
  EXPECT_EQ(failure.kind, Kind::damaged);
  EXPECT_THAT(failure.text, HasSubstr("restore it from a backup"));
}

TEST_F(ArchiveErrorTest, Locked) {
  Archive archive(file, {Access::write, std::chrono::milliseconds(10), 0});
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const Failure failure = failure_of([&] { archive.add_timetable({"a", "b", {}}); });
  EXPECT_EQ(failure.kind, Kind::locked);
  EXPECT_THAT(failure.text, HasSubstr("another program"));
  EXPECT_EQ(archive.timetables().size(), 0U);  // reading goes on
  EXPECT_EQ(opening(Access::read).kind, std::nullopt);
  sqlite3_close(other);
  archive.add_timetable({"a", "b", {}});
  EXPECT_EQ(archive.timetables().size(), 1U);
}

TEST_F(ArchiveErrorTest, OpenedForReading) {
  Archive{file};
  Archive archive(file, {Access::read, {}, 0});
  const Failure failure = failure_of([&] { archive.add_timetable({"a", "b", {}}); });
  EXPECT_EQ(failure.kind, Kind::read_only);
  EXPECT_THAT(failure.text, HasSubstr("give write permission"));
}

TEST_F(ArchiveErrorTest, WriteProtectedFile) {
  Archive{file};
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
  std::filesystem::permissions(file, std::filesystem::perms(0444));
  // The superuser may write all the same, so an ordinary user tries.
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (geteuid() == 0 && seteuid(65534) != 0) _exit(2);
    _exit(opening().kind == Kind::read_only ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
}

TEST_F(ArchiveErrorTest, SizeLimit) {
  Archive archive(file, {Access::write, {}, 300'000});
  archive.add_timetable({"a", "b", {}});
  const Failure failure = failure_of([&] { archive.record(many_positions()); });
  EXPECT_EQ(failure.kind, Kind::full);
  EXPECT_THAT(failure.text, AllOf(HasSubstr("make room"), HasSubstr(file.string())));
  EXPECT_EQ(archive.summary().positions, 0U);
  archive.add_timetable({"c", "d", {}});
  EXPECT_EQ(archive.timetables().size(), 2U);
  EXPECT_LE(archive.summary().bytes, 300'000U);
}

TEST_F(ArchiveErrorTest, FullInTheMiddleOfATransactionUndoesAll) {
  Archive archive(file, {Access::write, {}, 300'000});
  EXPECT_THROW(archive.together([&] {
    archive.add_timetable({"a", "b", {}});
    EXPECT_EQ(failure_of([&] { archive.record(many_positions()); }).kind, Kind::full);
    archive.add_timetable({"c", "d", {}});
    throw std::runtime_error("give up");
  }),
               std::runtime_error);
  EXPECT_EQ(archive.timetables().size(), 0U);
}

}  // namespace
}  // namespace qiv
