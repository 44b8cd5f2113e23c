#ifndef QIV_TESTS_LAYERING_FINDINGS_H
#define QIV_TESTS_LAYERING_FINDINGS_H

#include <cstddef>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

#include "house.h"

struct SourceFile {
  std::string path;  ///< from the checkout's root
  std::string text;
};

struct Finding {
  std::string path;
  std::size_t line;  ///< counted from 1
  std::string what;
};

inline std::ostream& operator<<(std::ostream& out, const Finding& finding) {
  return out << finding.path << ':' << finding.line << ": " << finding.what;
}

/// The #include lines that the house does not allow, in files that stand in it, and the files that
/// stand in none of its rooms.
///
/// A file of the host is included as "room/file.h", a public header of the libraries as "File.h",
/// and what comes from elsewhere in angle brackets. Generated headers ("name.pb.h") come from
/// elsewhere, and may stand in quotes.
std::vector<Finding> forbidden_includes(const House& house, const std::vector<SourceFile>& files);

/// The sources (.cc) of more than `limit` lines.
std::vector<Finding> long_sources(const std::vector<SourceFile>& files, std::size_t limit);

struct Unwanted {
  std::regex pattern;
  std::string reason;
};

/// Reads lines "expression -- reason"; empty ones and those that begin with "#" are skipped.
std::vector<Unwanted> read_unwanted(const std::string& text);

std::vector<Finding> unwanted_lines(const std::vector<SourceFile>& files,
                                    const std::vector<Unwanted>& unwanted);

#endif  // QIV_TESTS_LAYERING_FINDINGS_H
