#include "cli/page/movie_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "cli/movie/check_report.h"
#include "cli/movie/movie_report.h"
#include "cli/movie/streams.h"
#include "cli/output/base64.h"
#include "cli/output/text.h"
#include "cli/page/html.h"

namespace kvx_cli {

using kvx_inspect::Finding;
using kvx_inspect::Severity;

namespace {

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src data:; style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>)";

constexpr char kStyle[] = R"(</title>
<style>
:root { color-scheme: light dark; --back: #f6f6f7; --card: #fff; --text: #1b1c1f; --dim: #5d6068; --line: #d9dbe0;
  --good: #17693a; --bad: #b3261e; --warn: #7d5200; --note: #35557f; --wave: #16796c; }
@media (prefers-color-scheme: dark) {
  :root { --back: #16171a; --card: #202226; --text: #eceded; --dim: #a2a5ad; --line: #383b42;
    --good: #6fcf97; --bad: #f2857d; --warn: #e9bd62; --note: #93b7e6; --wave: #5cb8aa; }
}
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 76rem; padding: 1.5rem; background: var(--back); color: var(--text);
  font: 16px/1.5 system-ui, "DejaVu Sans", sans-serif; }
h1 { font-size: 1.6rem; margin: 0 0 1rem; }
h2 { font-size: 1.2rem; margin: 0; overflow-wrap: anywhere; }
h3 { font-size: .95rem; margin: 1.4rem 0 .4rem; color: var(--dim); }
a { color: inherit; }
.place { color: var(--dim); overflow-wrap: anywhere; margin: 0; font-size: .9rem; }
.wide { overflow-x: auto; border: 1px solid var(--line); border-radius: .5rem; background: var(--card); }
table { border-collapse: collapse; width: 100%; font-size: .9rem; }
th, td { text-align: left; padding: .4rem .8rem; border-bottom: 1px solid var(--line); vertical-align: top; }
tbody tr:last-child > * { border-bottom: 0; }
td { white-space: nowrap; font-variant-numeric: tabular-nums; }
td:first-child { white-space: normal; min-width: 12rem; overflow-wrap: anywhere; }
th button { all: unset; cursor: pointer; font-weight: inherit; }
th button:focus-visible { outline: 2px solid var(--note); }
th[aria-sort=ascending] button::after { content: " \2191"; }
th[aria-sort=descending] button::after { content: " \2193"; }
section { margin-top: 2rem; padding: 1.2rem; border: 1px solid var(--line); border-radius: .5rem; background: var(--card); }
.state { font-weight: 600; }
.imports { color: var(--good); } .refused, .unreadable { color: var(--bad); }
.warning { color: var(--warn); } .note { color: var(--note); }
.findings { list-style: none; margin: 0; padding: 0; }
.findings li { padding: .5rem 0 .5rem .8rem; border-left: .25rem solid var(--line); margin: .4rem 0; overflow-wrap: anywhere; }
.findings li.refused { border-color: var(--bad); } .findings li.warning { border-color: var(--warn); }
.findings li.note { border-color: var(--note); }
.findings li > * { color: var(--text); } .findings b { color: inherit; }
.findings .code { color: var(--dim); }
.frames { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(15rem, 100%), 1fr)); gap: .8rem; }
figure { margin: 0; }
figure img, figure svg { display: block; width: 100%; height: auto; }
figcaption { font-size: .8rem; color: var(--dim); font-variant-numeric: tabular-nums; }
.missing { border: 1px solid var(--bad); color: var(--bad); }
.wave { display: block; width: 100%; height: 4rem; margin: .25rem 0; color: var(--wave);
  background: var(--back); border-radius: .25rem; }
dl { display: grid; grid-template-columns: minmax(7rem, max-content) 1fr; gap: .1rem 1rem; margin: 0; font-size: .9rem; }
dt { color: var(--dim); } dd { margin: 0; overflow-wrap: anywhere; }
@media (max-width: 40rem) { body { padding: .8rem; } section { padding: .8rem; } }
@media print { section { break-inside: avoid-page; } }
</style>
</head>
<body>
)";

// Sorts the table by the column whose head is pressed; the other way round the second time.
constexpr char kScript[] = R"(<script>
for (const head of document.querySelectorAll("th")) {
  const button = document.createElement("button");
  button.append(...head.childNodes);
  head.append(button);
  button.onclick = () => {
    const up = head.getAttribute("aria-sort") !== "ascending";
    for (const each of head.parentNode.children) each.removeAttribute("aria-sort");
    head.setAttribute("aria-sort", up ? "ascending" : "descending");
    const value = row => row.children[head.cellIndex];
    const compare = (a, b) => {
      const [x, y] = [a, b].map(row => value(row).dataset.sort ?? value(row).textContent);
      return isNaN(x) || isNaN(y) ? x.localeCompare(y, undefined, {numeric: true}) : x - y;
    };
    const body = head.closest("table").tBodies[0];
    body.append(...[...body.rows].sort((a, b) => up ? compare(a, b) : compare(b, a)));
  };
}
</script>
)";

std::string FileName(const MovieFacts& facts) {
    return std::filesystem::path(facts.path).filename().string();
}

// The writing direction of a name does not affect the text around it.
std::string Isolated(const std::string& text) {
    return "<bdi>" + HtmlText(text) + "</bdi>";
}

std::string Cell(const std::string& text) {
    return "<td>" + HtmlText(text) + "</td>";
}

std::string Cell(const std::string& text, double sort) {
    char number[64];
    std::snprintf(number, sizeof number, "%.6f", sort);
    return std::string("<td data-sort=\"") + number + "\">" + HtmlText(text) + "</td>";
}

std::string Plural(size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string SoundText(const std::vector<imFileInfoRec8>& streams) {
    std::string text;
    for (size_t number = 0; number < SoundStreamCount(streams); ++number) {
        const imFileInfoRec8& sound = streams[number];
        text += (text.empty() ? "" : ", ") + std::to_string(std::lround(sound.audioSampleRate)) +
                " Hz x " + std::to_string(sound.audioChannels);
    }
    return text.empty() ? "none" : text;
}

std::string Row(const MovieFacts& facts, size_t number) {
    const std::string state = NameOf(facts.GetVerdict());
    const auto warnings = static_cast<size_t>(std::count_if(
        facts.report.findings.begin(), facts.report.findings.end(), [](const Finding& finding) {
            return FactsOf(finding.code).severity == Severity::Warning;
        }));
    std::string row = "<tr><td><a href=\"#m" + std::to_string(number) + "\">" +
                      Isolated(facts.path) + "</a></td><td class=\"state " + state + "\">" + state +
                      "</td>" + Cell(std::to_string(warnings), static_cast<double>(warnings));
    const imFileInfoRec8* const video = FindVideo(facts.importer.streams);
    if (!facts.importer.imports || video == nullptr) {
        return row + "<td></td><td></td><td></td><td></td><td></td></tr>\n";
    }
    const auto scale = std::max(double{1} * video->videoScale, 1.0);
    row += Cell(FourCharText(static_cast<uint32_t>(video->subType)));
    row += Cell(std::to_string(video->width) + " x " + std::to_string(video->height),
                double{1} * video->width * video->height);
    row += Cell(RateText(video->videoScale, video->videoSampleSize),
                scale / std::max(double{1} * video->videoSampleSize, 1.0));
    row += Cell(DurationText(video->videoDuration, video->videoScale),
                static_cast<double>(video->videoDuration) / scale);
    return row + Cell(SoundText(facts.importer.streams)) + "</tr>\n";
}

std::string Findings(const MovieFacts& facts) {
    std::string items;
    for (const Finding& finding : facts.report.findings) {
        const kvx_inspect::CodeFacts& code = FactsOf(finding.code);
        items += std::string("<li class=\"") + NameOf(code.severity) + "\"><b class=\"" +
                 NameOf(code.severity) + "\">" + NameOf(code.severity) + "</b> " +
                 HtmlText(TrackName(facts.report, finding.track)) + ": " + HtmlText(finding.text) +
                 " <span class=\"code\">" + HtmlText(code.name) + "</span>";
        if (const char* const remedy = RemedyOf(finding); *remedy != '\0') {
            items += "<br><span>Remedy: " + HtmlText(remedy) + "</span>";
        }
        items += "</li>\n";
    }
    if (!facts.importer.imports) {
        items += "<li class=\"refused\">The importer says: " + HtmlText(facts.importer.words) +
                 "</li>\n";
    }
    return items.empty() ? "" : "<h3>Findings</h3>\n<ul class=\"findings\">\n" + items + "</ul>\n";
}

std::string Frames(const std::vector<PageFrame>& frames) {
    if (frames.empty()) {
        return "";
    }
    std::string html = "<h3>Frames</h3>\n<div class=\"frames\">\n";
    for (const PageFrame& frame : frames) {
        const std::string size = "width=\"" + std::to_string(frame.width) + "\" height=\"" +
                                 std::to_string(frame.height) + "\"";
        const std::string caption = HtmlText(frame.caption);
        html += "<figure>";
        if (frame.png.empty()) {
            html += "<svg class=\"missing\" " + size +
                    " viewBox=\"0 0 16 9\" preserveAspectRatio=\"none\" role=\"img\" "
                    "aria-label=\"missing\"><path d=\"M0 0 16 9M16 0 0 9\" "
                    "stroke=\"currentColor\" stroke-width=\".1\"/></svg>";
        } else {
            html.append("<img ").append(size).append(" alt=\"").append(caption);
            html.append("\" src=\"data:image/png;base64,").append(Base64(frame.png)).append("\">");
        }
        html += "<figcaption>" + caption + "</figcaption></figure>\n";
    }
    return html + "</div>\n";
}

// A lane: an outline along the highest samples and back along the lowest.
std::string Lane(const std::vector<SampleRange>& columns) {
    constexpr double kHalf = 50;
    std::string above;
    std::string below;
    for (size_t column = 0; column < columns.size(); ++column) {
        const SampleRange& range = columns[column];
        const bool isThere = range.low <= range.high;
        const double high = isThere ? std::clamp(double{range.high}, -1.0, 1.0) : 0;
        const double low = isThere ? std::clamp(double{range.low}, -1.0, 1.0) : 0;
        char point[64];
        std::snprintf(point, sizeof point, "%zu %.1f ", column, kHalf - high * (kHalf - 1) - 0.5);
        above += point;
        std::snprintf(point, sizeof point, "%zu %.1f ", column, kHalf - low * (kHalf - 1) + 0.5);
        below.insert(0, point);
    }
    return "<svg class=\"wave\" viewBox=\"0 0 " + std::to_string(columns.size()) +
           " 100\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"waveform\">"
           "<path fill=\"currentColor\" d=\"M" +
           above + below + "z\"/></svg>\n";
}

std::string Sounds(const std::vector<Waveform>& sounds) {
    std::string lanes;
    for (const Waveform& sound : sounds) {
        for (int channel = 0; channel < sound.Channels(); ++channel) {
            lanes += Lane(sound.Columns(channel));
        }
    }
    return lanes.empty() ? "" : "<h3>Sound</h3>\n" + lanes;
}

// What `kvx info` prints: headings indented by two, and below them a label and its value, which
// is in a column of its own.
std::string Facts(const MovieFacts& facts) {
    constexpr size_t kValueColumn = 20;
    std::istringstream lines(MovieReport(facts));
    std::string html;
    bool isInList = false;
    for (std::string line; std::getline(lines, line);) {
        const size_t indent = std::min(line.find_first_not_of(' '), line.size());
        const bool isPair = indent == 4 && line.size() > kValueColumn;
        if (isPair != isInList) {
            html += isPair ? "<dl>\n" : "</dl>\n";
            isInList = isPair;
        }
        if (isPair) {
            const std::string label = line.substr(indent, kValueColumn - indent);
            html += "<dt>" + HtmlText(label.substr(0, label.find_last_not_of(' ') + 1)) +
                    "</dt><dd>" + HtmlText(line.substr(kValueColumn)) + "</dd>\n";
        } else {
            html += "<h3>" + HtmlText(line.substr(indent)) + "</h3>\n";
        }
    }
    return html + (isInList ? "</dl>\n" : "");
}

}  // namespace

std::string PageStart(const std::vector<MovieFacts>& movies) {
    const std::string title =
        movies.size() == 1 ? FileName(movies.front()) : Plural(movies.size(), "movie");
    std::string page = kHead + HtmlText(title) + kStyle;
    page += "<h1>" + Isolated(title) + "</h1>\n";
    if (movies.size() != 1) {
        page +=
            "<div class=\"wide\"><table>\n<thead><tr><th>Movie</th><th>State</th>"
            "<th>Warnings</th><th>Format</th><th>Size</th><th>Rate</th><th>Length</th>"
            "<th>Sound</th></tr></thead>\n<tbody>\n";
        for (size_t number = 0; number < movies.size(); ++number) {
            page += Row(movies[number], number);
        }
        page += "</tbody>\n</table></div>\n";
    }
    return page;
}

std::string PageMovie(const MovieFacts& facts, size_t number, const std::vector<PageFrame>& frames,
                      const std::vector<Waveform>& sounds, const std::vector<std::string>& notes) {
    const std::string state = NameOf(facts.GetVerdict());
    std::string html = "<section id=\"m" + std::to_string(number) + "\">\n<h2>" +
                       Isolated(FileName(facts)) + " <span class=\"state " + state + "\">" + state +
                       "</span></h2>\n<p class=\"place\">" + Isolated(facts.path) + "</p>\n";
    html += Findings(facts) + Frames(frames) + Sounds(sounds);
    for (const std::string& note : notes) {
        html += "<p class=\"refused\">" + HtmlText(note) + "</p>\n";
    }
    return html + (facts.importer.imports ? Facts(facts) : "") + "</section>\n";
}

std::string PageEnd() {
    return std::string(kScript) + "</body>\n</html>\n";
}

}  // namespace kvx_cli
