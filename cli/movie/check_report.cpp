#include "cli/movie/check_report.h"

#include <algorithm>

#include "cli/output/text.h"

namespace kvx_cli {

using kvx_inspect::Finding;
using kvx_inspect::Report;
using kvx_inspect::Severity;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;

namespace {

// Columns of a finding's line.
constexpr size_t kSeverityWidth = 9;
constexpr size_t kCodeWidth = 22;

std::string Padded(std::string text, size_t width) {
    text.resize(std::max(width, text.size() + 1), ' ');
    return text;
}

std::string Count(const Report& report, Severity severity, const char* noun) {
    const auto isOf = [severity](const Finding& finding) {
        return FactsOf(finding.code).severity == severity;
    };
    const auto count = std::count_if(report.findings.begin(), report.findings.end(), isOf);
    return count == 0 ? "" : ", " + std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

std::string TrackName(const Report& report, int track) {
    const TrackFacts* const facts = report.TrackNumber(track);
    if (facts == nullptr) {
        return "movie";
    }
    std::string name = "track " + std::to_string(track);
    const std::string index = std::to_string(facts->index);
    switch (facts->kind) {
        case TrackKind::Video:
            return name + " (video " + index + ")";
        case TrackKind::Sound:
            return name + " (sound " + index + ")";
        case TrackKind::Timecode:
            return name + " (timecode)";
        default:
            return name;
    }
}

std::string FindingLine(const Report& report, const Finding& finding) {
    const kvx_inspect::CodeFacts& code = FactsOf(finding.code);
    std::string line = "  " + Padded(NameOf(code.severity), kSeverityWidth) +
                       Padded(code.name, kCodeWidth) + TrackName(report, finding.track) + ": " +
                       Printable(finding.text);
    if (const char* const remedy = RemedyOf(finding); *remedy != '\0') {
        line += "; remedy: " + std::string(remedy);
    }
    return line + "\n";
}

std::string Disagreement(const MovieFacts& facts) {
    if (facts.Agree()) {
        return "";
    }
    return facts.importer.imports
               ? "the importer takes this movie, although a finding says that it is refused"
               : "the importer refuses this movie, and no finding says why";
}

std::string CheckReport(const MovieFacts& facts) {
    const Report& report = facts.report;
    std::string text = Printable(facts.path) + ": " + NameOf(facts.GetVerdict()) +
                       Count(report, Severity::Refused, "reason") +
                       Count(report, Severity::Warning, "warning") +
                       Count(report, Severity::Note, "note") + "\n";
    for (const Finding& finding : report.findings) {
        text += FindingLine(report, finding);
    }
    if (!facts.importer.imports) {
        text += "  the importer says: " + Printable(facts.importer.words) + "\n";
    }
    const std::string disagreement = Disagreement(facts);
    if (!disagreement.empty()) {
        text += "  this is a bug: " + disagreement + "\n";
    }
    return text;
}

}  // namespace kvx_cli
