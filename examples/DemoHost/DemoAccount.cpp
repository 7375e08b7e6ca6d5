#include "DemoAccount.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int kShownAtTheBeginning = 2;

int gLines = 0;      // messages shown or left out, without markers
int gMarkers = 0;    // "dropped messages" lines
int gStructured = 0; // calls of the structured callback
int gLargestNumber = 0;

std::string gElided; // empty: show everything
int gRun = 0;
std::string gLastOfRun;

std::string messageOf(const std::string& line)
{
    const std::size_t tab = line.find('\t');
    return tab == std::string::npos ? std::string() : line.substr(tab + 1);
}

void endRun()
{
    if (gRun > kShownAtTheBeginning + 1) {
        std::printf("   ... %d lines left out here ...\n", gRun - kShownAtTheBeginning - 1);
    }
    if (gRun > kShownAtTheBeginning) {
        std::printf("%s", gLastOfRun.c_str());
    }
    gRun = 0;
}

bool partOfRun(const std::string& line)
{
    if (gElided.empty() || messageOf(line).compare(0, gElided.size(), gElided) != 0) {
        endRun();
        return false;
    }
    ++gRun;
    gLastOfRun = line;
    return gRun > kShownAtTheBeginning;
}

} // namespace

bool CountLine(const char* line)
{
    const std::string text = line;
    gLargestNumber = std::max(gLargestNumber, std::atoi(line));
    if (messageOf(text) == "*** HSLOG DROPPED MESSAGE(S) ***\n") {
        ++gMarkers;
    } else {
        ++gLines;
    }
    return !partOfRun(text);
}

void CountStructured()
{
    ++gStructured;
}

void BeginElision(const char* message)
{
    gElided = message;
}

void EndElision()
{
    endRun();
    gElided.clear();
}

bool PrintAccount(int calls)
{
    const int gaps = gLargestNumber - gLines - gMarkers - gStructured;
    const bool complete = gLargestNumber == calls && gMarkers > 0 && gaps > 0;
    std::printf(
        "\nOf %d log calls %d came out as lines and %d as structured records; %d were lost, told by %d\n"
        "marker%s and %d missing numbers. %s\n",
        calls, gLines, gStructured, gMarkers + gaps, gMarkers, gMarkers == 1 ? "" : "s", gaps,
        complete ? "Every call is accounted for." : "THIS DOES NOT ADD UP.");
    return complete;
}
