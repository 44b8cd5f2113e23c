#include "serve/api/metrics_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qiv {
namespace {

TEST(MetricsText, WritesFamiliesAndSamples) {
  MetricsText text;
  text.family("qiv_x_total", "counter", "Help for x");
  text.sample(1, {{"kind", "a"}, {"other", "b"}});
  text.sample(0.125);
  text.single("qiv_y", "gauge", "Help for y", 1e9);
  EXPECT_EQ(text.text(),
            "# HELP qiv_x_total Help for x\n"
            "# TYPE qiv_x_total counter\n"
            "qiv_x_total{kind=\"a\",other=\"b\"} 1\n"
            "qiv_x_total 0.125\n"
            "# HELP qiv_y Help for y\n"
            "# TYPE qiv_y gauge\n"
            "qiv_y 1e+09\n");
}

TEST(MetricsText, EscapesLabels) {
  MetricsText text;
  text.family("x", "gauge", "");
  text.sample(NAN, {{"l", "a\"b\\c\nd"}});
  text.sample(-INFINITY);
  EXPECT_NE(text.text().find("x{l=\"a\\\"b\\\\c\\nd\"} NaN\n"), std::string::npos);
  EXPECT_NE(text.text().find("x -Inf\n"), std::string::npos);
}

}  // namespace
}  // namespace qiv
