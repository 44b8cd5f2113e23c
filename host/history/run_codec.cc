#include "history/run_codec.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace qiv {
namespace {

constexpr std::uint8_t layout = 1;

constexpr std::uint8_t evidence_mask = 3;
constexpr std::uint8_t offset_in_mm = 4;
constexpr std::uint8_t error_in_mm = 8;
constexpr std::uint8_t known_flags = evidence_mask | offset_in_mm | error_in_mm;

/// `metres` in whole millimetres, if that says it exactly.
std::optional<std::int64_t> exact_mm(double metres) {
  if (!(std::abs(metres) < 1e12)) return std::nullopt;
  const auto mm = static_cast<std::int64_t>(std::llround(metres * 1000.0));
  const double back = static_cast<double>(mm) / 1000.0;
  if (std::bit_cast<std::uint64_t>(back) != std::bit_cast<std::uint64_t>(metres)) {
    return std::nullopt;
  }
  return mm;
}

/// Difference of two numbers of which nothing is known: it may wrap round, and `plus` wraps back.
std::int64_t minus(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}
std::int64_t plus(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

class Writer {
 public:
  void byte(std::uint8_t value) { _bytes.push_back(static_cast<char>(value)); }

  void number(std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) byte(static_cast<std::uint8_t>(value | 0x80));
    byte(static_cast<std::uint8_t>(value));
  }

  void signed_number(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    number((bits << 1) ^ (value < 0 ? ~std::uint64_t{0} : 0));
  }

  void real(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int shift = 0; shift < 64; shift += 8) byte(static_cast<std::uint8_t>(bits >> shift));
  }

  std::string take() { return std::move(_bytes); }

 private:
  std::string _bytes;
};

/// Reads what `Writer` wrote. After a fault every value is 0 and `good()` is false.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : _bytes(bytes) {}

  bool good() const { return _good; }
  bool at_end() const { return _bytes.empty(); }
  std::size_t left() const { return _bytes.size(); }

  std::uint8_t byte() {
    if (_bytes.empty()) {
      _good = false;
      return 0;
    }
    const auto value = static_cast<std::uint8_t>(_bytes.front());
    _bytes.remove_prefix(1);
    return value;
  }

  std::uint64_t number() {
    std::uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      const std::uint8_t part = byte();
      if (shift == 63 && part > 1) break;
      value |= static_cast<std::uint64_t>(part & 0x7f) << shift;
      if ((part & 0x80) == 0) return value;
    }
    _good = false;
    return 0;
  }

  std::int64_t signed_number() {
    const std::uint64_t value = number();
    return static_cast<std::int64_t>((value >> 1) ^ ((value & 1) != 0 ? ~std::uint64_t{0} : 0));
  }

  double real() {
    std::uint64_t bits = 0;
    for (int shift = 0; shift < 64; shift += 8) {
      bits |= static_cast<std::uint64_t>(byte()) << shift;
    }
    return std::bit_cast<double>(bits);
  }

 private:
  std::string_view _bytes;
  bool _good = true;
};

/// Reads layout and number of elements of at least `least_bytes` each; nothing if the bytes cannot
/// hold so many.
std::optional<std::size_t> read_head(Reader& reader, std::size_t least_bytes) {
  if (reader.byte() != layout) return std::nullopt;
  const std::uint64_t count = reader.number();
  if (!reader.good() || count > reader.left() / least_bytes) return std::nullopt;
  return static_cast<std::size_t>(count);
}

}  // namespace

std::string encode_progress(std::span<const Progress> progress) {
  Writer writer;
  writer.byte(layout);
  writer.number(progress.size());
  std::int64_t last_time = 0;
  std::int64_t last_mm = 0;
  for (const Progress& p : progress) {
    const auto offset_mm = exact_mm(p.offset_m);
    const auto error_mm = exact_mm(p.error_m);
    writer.byte(static_cast<std::uint8_t>(static_cast<unsigned>(p.evidence) |
                                          (offset_mm ? offset_in_mm : 0U) |
                                          (error_mm ? error_in_mm : 0U)));
    const std::int64_t time = unix_seconds(p.time);
    writer.signed_number(minus(time, last_time));
    writer.signed_number(minus(unix_seconds(p.received), time));
    last_time = time;
    if (offset_mm) {
      writer.signed_number(*offset_mm - last_mm);
      last_mm = *offset_mm;
    } else {
      writer.real(p.offset_m);
    }
    error_mm ? writer.signed_number(*error_mm) : writer.real(p.error_m);
  }
  return writer.take();
}

std::optional<std::vector<Progress>> decode_progress(std::string_view bytes,
                                                     const VehicleId& vehicle,
                                                     const TripKey& trip) {
  Reader reader(bytes);
  const auto count = read_head(reader, 5);
  if (!count) return std::nullopt;
  std::vector<Progress> progress(*count);
  std::int64_t time = 0;
  std::int64_t mm = 0;
  for (Progress& p : progress) {
    const std::uint8_t flags = reader.byte();
    if ((flags & ~known_flags) != 0 || (flags & evidence_mask) > 2) return std::nullopt;
    p.vehicle = vehicle;
    p.trip = trip;
    p.evidence = static_cast<Evidence>(flags & evidence_mask);
    time = plus(time, reader.signed_number());
    p.time = from_unix_seconds(time);
    p.received = from_unix_seconds(plus(time, reader.signed_number()));
    if ((flags & offset_in_mm) != 0) {
      mm = plus(mm, reader.signed_number());
      p.offset_m = static_cast<double>(mm) / 1000.0;
    } else {
      p.offset_m = reader.real();
    }
    p.error_m = (flags & error_in_mm) != 0 ? static_cast<double>(reader.signed_number()) / 1000.0
                                           : reader.real();
  }
  if (!reader.good() || !reader.at_end()) return std::nullopt;
  return progress;
}

std::string encode_calls(std::span<const Call> calls) {
  Writer writer;
  writer.byte(layout);
  writer.number(calls.size());
  std::uint32_t last_sequence = 0;
  std::int64_t last_departure = 0;
  for (const Call& call : calls) {
    writer.signed_number(std::int64_t{call.sequence} - std::int64_t{last_sequence});
    writer.signed_number(minus(call.arrival.count(), last_departure));
    writer.signed_number(minus(call.departure.count(), call.arrival.count()));
    last_sequence = call.sequence;
    last_departure = call.departure.count();
  }
  return writer.take();
}

std::optional<std::vector<Call>> decode_calls(std::string_view bytes) {
  Reader reader(bytes);
  const auto count = read_head(reader, 3);
  if (!count) return std::nullopt;
  std::vector<Call> calls(*count);
  std::int64_t sequence = 0;
  std::int64_t departure = 0;
  for (Call& call : calls) {
    sequence = plus(sequence, reader.signed_number());
    if (sequence < 0 || sequence > std::int64_t{UINT32_MAX}) return std::nullopt;
    const std::int64_t arrival = plus(departure, reader.signed_number());
    departure = plus(arrival, reader.signed_number());
    call = {static_cast<std::uint32_t>(sequence), Seconds(arrival), Seconds(departure)};
  }
  if (!reader.good() || !reader.at_end()) return std::nullopt;
  return calls;
}

}  // namespace qiv
