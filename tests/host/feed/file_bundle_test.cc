#include "feed/file_bundle.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "host/feed/packing.h"
#include "host/feed/temporary_folder.h"

namespace qiv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20U;

// Puts `value` into the uncompressed size of the first entry, wherever the zip file states it.
std::string with_declared_size(std::string zip, std::uint32_t value) {
  const auto put = [&](std::size_t at) {
    for (unsigned i = 0; i < 4; ++i) zip[at + i] = static_cast<char>(value >> (8 * i));
  };
  put(zip.find("PK\x03\x04") + 22);
  put(zip.find("PK\x01\x02") + 24);
  return zip;
}

TEST(FileBundle, ReadsAZipFile) {
  const FileBundle bundle =
      FileBundle::open_zip(zip_of({{"b.txt", "two"}, {"a.txt", "one"}, {"c/d.txt", ""}}), "x.zip");
  EXPECT_THAT(bundle.entries(), ElementsAre("a.txt", "b.txt", "c/d.txt"));
  EXPECT_EQ(bundle.read("b.txt"), "two");
  EXPECT_EQ(bundle.read("c/d.txt"), "");
  EXPECT_FALSE(bundle.read("d.txt").has_value());
  EXPECT_TRUE(bundle.contains("a.txt"));
  EXPECT_FALSE(bundle.contains("c/"));
}

TEST(FileBundle, ReadsAZipFileFromDisk) {
  const TemporaryFolder folder;
  folder.write("feed.dat", zip_of({{"a.txt", "one"}}));
  const FileBundle bundle = FileBundle::open(folder.path() / "feed.dat");
  EXPECT_THAT(bundle.entries(), ElementsAre("a.txt"));
  EXPECT_EQ(bundle.read("a.txt"), "one");
}

TEST(FileBundle, ReadsAFolderAndItsFolders) {
  const TemporaryFolder folder;
  folder.write("b.txt", "two");
  folder.write("2025/10/a.txt", "one");
  folder.write(".hidden", "no");
  folder.write(".git/config", "no");
  const FileBundle bundle = FileBundle::open(folder.path());
  EXPECT_THAT(bundle.entries(), ElementsAre("2025/10/a.txt", "b.txt"));
  EXPECT_EQ(bundle.read("2025/10/a.txt"), "one");
}

TEST(FileBundle, ReadsASingleFileAndUnpacksIt) {
  const TemporaryFolder folder;
  folder.write("a.csv.gz", gzip_of("content"));
  const FileBundle bundle = FileBundle::open(folder.path() / "a.csv.gz");
  EXPECT_THAT(bundle.entries(), ElementsAre("a.csv.gz"));
  EXPECT_EQ(bundle.read("a.csv.gz"), "content");
}

TEST(FileBundle, SaysWhatIsMissing) {
  EXPECT_THAT([] { FileBundle::open("/no/such/file.zip"); },
              ThrowsMessage<std::runtime_error>(
                  HasSubstr("/no/such/file.zip does not exist: check the path")));
}

TEST(FileBundle, SaysWhatIsDamaged) {
  const std::string zip = zip_of({{"a.txt", std::string(1000, 'x')}});
  EXPECT_THAT([&] { FileBundle::open_zip(zip.substr(0, zip.size() / 2), "x.zip"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x.zip cannot be opened as a zip file")));
  EXPECT_THAT([] { FileBundle::open_zip("PK\x03\x04 and so on", "x.zip"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x.zip cannot be opened as a zip file")));
}

TEST(FileBundle, LeavesOutNamesThatLeadOut) {
  const FileBundle bundle = FileBundle::open_zip(
      zip_of({{"../a.txt", "1"}, {"/etc/b", "2"}, {"x/../../c", "3"}, {"x/..d", "4"}}), "x.zip");
  EXPECT_THAT(bundle.entries(), ElementsAre("x/..d"));
  EXPECT_EQ(bundle.rejections().count("entry leads out of the bundle"), 3U);
}

TEST(FileBundle, TakesBackslashesForFolders) {
  const FileBundle bundle = FileBundle::open_zip(zip_of({{"gtfs\\stops.txt", "1"}}), "x.zip");
  EXPECT_THAT(bundle.entries(), ElementsAre("gtfs/stops.txt"));
}

TEST(FileBundle, RefusesAZipBomb) {
  const std::string bomb = zip_of({{"stop_times.txt", std::string(64 * mebibyte, '0')}});
  EXPECT_LT(bomb.size(), mebibyte);
  const FileBundle bundle = FileBundle::open_zip(bomb, "x.zip");
  EXPECT_THAT([&] { bundle.read("stop_times.txt"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x.zip: stop_times.txt unpacks from")));
}

TEST(FileBundle, RefusesAnEntryBeyondTheLimit) {
  FileBundleLimits limits;
  limits.entry_bytes = 10;
  const FileBundle bundle =
      FileBundle::open_zip(zip_of({{"a", "0123456789"}, {"b", "0123456789+"}}), "x.zip", limits);
  EXPECT_EQ(bundle.read("a"), "0123456789");
  EXPECT_THAT([&] { bundle.read("b"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x.zip: b holds 11 bytes")));
}

TEST(FileBundle, RefusesMoreThanTheTotal) {
  FileBundleLimits limits;
  limits.total_bytes = 10;
  EXPECT_THAT(
      [&] {
        FileBundle::open_zip(zip_of({{"a", "012345"}, {"b", "012345"}}), "x.zip", limits);
      },
      ThrowsMessage<std::runtime_error>(HasSubstr("x.zip holds 12 bytes")));
}

TEST(FileBundle, RefusesTooManyEntries) {
  FileBundleLimits limits;
  limits.entries = 1;
  EXPECT_THAT(
      [&] {
        FileBundle::open_zip(zip_of({{"a", ""}, {"b", ""}}), "x.zip", limits);
      },
      ThrowsMessage<std::runtime_error>(HasSubstr("x.zip holds too many entries")));
}

TEST(FileBundle, RefusesAFileBeyondTheLimit) {
  const TemporaryFolder folder;
  folder.write("a.txt", "0123456789+");
  FileBundleLimits limits;
  limits.entry_bytes = 10;
  const FileBundle bundle = FileBundle::open(folder.path(), limits);
  EXPECT_THAT([&] { bundle.read("a.txt"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("a.txt holds 11 bytes")));
}

TEST(FileBundle, RefusesGzipBeyondTheLimit) {
  FileBundleLimits limits;
  limits.entry_bytes = 1000;
  const FileBundle bundle =
      FileBundle::of({{"a.csv.gz", gzip_of(std::string(1001, 'x'))}}, "x", limits);
  EXPECT_THAT([&] { bundle.read("a.csv.gz"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("x: a.csv.gz (gzip) holds more than")));
}

TEST(FileBundle, DoesNotTrustADeclaredSize) {
  const std::string zip = zip_of({{"a", std::string(100, 'x')}});
  for (const std::uint32_t declared : {10U, 101U, 900'000U}) {
    const FileBundle bundle = FileBundle::open_zip(with_declared_size(zip, declared), "x.zip");
    EXPECT_THROW(bundle.read("a"), std::runtime_error) << declared;
  }
}

}  // namespace
}  // namespace qiv
