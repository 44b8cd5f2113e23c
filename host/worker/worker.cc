#include "worker/worker.h"

#include <charconv>
#include <utility>

#include "worker/kafka/error.h"
#include "worker/position_codec.h"

namespace qiv {
namespace {

using Steady = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// The usual properties of the producer: a worker that is gone must not hold up the readers for
/// longer than it takes the group to notice.
kafka::Properties with_usual(kafka::Properties properties) {
  properties.emplace("transaction.timeout.ms", "12000");
  return properties;
}

std::string place_of(const kafka::Received& message) {
  return message.topic + ":" + std::to_string(message.partition) + ":" +
         std::to_string(message.offset);
}

/// The time of a partition as it is committed beside its offset.
std::optional<Instant> parse_note(const std::string& note) {
  long long seconds = 0;
  const auto [end, error] = std::from_chars(note.data(), note.data() + note.size(), seconds);
  if (error != std::errc() || end != note.data() + note.size()) return std::nullopt;
  return from_unix_seconds(seconds);
}

}  // namespace

Worker::Worker(WorkerOptions options)
    : _options(std::move(options)), _book(_options.histories_until) {}

/// The group is left without a commit: what is not committed will be done again.
Worker::~Worker() {
  _open = false;
  _consumer.reset();
}

WorkerCounts Worker::counts() const {
  const std::lock_guard lock(_mutex);
  return _told;
}

void Worker::run(std::stop_token stop) {
  if (!read_reference(stop)) return;
  _producer =
      std::make_unique<kafka::Producer>(with_usual(_options.properties), _options.transactional_id);
  _consumer = std::make_unique<kafka::GroupConsumer>(
      _options.properties, _options.group, _options.topics.positions,
      kafka::GroupConsumer::Callbacks{
          [this](const std::vector<std::int32_t>& partitions) { return take_up(partitions); },
          [this](const std::vector<std::int32_t>& partitions, bool lost) {
            give_up(partitions, lost);
          }});
  _counts.ready = true;
  while (!stop.stop_requested()) {
    follow();
    if (std::exchange(_must_take_up_again, false)) take_up_again();
    work();
    commit();
    tell_counts();
  }
  _consumer.reset();
  _producer.reset();
}

/// Handles what comes until a transaction is due, or a second has passed without one.
void Worker::work() {
  const auto idle_until = Steady::now() + std::chrono::seconds(1);
  while (!_must_take_up_again && Steady::now() < (_open ? _commit_at : idle_until) &&
         (!_open || _in_transaction < _options.most_in_transaction)) {
    const auto message = _consumer->poll(milliseconds(20));
    if (message && !_must_take_up_again) handle(*message);
  }
}

/// Reads settings, timetable and histories to their end. False when it was asked to stop before a
/// timetable came.
bool Worker::read_reference(const std::stop_token& stop) {
  _log = std::make_unique<kafka::LogReader>(
      _options.properties,
      std::vector<std::string>{_options.topics.reference, _options.topics.finished});
  while (!stop.stop_requested()) {
    follow();
    if (_log->at_end() && _reference.gtfs() != nullptr) {
      use_reference();
      return true;
    }
    tell_counts();
  }
  return false;
}

/// Takes what the topics of settings, timetables and finished trips have, without waiting for more
/// where positions wait.
void Worker::follow() {
  const milliseconds patience(_consumer == nullptr ? 100 : 0);
  while (const auto message = _log->poll(patience)) {
    if (message->topic == _options.topics.finished) {
      take_finished(*message);
    } else if (const auto unused = _reference.take(message->message)) {
      _options.report(place_of(*message) + ": " + unused->reason);
    } else {
      _reference_changed = true;
    }
  }
  if (_consumer != nullptr && std::exchange(_reference_changed, false)) {
    commit();
    use_reference();
    _must_take_up_again = true;
  }
}

void Worker::take_finished(const kafka::Received& message) {
  if (!message.message.value) return;
  const auto decoded = decode_finished(message.message);
  if (const auto* const unused = std::get_if<Undecodable>(&decoded)) {
    _options.report(place_of(message) + ": " + unused->reason);
    return;
  }
  const auto& trip = std::get<FinishedTrip>(decoded);
  if (!_book.take(trip)) return;
  ++_counts.trips_learned;
  for (auto& [partition, state] : _partitions) state.engine->learn_from(trip);
  for (auto& [partition, state] : _kept) state.engine->learn_from(trip);
}

/// Puts the timetable and the settings that have come into force. Engines on the former must be
/// gone or made anew right after.
void Worker::use_reference() {
  if (_reference.gtfs_version() != _used_version) {
    _network = _options.make_network(*_reference.gtfs());
    _used_version = _reference.gtfs_version();
  }
  _settings = _reference.settings().value_or(LearnedSettings());
  _kept.clear();
  _reference_changed = false;
}

std::map<std::int32_t, std::int64_t> Worker::take_up(const std::vector<std::int32_t>& partitions) {
  std::map<std::int32_t, std::int64_t> starts;
  auto kept = std::exchange(_kept, {});
  if (partitions.empty()) return starts;
  const kafka::Commits commits = _consumer->committed(partitions);
  for (const std::int32_t partition : partitions) {
    const auto own = kept.find(partition);
    const auto commit = commits.find(partition);
    const bool goes_on =
        own != kept.end() && commit != commits.end() && commit->second.next == own->second.next;
    _partitions[partition] = goes_on ? std::move(own->second) : make_partition(partition, commits);
    starts[partition] = _partitions[partition].next;
  }
  return starts;
}

Worker::Partition Worker::make_partition(std::int32_t partition, const kafka::Commits& commits) {
  Partition state;
  state.assigned = Steady::now();
  state.next = replay_start(partition, commits, state);
  state.recovering = state.next < state.publish_from;
  state.engine = std::make_unique<PartitionEngine>(*_network, _settings, _book.source(*_network),
                                                   _options.track, _options.engine);
  ++_counts.recoveries;
  return state;
}

/// The first offset to read, the window before what was committed.
std::int64_t Worker::replay_start(std::int32_t partition, const kafka::Commits& commits,
                                  Partition& state) {
  const std::int64_t first = _consumer->bounds(partition).first;
  const auto commit = commits.find(partition);
  if (commit == commits.end()) {
    state.publish_from = first;
    return first;
  }
  state.publish_from = std::max(first, commit->second.next);
  const auto now = parse_note(commit->second.note);
  if (!now) return first;
  state.replay_from = *now - _options.window;
  const auto start = _consumer->offset_at(partition, state.replay_from);
  return std::clamp(start.value_or(first), first, state.publish_from);
}

/// A revoked partition's transaction is ended while the group still believes this member. What has
/// been committed so may come back to this very member: it is kept until the next assignment.
void Worker::give_up(const std::vector<std::int32_t>& partitions, bool lost) {
  if (lost) {
    give_transaction_up();
  } else {
    commit();
  }
  for (const std::int32_t partition : partitions) {
    const auto entry = _partitions.find(partition);
    if (entry == _partitions.end()) continue;
    if (!_must_take_up_again && !entry->second.recovering) {
      _kept[partition] = std::move(entry->second);
    }
    _partitions.erase(entry);
  }
  if (_partitions.empty()) _must_take_up_again = false;
}

void Worker::handle(const kafka::Received& message) {
  const auto entry = _partitions.find(message.partition);
  if (entry == _partitions.end() || message.offset < entry->second.next) return;
  Partition& state = entry->second;
  if (message.offset >= state.publish_from) {
    handle_in_transaction(state, message);
    return;
  }
  replay(state, message);
  _output.clear();
  if (state.next >= state.publish_from) note_recovery(state);
}

/// Brings the partition's vehicles to where they were, and publishes nothing.
void Worker::replay(Partition& state, const kafka::Received& message) {
  state.next = message.offset + 1;
  if (message.message.time < state.replay_from) return;
  ++_counts.replayed;
  try {
    forecast(state, message.message);
  } catch (const std::exception&) {
    // It was set aside, with its reason, when it came for the first time.
  }
}

void Worker::note_recovery(Partition& state) {
  if (!std::exchange(state.recovering, false)) return;
  _counts.last_recovery_s = std::chrono::duration<double>(Steady::now() - state.assigned).count();
}

void Worker::handle_in_transaction(Partition& state, const kafka::Received& message) {
  note_recovery(state);
  if (!_open) {
    _producer->begin();
    _open = true;
    _in_transaction = 0;
    _commit_at = Steady::now() + _options.transaction;
  }
  state.next = message.offset + 1;
  state.dirty = true;
  ++_in_transaction;
  std::string reason;
  try {
    forecast(state, message.message);
  } catch (const std::exception& error) {
    reason = error.what();
  }
  publish(message);
  if (!reason.empty()) set_aside(message, reason);
}

/// Leaves what comes of a message in `_output`. Throws for one that cannot be used.
void Worker::forecast(Partition& state, const StreamMessage& message) {
  _output.clear();
  auto decoded = decode_position(message);
  if (const auto* const unused = std::get_if<Undecodable>(&decoded)) {
    throw std::runtime_error(unused->reason);
  }
  auto& what = std::get<0>(decoded);
  if (auto* const position = std::get_if<VehiclePosition>(&what)) {
    state.engine->take(std::move(*position), _output);
  } else {
    state.engine->advance(std::get<Watermark>(what).now, _output);
  }
}

void Worker::publish(const kafka::Received& origin) {
  const std::string place = std::to_string(origin.partition) + ":" + std::to_string(origin.offset);
  ++_counts.positions;
  for (PartitionOutput& output : _output) {
    if (auto* const forecast = std::get_if<VehicleForecast>(&output)) {
      forecast->agency = _options.agency;
      StreamMessage message = encode_forecast(*forecast, *_network);
      message.headers[header::origin] = place;
      const TripForecast& shown = forecast->forecast;
      _producer->send(_options.topics.forecasts,
                      forecast_group({_options.agency, shown.trip, shown.vehicle}), message);
      ++_counts.forecasts;
    } else if (auto* const left = std::get_if<LeftTrip>(&output)) {
      left->trip.agency = _options.agency;
      StreamMessage message = encode_left(*left);
      message.headers[header::origin] = place;
      _producer->send(_options.topics.forecasts, forecast_group(left->trip), message);
      ++_counts.trips_left;
    } else {
      auto& finished = std::get<FinishedTrip>(output);
      finished.agency = _options.agency;
      _producer->send(_options.topics.finished, finished_group(key_of(finished)),
                      encode_finished(finished));
      ++_counts.trips_finished;
    }
  }
  _output.clear();
}

void Worker::set_aside(const kafka::Received& message, const std::string& reason) {
  StreamMessage kept = message.message;
  kept.headers[header::reason] = reason;
  kept.headers[header::place] = place_of(message);
  _producer->send(_options.topics.set_aside, kept.key, kept);
  _options.report(place_of(message) + ": set aside: " + reason);
  ++_counts.set_aside;
}

/// Ends the transaction. Where the broker will not have it, the partitions must be taken up again
/// from what was committed before.
void Worker::commit() {
  if (!_open) return;
  kafka::Commits commits;
  for (auto& [partition, state] : _partitions) {
    if (!state.dirty) continue;
    commits[partition] = {state.next, std::to_string(unix_seconds(state.engine->now()))};
    state.dirty = false;
  }
  try {
    _producer->commit(_options.topics.positions, commits, _consumer->group_metadata().get());
    ++_counts.transactions;
    _open = false;
  } catch (const kafka::Error& error) {
    if (!error.needs_abort()) throw;
    _options.report(std::string("a transaction is given up: ") + error.what());
    give_transaction_up();
  }
}

void Worker::give_transaction_up() {
  if (!_open) return;
  _producer->abort();
  ++_counts.aborted;
  _open = false;
  _must_take_up_again = true;
}

/// Builds every partition anew from what is committed.
void Worker::take_up_again() {
  std::vector<std::int32_t> partitions;
  for (const auto& [partition, state] : _partitions) partitions.push_back(partition);
  if (!partitions.empty()) _consumer->seek(take_up(partitions));
}

void Worker::tell_counts() {
  if (Steady::now() < _tell_at) return;
  _tell_at = Steady::now() + std::chrono::milliseconds(500);
  const std::lock_guard lock(_mutex);
  _told = _counts;
  for (const auto& [partition, state] : _partitions) {
    _told.partitions[partition] = {_consumer->lag(partition, state.next), state.engine->now(),
                                   state.engine->vehicles(), state.recovering};
  }
}

}  // namespace qiv
