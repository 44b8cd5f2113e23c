// A host that logs through the message module and has no forecasts.

#include <RQLogger.h>

#include <iostream>

int main() {
  RQLogger::SetLanguage("en");
  RQLogger::SetSink([](const RQLogger::Record& entry) {
    std::cout << entry.function_name << ": " << entry.text << '\n';
  });
  RQLogger::Error("host::main", "the feed is silent");
  RQLogger::SetSink(nullptr);
}
