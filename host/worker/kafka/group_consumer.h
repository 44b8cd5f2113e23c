#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "worker/kafka/handle.h"
#include "worker/kafka/producer.h"

namespace qiv::kafka {

/// One member of a consumer group that reads one topic. It commits nothing by itself: that is the
/// transactions' part. One thread; the callbacks are called by `poll` and by the destructor.
class GroupConsumer {
 public:
  struct Callbacks {
    /// These partitions are this member's from now on. Returns the offset to read each from.
    std::function<std::map<std::int32_t, std::int64_t>(const std::vector<std::int32_t>&)>
        on_assigned;
    /// These are another's from now on. `lost`: they have been for a while.
    std::function<void(const std::vector<std::int32_t>&, bool lost)> on_revoked;
  };

  GroupConsumer(const Properties& properties, const std::string& group, std::string topic,
                Callbacks callbacks);
  ~GroupConsumer();
  GroupConsumer(const GroupConsumer&) = delete;
  GroupConsumer& operator=(const GroupConsumer&) = delete;

  /// The next message; nothing when none comes in time. Throws `Error` for what the client cannot
  /// get over, and whatever a callback throws.
  std::optional<Received> poll(std::chrono::milliseconds timeout);

  /// What the group has committed; partitions without a commit are left out. Waits for transactions
  /// that are under way.
  Commits committed(const std::vector<std::int32_t>& partitions);

  /// The first offset whose message is not older than `time`; nothing when there is none, or when
  /// the broker cannot tell.
  std::optional<std::int64_t> offset_at(std::int32_t partition, Instant time);

  /// First and next offset of a partition.
  std::pair<std::int64_t, std::int64_t> bounds(std::int32_t partition);

  /// How many messages wait from `next` on, as far as is known here.
  std::int64_t lag(std::int32_t partition, std::int64_t next) const;

  /// Goes on elsewhere in partitions that are assigned.
  void seek(const std::map<std::int32_t, std::int64_t>& offsets);

  GroupMetadata group_metadata() const;

 private:
  static void rebalance(rd_kafka_t* client, rd_kafka_resp_err_t what,
                        rd_kafka_topic_partition_list_t* partitions, void* opaque);
  void assign(rd_kafka_topic_partition_list_t* partitions);
  void revoke(rd_kafka_topic_partition_list_t* partitions);

  std::string _topic;
  Callbacks _callbacks;
  std::exception_ptr _thrown;  ///< by a callback; may not pass the client's frames
  bool _closing = false;
  Client _client;
};

}  // namespace qiv::kafka
