#pragma once

#include <string>

namespace qiv {

/// A bar on the standard error stream while long work runs; nothing when that is no terminal.
class ProgressBar {
 public:
  explicit ProgressBar(std::string label);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// `share` in [0, 1] of the work is done; `what` is under way.
  void show(double share, const std::string& what = {});

 private:
  std::string _label;
  bool _on_terminal;
  int _shown_percent = -1;
};

}  // namespace qiv
