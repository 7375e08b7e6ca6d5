// What the tests of sinks share.
#ifndef FALLCATCH_TESTS_SINK_TEST_H
#define FALLCATCH_TESTS_SINK_TEST_H

#include "hslog/sinks/HSLSink.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// A folder that goes with the object.
class Folder {
public:
    Folder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "hslsinksXXXXXX";
        mPath = mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(mPath); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string operator/(const std::string& name) const { return mPath / name; }
    std::size_t Count() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(mPath), {}));
    }

private:
    std::filesystem::path mPath;
};

inline std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

inline std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

inline HSL::Sinks::Line lineOf(std::string_view message, HSL::Level level = HSL::Level::kInfo)
{
    return { 7, 1700000000, 250000, level, HSL::CodeOf(level), 0, "", "Main", message, "", 0, "" };
}

constexpr int kPatience = 10000; // milliseconds

#endif
