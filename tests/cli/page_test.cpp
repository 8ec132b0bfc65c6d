// The page of `kvx report`: what it shows, and that no text of a movie becomes part of its code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "cli/page/html.h"
#include "cli/page/movie_page.h"

namespace {

using kvx_cli::HtmlText;
using kvx_cli::MovieFacts;
using testing::HasSubstr;
using testing::Not;

const std::string kShown = "\xEF\xBF\xBD";  // for what can't be shown

TEST(CliHtml, NoSignIsTakenForThePages) {
    EXPECT_EQ(HtmlText("<a href=\"x\">&amp;'"), "&lt;a href=&quot;x&quot;&gt;&amp;amp;&#39;");
    EXPECT_EQ(HtmlText(""), "");
    EXPECT_EQ(HtmlText("Größe 日本語 😀"), "Größe 日本語 😀");
}

TEST(CliHtml, WhatIsNoCharacterIsShownAsSuch) {
    for (const char* bad : {"\x80", "\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF5\x80",
                            "\x01", "\x1B", "\x7F", "\xC2\x85"}) {
        EXPECT_THAT(HtmlText(std::string("a") + bad + "b"), testing::StartsWith("a" + kShown));
        EXPECT_THAT(HtmlText(std::string("a") + bad + "<b"), testing::EndsWith("&lt;b"));
    }
    EXPECT_EQ(HtmlText(std::string("a\0b", 3)), "a" + kShown + "b");
    // A name that would read as ending in .jpg.
    EXPECT_EQ(HtmlText("\xE2\x80\xAEgpj.mov"), kShown + "gpj.mov");
}

MovieFacts Refused(const std::string& path) {
    MovieFacts facts;
    facts.path = path;
    facts.importer.words = "<refused>";
    facts.report.findings = {{kvx_inspect::Code::DataHandler, 0, "handler <script>"}};
    return facts;
}

TEST(CliPage, EscapesWhateverComesFromAMovie) {
    const MovieFacts facts = Refused("x/\"><script>alert(1)</script>.mov");
    const std::string page =
        kvx_cli::PageStart({facts, facts}) + kvx_cli::PageStart({facts}) +
        kvx_cli::PageMovie(facts, 0, {{"", 16, 9, "<caption>"}, {"png", 16, 9, "<caption>"}}, {},
                           {"<note>"}) +
        kvx_cli::PageEnd();
    for (const char* not_there :
         {"<script>alert", "<refused>", "handler <script>", "<caption>", "<note>", ".mov\"><"}) {
        EXPECT_THAT(page, Not(HasSubstr(not_there)));
    }
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;.mov"));
    EXPECT_THAT(page, HasSubstr("handler &lt;script&gt;"));
}

TEST(CliPage, HasNothingFromElsewhere) {
    const std::string page = kvx_cli::PageStart({}) +
                             kvx_cli::PageMovie(Refused("a.mov"), 0, {}, {}, {}) +
                             kvx_cli::PageEnd();
    for (const char* elsewhere : {"http:", "https:", "//", "@import", "url("}) {
        EXPECT_THAT(page, Not(HasSubstr(elsewhere))) << elsewhere;
    }
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
}

TEST(CliPage, TellsFindingsWithTheirRemedies) {
    const std::string section = kvx_cli::PageMovie(Refused("a.mov"), 3, {}, {}, {});
    EXPECT_THAT(section, HasSubstr("<section id=\"m3\">"));
    EXPECT_THAT(section, HasSubstr("data-handler"));
    EXPECT_THAT(section, HasSubstr(HtmlText(FactsOf(kvx_inspect::Code::DataHandler).remedy)));
    EXPECT_THAT(section, HasSubstr("The importer says: &lt;refused&gt;"));
}

TEST(CliPage, HasATableOfSeveralMoviesAlone) {
    EXPECT_THAT(kvx_cli::PageStart({Refused("a.mov")}), Not(HasSubstr("<table>")));
    const std::string table = kvx_cli::PageStart({Refused("a.mov"), Refused("b.mov")});
    EXPECT_THAT(table, HasSubstr("<a href=\"#m0\"><bdi>a.mov</bdi></a>"));
    EXPECT_THAT(table, HasSubstr("<a href=\"#m1\"><bdi>b.mov</bdi></a>"));
    EXPECT_THAT(table, HasSubstr("<h1><bdi>2 movies</bdi></h1>"));
}

TEST(CliPage, DrawsASoundsExtremes) {
    kvx_cli::Waveform wave(1, 4, 2);
    const float samples[] = {1.0F, 0.0F, 0.0F, -1.0F};
    const float* const planes[] = {samples};
    wave.Add(planes, 4);
    MovieFacts facts = Refused("a.mov");
    const std::string section = kvx_cli::PageMovie(facts, 0, {}, {wave}, {});
    // Up at the left, down at the right, of a height of 100.
    EXPECT_THAT(section, HasSubstr("d=\"M0 0.5 1 49.5 1 99.5 0 50.5 z\""));
}

}  // namespace
