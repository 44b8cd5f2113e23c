#include "app/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace qiv {

ProgressBar::ProgressBar(std::string label)
    : _label(std::move(label)), _on_terminal(isatty(STDERR_FILENO) != 0) {}

ProgressBar::~ProgressBar() {
  if (_on_terminal && _shown_percent >= 0) std::fputs("\r\033[K", stderr);
}

void ProgressBar::show(double share, const std::string& what) {
  const int percent = static_cast<int>(100.0 * std::clamp(share, 0.0, 1.0));
  if (!_on_terminal || percent == _shown_percent) return;
  _shown_percent = percent;
  const std::string bar = std::string(static_cast<std::size_t>(percent / 4), '#') +
                          std::string(static_cast<std::size_t>(25 - percent / 4), '.');
  std::fprintf(stderr, "\r\033[K%s [%s] %3d %% %s", _label.c_str(), bar.c_str(), percent,
               what.c_str());
}

}  // namespace qiv
