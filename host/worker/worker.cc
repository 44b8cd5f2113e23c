#include "worker/worker.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

#include "worker/kafka/error.h"
#include "worker/output_message.h"
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

/// The time of a partition as it is committed beside its offset.
std::optional<Instant> parse_note(const std::string& note) {
  long long seconds = 0;
  const auto [end, error] = std::from_chars(note.data(), note.data() + note.size(), seconds);
  if (error != std::errc() || end != note.data() + note.size()) return std::nullopt;
  return from_unix_seconds(seconds);
}

/// Reads a basis to its end; null when it was asked to stop before.
std::shared_ptr<Basis> read_basis(const WorkerOptions& options,
                                  std::shared_ptr<const Network> network,
                                  const std::shared_ptr<const std::string>& gtfs,
                                  const std::string& version, const LearnedSettings& settings,
                                  const std::stop_token& stop) {
  if (network == nullptr) network = options.make_network(*gtfs);
  auto basis =
      std::make_shared<Basis>(options.properties, options.topics.finished, std::move(network),
                              settings, version, options.histories_until);
  while (!basis->at_end()) {
    if (stop.stop_requested()) return nullptr;
    basis->follow(milliseconds(100));
  }
  return basis;
}

}  // namespace

Worker::Worker(WorkerOptions options) : _options(std::move(options)) {}

/// The group is left without a commit: what is not committed will be done again.
Worker::~Worker() {
  _ends.request_stop();
  _open = false;
  _consumer.reset();
}

WorkerCounts Worker::counts() const {
  const std::lock_guard lock(_mutex);
  return _told;
}

void Worker::run(std::stop_token stop) {
  if (!wait_for_basis(stop)) return;
  open_producer();
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
    renew_one();
    work();
    commit();
    tell_counts();
  }
  _consumer.reset();
  _producer.reset();
}

/// Takes over a transaction that an earlier one of its name has left open.
void Worker::open_producer() {
  _producer.reset();
  _producer =
      std::make_unique<kafka::Producer>(with_usual(_options.properties), _options.transactional_id);
}

/// Handles what comes until a transaction is due, or a second has passed without one.
void Worker::work() {
  const auto idle_until = Steady::now() + std::chrono::seconds(1);
  while (!_must_take_up_again && Steady::now() < (_open ? _commit_at : idle_until) &&
         (!_open || _in_transaction < _options.most_in_transaction)) {
    const auto message = _consumer->poll(milliseconds(20));
    if (!message || _must_take_up_again) continue;
    try {
      handle(*message);
    } catch (const kafka::Error& error) {
      get_over(error);
    }
  }
}

/// Waits until settings, timetable and histories are read to their end. False when it was asked to
/// stop before a timetable came.
bool Worker::wait_for_basis(const std::stop_token& stop) {
  _log = std::make_unique<kafka::LogReader>(_options.properties,
                                            std::vector<std::string>{_options.topics.reference});
  while (!stop.stop_requested()) {
    follow();
    if (_basis != nullptr) return true;
    tell_counts();
  }
  return false;
}

/// Takes what the topics of settings, timetables and finished trips have, without waiting for more
/// where positions wait.
void Worker::follow() {
  follow_reference();
  std::set<std::shared_ptr<Basis>> all;
  if (_basis != nullptr) all.insert(_basis);
  for (const auto& [number, state] : _partitions) all.insert(state.basis);
  for (const auto& [number, state] : _kept) all.insert(state.basis);
  for (const auto& basis : all) follow_finished(basis);
  use_basis();
}

void Worker::follow_reference() {
  const milliseconds patience(_consumer == nullptr ? 100 : 0);
  while (const auto message = _log->poll(patience)) {
    if (const auto unused = _reference.take(message->message)) {
      _options.report(place_of(*message) + ": " + unused->reason);
    } else {
      _reference_changed = true;
    }
  }
  if (_reference_changed && _log->at_end() && _reference.gtfs() && !_coming.valid()) {
    prepare_basis();
  }
}

/// Lets the engines that rest on a basis learn what has joined its histories.
void Worker::follow_finished(const std::shared_ptr<Basis>& basis) {
  basis->follow(milliseconds(0), [&](const FinishedTrip& trip) {
    if (basis == _basis) ++_counts.trips_learned;
    for (auto& [number, state] : _partitions) {
      if (state.basis == basis) state.engine->learn_from(trip);
    }
    for (auto& [number, state] : _kept) {
      if (state.basis == basis) state.engine->learn_from(trip);
    }
  });
  for (const std::string& complaint : basis->take_complaints()) _options.report(complaint);
}

/// Begins to read the histories for the timetable and the settings that have come, in a thread of
/// its own; until then the former are in force.
void Worker::prepare_basis() {
  _reference_changed = false;
  const bool is_new_network =
      _basis == nullptr || _reference.gtfs_version() != _basis->network_version();
  _coming = std::async(
      std::launch::async, [this, network = is_new_network ? nullptr : _basis->network(),
                           gtfs = _reference.gtfs(), version = _reference.gtfs_version(),
                           settings = _reference.settings().value_or(LearnedSettings())] {
        return read_basis(_options, network, gtfs, version, settings, _ends.get_token());
      });
}

/// Puts a basis that has been read into force. A timetable that cannot be used leaves the former
/// there; without any, the worker cannot go on.
void Worker::use_basis() {
  if (!_coming.valid() || _coming.wait_for(milliseconds(0)) != std::future_status::ready) return;
  try {
    _basis = _coming.get();
  } catch (const kafka::Error& error) {
    if (_basis == nullptr) throw;
    _reference_changed = true;
    _options.report(std::string("what is new in the reference is read again: ") + error.what());
  } catch (const std::exception& error) {
    if (_basis == nullptr) throw;
    _options.report(std::string("what is new in the reference is not used: ") + error.what());
  }
}

/// Builds anew one partition that rests on a former basis, or has done so for long enough, when the
/// one before it has been brought to where it was.
void Worker::renew_one() {
  const auto now = Steady::now();
  const auto is_recovering = [](const auto& entry) { return entry.second.recovering; };
  if (std::any_of(_partitions.begin(), _partitions.end(), is_recovering)) return;
  const auto old = std::find_if(_partitions.begin(), _partitions.end(), [&](const auto& entry) {
    return entry.second.basis != _basis || now - entry.second.assigned >= _options.renew;
  });
  if (old == _partitions.end()) return;
  const std::int32_t number = old->first;
  commit();
  if (_must_take_up_again) return;
  auto before = old->second.engine->under_way();
  _partitions[number] = make_partition(number, _consumer->committed({number}));
  _partitions[number].before = std::move(before);
  _consumer->seek({{number, _partitions[number].next}});
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
  state.basis = _basis;
  state.engine =
      std::make_unique<PartitionEngine>(*_basis->network(), _basis->settings(),
                                        _basis->book().source(), _options.track, _options.engine);
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
  ++_counts.positions;
  leave_what_is_gone(state, message);
  std::string reason;
  try {
    forecast(state, message.message);
  } catch (const std::exception& error) {
    reason = error.what();
  }
  publish(message, *state.basis->network());
  if (!reason.empty()) set_aside(message, reason);
}

/// Of a partition that was built anew, tells the trips that its vehicles are not on any more: the
/// timetable has changed.
void Worker::leave_what_is_gone(Partition& state, const kafka::Received& message) {
  if (state.before.empty()) return;
  const auto now_on = state.engine->under_way();
  _output.clear();
  for (const auto& [vehicle, trip] : std::exchange(state.before, {})) {
    const auto on = now_on.find(vehicle);
    if (on != now_on.end() && on->second == trip) continue;
    _output.emplace_back(LeftTrip{{_options.agency, trip, vehicle}, state.engine->now(), false});
  }
  publish(message, *state.basis->network());
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

/// Writes what is in `_output`, each with the place of the position behind it.
void Worker::publish(const kafka::Received& origin, const Network& network) {
  const std::string place = std::to_string(origin.partition) + ":" + std::to_string(origin.offset);
  for (PartitionOutput& output : _output) {
    OutputMessage encoded = encode_output(output, _options.agency, network);
    if (!encoded.is_finished_trip) encoded.message.headers[header::origin] = place;
    _producer->send(encoded.is_finished_trip ? _options.topics.finished : _options.topics.forecasts,
                    encoded.group, encoded.message);
    count(output);
  }
  _output.clear();
}

void Worker::count(const PartitionOutput& output) {
  if (std::holds_alternative<VehicleForecast>(output)) ++_counts.forecasts;
  if (std::holds_alternative<LeftTrip>(output)) ++_counts.trips_left;
  if (std::holds_alternative<FinishedTrip>(output)) ++_counts.trips_finished;
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
    get_over(error);
  }
}

/// Gives a transaction up that the brokers will not have. Throws the error where this does not
/// help.
void Worker::get_over(const kafka::Error& error) {
  if (!error.needs_abort() && !has_outlived_transaction()) throw error;
  _options.report(std::string("a transaction is given up: ") + error.what());
  give_transaction_up();
}

/// Whether the brokers have given the open transaction up by themselves, so that they take this
/// producer for one that was replaced. Another one that has its name shuts it out sooner.
bool Worker::has_outlived_transaction() const {
  if (!_open) return false;
  const auto began = _commit_at - _options.transaction;
  const std::string timeout_ms = with_usual(_options.properties).at("transaction.timeout.ms");
  return Steady::now() - began >= milliseconds(std::stoll(timeout_ms));
}

void Worker::give_transaction_up() {
  if (!_open) return;
  try {
    _producer->abort();
  } catch (const kafka::Error&) {
    if (!has_outlived_transaction()) throw;
    open_producer();
  }
  _output.clear();
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
  if (_basis != nullptr) {
    _told.histories = _basis->book().trips();
    _told.network_version = _basis->network_version();
  }
  for (const auto& [partition, state] : _partitions) {
    _told.partitions[partition] = {_consumer->lag(partition, state.next), state.engine->now(),
                                   state.engine->vehicles(), state.recovering};
    if (state.basis != _basis) ++_told.on_former_basis;
  }
}

}  // namespace qiv
