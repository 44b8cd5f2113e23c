#pragma once

#include <stdexcept>
#include <string>

namespace qiv {

/// The archive cannot do what it was asked to. The text names the file and the remedy.
class ArchiveError : public std::runtime_error {
 public:
  enum class Kind {
    missing,         ///< no such file, or no such folder
    not_an_archive,  ///< no database, or another program's
    damaged,         ///< an archive whose content does not make sense
    newer,           ///< written by a later version of the program
    older,           ///< must be brought up to date first, and was opened for reading
    locked,          ///< another program is writing and did not finish in time
    read_only,
    full,    ///< disk full, or the size limit reached
    failed,  ///< anything else
  };

  ArchiveError(Kind kind, const std::string& text) : std::runtime_error(text), _kind(kind) {}

  Kind kind() const { return _kind; }

 private:
  Kind _kind;
};

}  // namespace qiv
