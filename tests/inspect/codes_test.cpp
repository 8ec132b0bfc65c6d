// Movies made for one finding each: exactly the expected codes, and the importer's own answer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "host/entry.h"
#include "inspect/inspect.h"
#include "inspect/made_movies.h"
#include "platform/core_foundation.h"
#include "support/cf_owner.h"
#include "support/log_capture.h"

namespace {

using namespace kvx_inspect;
using kvx_test::MadeMovie;

std::vector<std::string> CodesOf(const Report& report) {
    std::vector<std::string> codes;
    for (const Finding& finding : report.findings) {
        codes.emplace_back(FactsOf(finding.code).name);
    }
    return codes;
}

std::string TextsOf(const Report& report) {
    std::string texts;
    for (const Finding& finding : report.findings) {
        texts += std::string(FactsOf(finding.code).name) + " " + std::to_string(finding.track) +
                 ": " + finding.text + "\n";
    }
    return texts;
}

class InspectCodes : public testing::TestWithParam<MadeMovie> {};

TEST_P(InspectCodes, AreExactlyThese) {
    const kvx_test::TempDirectory directory;
    const Report report = Inspect(GetParam().write(directory));
    EXPECT_EQ(CodesOf(report), GetParam().codes) << TextsOf(report);
    for (const Finding& finding : report.findings) {
        EXPECT_EQ(finding.text.find('\n'), std::string::npos) << finding.text;
        EXPECT_FALSE(finding.text.empty());
        EXPECT_NE(finding.text.back(), '.') << finding.text;
    }
}

TEST_P(InspectCodes, VerdictFollowsFromThem) {
    const kvx_test::TempDirectory directory;
    const Report report = Inspect(GetParam().write(directory));
    const auto isOf = [](Severity severity) {
        return [severity](const Finding& finding) {
            return FactsOf(finding.code).severity == severity;
        };
    };
    const bool isRefused =
        std::any_of(report.findings.begin(), report.findings.end(), isOf(Severity::Refused));
    EXPECT_EQ(report.GetVerdict() == Verdict::Imports, !isRefused);
}

INSTANTIATE_TEST_SUITE_P(All, InspectCodes, testing::ValuesIn(kvx_test::MadeMovies()),
                         [](const auto& info) {
                             std::string name = info.param.name;
                             for (char& character : name) {
                                 character = std::isalnum(static_cast<unsigned char>(character))
                                                 ? character
                                                 : '_';
                             }
                             return name;
                         });

// What `kvx mend` helps against is told where it does, and only there.
TEST(InspectCodesTogether, ThatMendHelpsIsToldOfAReferenceToTheMovieItself) {
    for (const MadeMovie& movie : kvx_test::MadeMovies()) {
        const kvx_test::TempDirectory directory;
        const Report report = Inspect(movie.write(directory));
        for (const Finding& finding : report.findings) {
            if (finding.code == Code::MediaMissing) {
                const std::string remedy = RemedyOf(finding);
                EXPECT_EQ(remedy.find("kvx mend") != std::string::npos,
                          movie.name == "url that is the movie")
                    << movie.name << ": " << remedy;
            }
        }
    }
}

// So that no code goes untested.
TEST(InspectCodesTogether, AreAllMade) {
    std::set<std::string> made;
    for (const MadeMovie& movie : kvx_test::MadeMovies()) {
        made.insert(movie.codes.begin(), movie.codes.end());
    }
    for (size_t code = 0; code < kCodeCount; ++code) {
        EXPECT_EQ(made.count(FactsOf(static_cast<Code>(code)).name), 1u)
            << FactsOf(static_cast<Code>(code)).name;
    }
}

}  // namespace
