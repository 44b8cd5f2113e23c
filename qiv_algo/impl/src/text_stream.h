#ifndef QIV_TEXT_STREAM_H
#define QIV_TEXT_STREAM_H

#include <sstream>

/// An output string stream with default formatting that lets the failure of an allocation pass on,
/// where the standard one would fall silent and leave the text cut short.
class TextStream : public std::ostringstream {
 public:
  TextStream() { exceptions(std::ios_base::badbit); }
};

#endif  // QIV_TEXT_STREAM_H
