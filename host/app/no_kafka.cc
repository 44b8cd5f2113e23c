#include "app/commands.h"
#include "app/exit_code.h"

namespace qiv {
namespace {

[[noreturn]] void say_so(const char* command) {
  throw CommandError(ExitCode::usage, std::string("this build has no Kafka, which '") + command +
                                          "' needs: build it with -DQIV_WITH_KAFKA=ON");
}

}  // namespace

void run_bridge(const BridgeArguments&) {
  say_so("bridge");
}
void run_worker(const WorkerArguments&) {
  say_so("worker");
}
void run_gateway(const GatewayArguments&) {
  say_so("gateway");
}

}  // namespace qiv
