#pragma once

#include <string>
#include <string_view>

#include "feed/position_batch.h"
#include "feed/quotation.h"
#include "feed/realtime_message.h"

namespace qiv {

/// What the readers of a GTFS-realtime message's entities of one kind share. `Batch` counts in
/// `read`, `rejections` and `remarks`, and has the header's `time`.
template <class Batch>
class EntityReader {
 protected:
  EntityReader(Batch& batch, const PositionOptions& options) : _batch(batch), _options(options) {}

  /// Reads header and entities, and gives each entity that can be decoded to `add`, which takes
  /// those of its kind and answers false for the others; these are rejected as `other_kind`. What
  /// is no message is one rejection.
  template <class Add>
  void read_entities(std::string_view bytes, std::string_view other_kind, const Add& add) {
    if (bytes.size() > _options.max_snapshot_bytes) return reject("snapshot too large", "");
    RealtimeMessage message(bytes);
    if (!message.is_valid()) return reject("not a GTFS-realtime message", "");
    _batch.time = message.time();
    if (message.states_time() && !_batch.time) remark("implausible time of header", "");
    for (const std::string_view bytes_of_entity : message.entities()) {
      const transit_realtime::FeedEntity* const entity = message.decode(bytes_of_entity);
      if (entity == nullptr) {
        reject("entity cannot be decoded",
               "entity of " + std::to_string(bytes_of_entity.size()) + " bytes");
      } else if (entity->is_deleted()) {
        reject("deleted entity", entity->id());
      } else if (!add(*entity)) {
        reject(other_kind, entity->id());
      }
    }
  }

  void reject(std::string_view reason, const std::string& entity) {
    ++_batch.read;
    _batch.rejections.add(reason, [&] { return quotation(_options.name, entity); });
  }

  void remark(std::string_view what, const std::string& entity) {
    _batch.remarks.add(what, [&] { return quotation(_options.name, entity); });
  }

  Batch& _batch;
  const PositionOptions& _options;
};

}  // namespace qiv
