// A worker as a program of its own, for tests that kill it:
//   worker_process SERVERS PREFIX FROM TO NAME

#include <iostream>

#include "host/worker/stream_case.h"

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  try {
    const qiv::testing::StreamCase stream({{"bootstrap.servers", argv[1]}}, argv[2], argv[3],
                                          argv[4]);
    qiv::Worker(stream.quick_options(argv[5])).run(std::stop_token());
  } catch (const std::exception& error) {
    std::cerr << "worker " << argv[5] << ": " << error.what() << "\n";
  }
  return 1;
}
