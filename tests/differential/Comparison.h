#ifndef QIV_TESTS_DIFFERENTIAL_COMPARISON_H
#define QIV_TESTS_DIFFERENTIAL_COMPARISON_H

#include <string>

#include "differential/Runner.h"

namespace differential {

/// Remembers the configuration in force, to tell which messages would end the process: reference
/// data for a journey that is not known yet and that cannot be created.
class Guard {
 public:
  template <class AllJourneys>
  bool lets_pass(const Message& message, const AllJourneys& journeys) {
    if (const Initialize* m = std::get_if<Initialize>(&message)) _configuration = *m;
    const std::string* journey = named_by_reference_data(message);
    return journey == nullptr || creates_journeys() || journeys_of(journeys).count(*journey) != 0;
  }

 private:
  static const std::string* named_by_reference_data(const Message& message);
  bool creates_journeys() const;

  Initialize _configuration;
};

/// The twin and the library side by side.
class Comparison {
 public:
  /// What differs after the message: outcome, pseudo-random numbers drawn, or state. Empty if
  /// nothing does.
  std::string apply(const Message& message);

 private:
  Guard _guard;
  Runner<Twin> _twin;
  Runner<Library> _library;
  unsigned int _step = 0;
};

/// The first difference that the stream makes, with the message that makes it; or empty.
std::string first_difference(const Stream& stream);

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_COMPARISON_H
