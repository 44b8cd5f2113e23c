// Compiled, not run, by every compiler under every standard, with all warnings as errors.

#include "RQLogger.h"

#if defined(__GLIBCXX__) && defined(__LP64__)
static_assert(sizeof(RQLogger::Argument) == 64, "layout");
static_assert(offsetof(RQLogger::Argument, real) == 8, "layout");
static_assert(offsetof(RQLogger::Argument, integer) == 16, "layout");
static_assert(offsetof(RQLogger::Argument, natural) == 24, "layout");
static_assert(offsetof(RQLogger::Argument, text) == 32, "layout");
static_assert(sizeof(RQLogger::Record) == 160, "layout");
static_assert(offsetof(RQLogger::Record, level) == 32, "layout");
static_assert(offsetof(RQLogger::Record, function_name) == 40, "layout");
static_assert(offsetof(RQLogger::Record, type_codes) == 72, "layout");
static_assert(offsetof(RQLogger::Record, arguments) == 104, "layout");
static_assert(offsetof(RQLogger::Record, text) == 128, "layout");
static_assert(sizeof(RQLogger::Sink) == 32, "layout");
static_assert(sizeof(RQLogger::TextRef) == 16, "layout");
static_assert(sizeof(RQLogger::ArgumentRef) == 24, "layout");
#endif
static_assert(static_cast<int>(RQLogger::RQLogLevel::info) == 0, "value");
static_assert(static_cast<int>(RQLogger::RQLogLevel::error) == 1, "value");

void log_every_type();
void log_every_type() {
  const RQLogger::string_type vehicle = "bus 12";
  RQLogV("A::b", RQLogger::RQLogLevel::error, "TESTS0001E", "%e%u%d%lld%s%s", 1.5, 1u, 1, 1LL,
         vehicle, "literal");
  RQLogV("A::b", RQLogger::RQLogLevel::info, "TESTS0002I", "");
  RQLogV(vehicle, RQLogger::RQLogLevel::info, vehicle, vehicle, vehicle);
  RQLogger::Error("A::b", vehicle);
  RQLogger::InfoMessage("A::b", "TESTS0002I");
  RQLogger::SetSink([](const RQLogger::Record& record) { static_cast<void>(record.text.size()); });
}
