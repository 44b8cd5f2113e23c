#ifndef QIV_HOST_STRING_H
#define QIV_HOST_STRING_H

#include <string>
#include <type_traits>

#include "RQLogger.h"

/// The text as the message module's string type, whichever the host has put in its place.
inline RQLogger::string_type host_string(const char* text) {
  return RQLogger::string_type(text);
}

template <class String>
inline
    typename std::enable_if<std::is_constructible<String, const std::string&>::value, String>::type
    convert_string(const std::string& text) {
  return String(text);
}

template <class String>
inline
    typename std::enable_if<!std::is_constructible<String, const std::string&>::value, String>::type
    convert_string(const std::string& text) {
  return String(text.c_str());
}

inline RQLogger::string_type host_string(const std::string& text) {
  return convert_string<RQLogger::string_type>(text);
}

#endif  // QIV_HOST_STRING_H
