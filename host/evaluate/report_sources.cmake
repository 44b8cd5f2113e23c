# The report of an evaluation. Its JSON needs nlohmann_json::nlohmann_json.
set(qiv_report_sources
    plot_chart.cc
    plot_svg.cc
    plot_trip.cc
    report_csv.cc
    report_html.cc
    report_json.cc
    report_style.cc
    report_tables.cc
    report_text.cc
    report_words.cc)
