#include "evaluate/report_html.h"

#include <gmock/gmock.h>

#include <cctype>
#include <set>
#include <string>
#include <vector>

#include "host/evaluate/report_sample.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using testing::sample_details;
using testing::sample_scorecard;

/// The first element that is not closed in its place; empty when all are.
std::string first_misplaced_element(const std::string& html) {
  const std::set<std::string> without_end = {"meta", "!doctype"};
  std::vector<std::string> open;
  for (std::size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
    const std::size_t end = html.find('>', at);
    if (end == std::string::npos) return "unfinished tag";
    const bool closes = html[at + 1] == '/';
    const std::size_t start = at + (closes ? 2 : 1);
    std::size_t stop = start;
    while (stop < end && html[stop] != ' ' && html[stop] != '/') ++stop;
    const std::string name = html.substr(start, stop - start);
    if (without_end.count(name) != 0 || html[end - 1] == '/') continue;
    if (!closes) {
      open.push_back(name);
    } else if (open.empty() || open.back() != name) {
      return "</" + name + ">";
    } else {
      open.pop_back();
    }
  }
  return open.empty() ? "" : "<" + open.back() + ">";
}

int count_of(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(ReportHtmlTest, EveryElementIsClosedInItsPlace) {
  EXPECT_EQ(first_misplaced_element(report_html(sample_scorecard(), sample_details())), "");
  EXPECT_EQ(first_misplaced_element(report_html(sample_scorecard())), "");
  EXPECT_EQ(first_misplaced_element(report_html(Scorecard())), "");
}

TEST(ReportHtmlTest, AsksNobodyForAnything) {
  const std::string html = report_html(sample_scorecard(), sample_details());
  for (const char* request : {"http:", "https:", "//", "src=", "href=", "url(", "@import",
                              "<script", "<link", "<iframe"}) {
    EXPECT_THAT(html, Not(HasSubstr(request)));
  }
}

TEST(ReportHtmlTest, EveryPlotIsDescribed) {
  const std::string html = report_html(sample_scorecard(), sample_details());
  EXPECT_EQ(count_of(html, "<svg "), 8);
  EXPECT_EQ(count_of(html, "role=\"img\" aria-label=\""), 8);
  EXPECT_THAT(html, HasSubstr("prefers-color-scheme: dark"));
}

TEST(ReportHtmlTest, FiguresStandInTables) {
  const std::string html = report_html(sample_scorecard(), sample_details());
  EXPECT_THAT(html, HasSubstr("<tr class=\"own\"><th scope=\"row\">qiv forecast</th>"
                              "<td>24.1</td><td>33.0</td><td>41.8</td><td>50.2</td>"
                              "<td>66.9</td><td>92.0</td><td>51.3</td><td>90.2</td>"));
  EXPECT_THAT(html, HasSubstr("<th scope=\"row\">0-3</th><td>41 200</td><td>66.1</td>"
                              "<td>27.4</td><td>28.0</td><td>89.3</td>"));
  EXPECT_THAT(html, HasSubstr("E814-0805-MHIDE-BRAY@20251003"));
  EXPECT_THAT(html, HasSubstr("qiv evaluate dart --from 2025-10-03"));
}

TEST(ReportHtmlTest, AnotherProducerIsInChartTableAndOrigin) {
  const std::string html = report_html(testing::sample_against(), sample_details());
  EXPECT_THAT(html,
              HasSubstr("50 % less than present (102.6 s, for 50 % a prediction of its own);"));
  EXPECT_THAT(html, HasSubstr("<title>present, 0-3: 48.0 s</title>"));
  EXPECT_THAT(html, HasSubstr("<th scope=\"row\">present</th><td>48.0</td>"));
  EXPECT_THAT(html, HasSubstr("<th scope=\"row\">present</th><td>47.5</td><td>65.5</td>"
                              "<td>83.0</td><td>99.5</td><td>133.5</td><td>183.5</td>"
                              "<td>115.4</td><td>341 494</td><td>50.0</td>"));
  EXPECT_THAT(html, HasSubstr("recordings/present: 20 160 snapshots, 20 100 of them on display"));
  EXPECT_THAT(html, HasSubstr("What was not used of present, and why"));
  EXPECT_EQ(first_misplaced_element(html), "");
}

TEST(ReportHtmlTest, CalibrationOfEachSideAndOverTheDay) {
  Scorecard card = sample_scorecard();
  const std::string html = report_html(card);
  EXPECT_THAT(html, HasSubstr("<title>came, 16 %: 17.1 %</title>"));
  EXPECT_THAT(html, Not(HasSubstr("Over the day"))) << "nothing is known of the hours";
  card.bounds_by_hour = {card.bounds[0], {7, 8, 40, 0.655, 0.91, 30.0, 31.0, 60.0, 8.0}};
  EXPECT_THAT(report_html(card), HasSubstr("<title>68 % bounds, 7: 65.5 %</title>"));
}

TEST(ReportHtmlTest, HeadlineComesFirst) {
  const std::string html = report_html(sample_scorecard(), sample_details());
  EXPECT_LT(html.find("26 % less than the timetable plus delay"), html.find("<section>"));
}

TEST(ReportHtmlTest, ForeignTextIsEscaped) {
  Scorecard card = sample_scorecard();
  card.city = "<script>alert(\"&\")</script>";
  card.command_line = "qiv evaluate \"<x>\"";
  const std::string html = report_html(card, sample_details());
  EXPECT_THAT(html, Not(HasSubstr("<script")));
  EXPECT_THAT(html, HasSubstr("&lt;script&gt;alert(&quot;&amp;&quot;)"));
  EXPECT_THAT(html, HasSubstr("Howth &lt;Pier&gt;"));
  EXPECT_EQ(first_misplaced_element(html), "");
}

TEST(ReportHtmlTest, TenWorstStopsAndFewEventsLast) {
  const std::string html = report_html(sample_scorecard(), sample_details());
  EXPECT_LT(html.find("Clontarf Road"), html.find("Killester</text>"));
  EXPECT_THAT(html, HasSubstr("Portmarnock: 5 001 events"));
  EXPECT_THAT(html, Not(HasSubstr("Malahide: 5 000 events"))) << "the eleventh";
  EXPECT_THAT(html, Not(HasSubstr("Sutton: 4 events"))) << "four events say little";
}

TEST(ReportHtmlTest, StopWithoutANameIsNumbered) {
  EXPECT_THAT(report_html(sample_scorecard()), HasSubstr("stop 11: 5 011 events"));
}

TEST(ReportHtmlTest, TheSameInputGivesTheSameBytes) {
  EXPECT_EQ(report_html(sample_scorecard(), sample_details()),
            report_html(sample_scorecard(), sample_details()));
}

}  // namespace
}  // namespace qiv
