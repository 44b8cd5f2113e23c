// One process a case: what happens at the first use of the log, and at exit.

#include <cstdio>
#include <cstring>
#include <thread>

#include "RQLogger.h"

namespace {

bool log_at_exit = false;

// Made before main and before the log is first used, hence destroyed after everything else.
struct Early {
  ~Early() {
    if (log_at_exit) RQLogger::Error("Early::~Early", "bye");
  }
} early;

void print_text(const RQLogger::Record& record) {
  std::fprintf(stderr, "sink: %s\n", record.text.c_str());
}

void log_forever() {
  for (;;) RQLogger::InfoMessage("main", "KWXBN0027I");
}

}  // namespace

int main(int argc, char** argv) {
  const auto mode_is = [&](const char* name) {
    return argc == 2 && std::strcmp(argv[1], name) == 0;
  };
  if (mode_is("language")) {
    std::puts(RQLogger::Language());
  } else if (mode_is("message")) {
    RQLogger::InfoMessage("main", "KWXBN0027I");
  } else if (mode_is("choose_french")) {
    RQLogger::SetLanguage("fr");
    RQLogger::InfoMessage("main", "KWXBN0027I");
  } else if (mode_is("exit")) {
    log_at_exit = true;
  } else if (mode_is("exit_with_sink")) {
    RQLogger::SetSink(print_text);
    log_at_exit = true;
  } else if (mode_is("thread_outlives_main")) {
    RQLogger::SetSink([](const RQLogger::Record&) {});
    std::thread(log_forever).detach();
  } else {
    return 2;
  }
  return 0;
}
