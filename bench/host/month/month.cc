// Time and memory of the main job on the bundled month: init, record, learn, evaluate, each as a
// process of its own, several rounds. Every round must give the same figures.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr double most_seconds = 60.0;
constexpr double most_megabytes = 500.0;

struct Cost {
  double wall_s = 0.0;
  double cpu_s = 0.0;
  double peak_mb = 0.0;
};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs the program with its output thrown away. Throws when it does not end well.
Cost run(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process can be started");
  if (child == 0) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || status != 0) {
    throw std::runtime_error(arguments.at(0) + " " + arguments.at(1) + " did not end well");
  }
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  return {wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) / 1024.0};
}

/// The commands of the main job, on a city in `folder`.
std::vector<std::vector<std::string>> job(const fs::path& folder) {
  const fs::path data = fs::path(QIV_DATA_DIR) / "dart-2025";
  const std::string city = (folder / "dublin").string();
  std::vector<std::string> record = {QIV_PROGRAM, "record", city};
  for (const auto& file : fs::directory_iterator(data)) {
    if (file.path().extension() == ".gz") record.push_back(file.path().string());
  }
  std::sort(record.begin() + 3, record.end());
  return {{QIV_PROGRAM, "init", city, "--gtfs", (data / "gtfs.zip").string()},
          record,
          {QIV_PROGRAM, "learn", city, "--until", "2025-10-02"},
          {QIV_PROGRAM, "evaluate", city, "--from", "2025-10-03", "--to", "2025-10-09", "--json",
           (folder / "scores.json").string()}};
}

std::string content(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void print(const std::string& name, const Cost& cost) {
  std::printf("  %-10s %8.1f s %8.1f s %8.0f MB\n", name.c_str(), cost.wall_s, cost.cpu_s,
              cost.peak_mb);
}

/// One round: the sums of the times, and the highest memory.
Cost round(const fs::path& folder) {
  fs::remove_all(folder / "dublin");
  Cost total;
  for (const auto& command : job(folder)) {
    const Cost cost = run(command);
    print(command[1], cost);
    total.wall_s += cost.wall_s;
    total.cpu_s += cost.cpu_s;
    total.peak_mb = std::max(total.peak_mb, cost.peak_mb);
  }
  print("together", total);
  return total;
}

std::string processor() {
  std::ifstream in("/proc/cpuinfo");
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown processor";
}

bool verdict(const char* what, double value, double bar, const char* unit) {
  std::printf("%-7s %6.1f %s, bar %.0f %s: %s\n", what, value, unit, bar, unit,
              value < bar ? "met" : "NOT MET");
  return value < bar;
}

int bench(int rounds) {
  double load = 0.0;
  getloadavg(&load, 1);
  std::printf(
      "%s, %u threads, load %.1f before; build type %s; data dart-2025; %d rounds after a "
      "warm-up\n",
      processor().c_str(), std::thread::hardware_concurrency(), load, QIV_BUILD_TYPE, rounds);
  std::string name = (fs::temp_directory_path() / "qiv-month-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  const fs::path folder = name;
  std::vector<Cost> totals;
  std::string figures;
  bool are_equal = true;
  for (int i = 0; i <= rounds; ++i) {
    std::printf("\n%-12s %10s %10s %11s\n",
                i == 0 ? "warm-up" : ("round " + std::to_string(i)).c_str(), "wall", "CPU", "peak");
    const Cost total = round(folder);
    if (i > 0) totals.push_back(total);
    const std::string now = content(folder / "scores.json");
    are_equal = are_equal && !now.empty() && (i == 0 || now == figures);
    figures = now;
  }
  fs::remove_all(folder);
  std::sort(totals.begin(), totals.end(),
            [](const Cost& a, const Cost& b) { return a.wall_s < b.wall_s; });
  const auto most =
      std::max_element(totals.begin(), totals.end(),
                       [](const Cost& a, const Cost& b) { return a.peak_mb < b.peak_mb; });
  std::printf("\nfigures %s in all rounds\n", are_equal ? "equal" : "NOT EQUAL");
  const bool is_fast = verdict("wall", totals[totals.size() / 2].wall_s, most_seconds, "s");
  const bool is_small = verdict("memory", most->peak_mb, most_megabytes, "MB");
  return are_equal && is_fast && is_small ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  try {
    return bench(argc > 1 ? std::max(1, std::atoi(argv[1])) : 3);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_host_month: %s\n", error.what());
    return 2;
  }
}
