// A worker as a program of its own, for tests that kill it:
//   worker_process SERVERS PREFIX UNTIL NAME quick|usual

#include <iostream>
#include <string_view>

#include "host/worker/stream_case.h"

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  try {
    const auto until = qiv::from_unix_seconds(std::stoll(argv[3]));
    const bool quick = std::string_view(argv[5]) == "quick";
    const auto options = quick ? qiv::testing::stream_quick_options : qiv::testing::stream_options;
    qiv::Worker(options({{"bootstrap.servers", argv[1]}}, argv[2], until, argv[4]))
        .run(std::stop_token());
  } catch (const std::exception& error) {
    std::cerr << "worker " << argv[4] << ": " << error.what() << "\n";
  }
  return 1;
}
