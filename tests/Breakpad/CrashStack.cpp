#include "CrashStack.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

bool isFrame(const std::string& line)
{
    const std::size_t start = line.find_first_not_of(' ');
    if (start == std::string::npos || start > 3 || std::isdigit(static_cast<unsigned char>(line[start])) == 0) {
        return false;
    }
    return true;
}

} // namespace

int CrashStack::Find(const std::string& function) const
{
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (frames[i].find(function + "(") != std::string::npos && frames[i].find(" [") != std::string::npos) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

CrashStack ReadStack(const std::string& dump, const std::string& folder)
{
    const std::string path = folder + "/received.dmp";
    const std::string output = folder + "/stack";
    std::ofstream(path, std::ios::binary) << dump;
    const std::string command =
        std::string("'" STACKWALK "' '") + path + "' '" SYMBOLS "' >'" + output + "' 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::remove(path.c_str());

    CrashStack stack;
    std::ifstream file(output);
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("Crash reason:", 0) == 0) {
            stack.reason = line.substr(line.find_first_not_of(' ', 13));
        } else if (line.rfind("Thread ", 0) == 0 && line.find("(crashed)") != std::string::npos) {
            stack.thread = std::stoi(line.substr(7));
            inside = true;
        } else if (inside && line.empty()) {
            inside = false;
        } else if (inside && isFrame(line)) {
            stack.frames.push_back(line);
        }
    }
    return stack;
}
