#include "app/make_source.h"

namespace qiv {

Instant wall_clock() {
  return std::chrono::time_point_cast<Seconds>(std::chrono::system_clock::now());
}

std::unique_ptr<Source> make_source(const SourceOptions& options, const TakeReport& tell) {
  struct Make {
    const TakeReport& tell;
    std::unique_ptr<Source> operator()(const PolledSourceOptions& o) const {
      return std::make_unique<PolledSource>(o, wall_clock, tell);
    }
    std::unique_ptr<Source> operator()(const FolderSourceOptions& o) const {
      return std::make_unique<FolderSource>(o, wall_clock, tell);
    }
    std::unique_ptr<Source> operator()(const MqttSourceOptions& o) const {
      return std::make_unique<MqttSource>(o, wall_clock);
    }
  };
  return std::visit(Make{tell}, options);
}

bool gives_positions(const SourceOptions& options) {
  return std::visit(
      [](const auto& o) {
        if constexpr (requires { o.content; }) {
          return o.content == FeedContent::positions;
        } else {
          return true;
        }
      },
      options);
}

}  // namespace qiv
