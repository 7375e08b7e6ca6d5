#include "DumpPrivacy.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace BreakpadLinux;

namespace {

// The text with zeros for its semicolons, handed over in pieces.
std::string blanked(Blanker::Kind kind, std::string text, std::size_t piece = 1000)
{
    for (char& c : text) {
        c = c == ';' ? '\0' : c;
    }
    Blanker blanker(kind);
    for (std::size_t at = 0; at < text.size(); at += piece) {
        blanker.Blank(&text[at], std::min(piece, text.size() - at));
    }
    for (char& c : text) {
        c = c == '\0' ? ';' : c;
    }
    return text;
}

constexpr auto kVariables = Blanker::Kind::variables;
constexpr auto kArguments = Blanker::Kind::arguments;

} // namespace

TEST(DumpPrivacy, ValuesOfVariablesGoAndTheirNamesStay)
{
    EXPECT_EQ(blanked(kVariables, "HOME=/home/x;SECRET=a=b;EMPTY=;ODD;"),
              "HOME=*******;SECRET=***;EMPTY=;ODD;");
}

TEST(DumpPrivacy, LanguageAndTimeZoneStay)
{
    EXPECT_EQ(blanked(kVariables, "LANG=C;LC_ALL=de;TZ=UTC;"), "LANG=C;LC_ALL=de;TZ=UTC;");
    EXPECT_EQ(blanked(kVariables, "LANGUAGE=de;LC_=x;LC=x;TZDIR=x;XLANG=x;L=x;=x;"),
              "LANGUAGE=**;LC_=*;LC=*;TZDIR=*;XLANG=*;L=*;=*;");
}

TEST(DumpPrivacy, OfTheCommandLineTheFirstWordStays)
{
    EXPECT_EQ(blanked(kArguments, "/bin/host;--password;a=b;;x;"), "/bin/host;**********;***;;*;");
    EXPECT_EQ(blanked(kArguments, "host"), "host");
}

TEST(DumpPrivacy, PiecesMakeNoDifference)
{
    std::mt19937 random(5);
    const char letters[] = "LANGTZC_=;ab";
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 60, ' ');
        for (char& c : text) {
            c = letters[random() % (sizeof(letters) - 1)];
        }
        for (const auto kind : { kVariables, kArguments }) {
            EXPECT_EQ(blanked(kind, text, 1 + random() % 7), blanked(kind, text)) << text;
        }
    }
}

TEST(DumpPrivacy, TheKernelTellsWhereTheTextsAre)
{
    const ProcessTexts texts = FindProcessTexts();
    ASSERT_NE(texts.argumentsBegin, 0U);
    EXPECT_LT(texts.argumentsBegin, texts.argumentsEnd);
    EXPECT_LE(texts.argumentsEnd, texts.variablesBegin);
    EXPECT_LT(texts.variablesBegin, texts.variablesEnd);
    const std::string program = reinterpret_cast<const char*>(static_cast<uintptr_t>(texts.argumentsBegin));
    EXPECT_NE(program.find("breakpad_adapter_test"), std::string::npos) << program;
}
