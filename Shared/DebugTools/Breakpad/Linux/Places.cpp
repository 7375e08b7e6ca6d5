#include "Places.h"

#include "Parameters.h"

#include <dlfcn.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace BreakpadLinux {

namespace fs = std::filesystem;

std::string FileNameFor(const std::string& product)
{
    std::string name;
    for (const char c : product) {
        if (c == '/') {
            name += "%2F";
        } else if (c == '%') {
            name += "%25";
        } else {
            name += c;
        }
    }
    name = CutAtCharacter(name, 200);
    return name == "." || name == ".." ? "%" + name : name;
}

std::string AbsolutePath(const std::string& path)
{
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    if (error) {
        return path;
    }
    std::string text = absolute.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

bool MakeFolder(const std::string& path)
{
    std::error_code error;
    const fs::path above = fs::path(path).parent_path();
    if (!fs::is_directory(path, error)) {
        if (!above.empty() && above != path && !fs::is_directory(above, error) && !MakeFolder(above.string())) {
            return false;
        }
        // Another process may make it at the same time.
        mkdir(path.c_str(), 0700);
    }
    return fs::is_directory(path, error) && access(path.c_str(), W_OK | X_OK) == 0;
}

bool IsProgram(const std::string& path)
{
    std::error_code error;
    return fs::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

std::string FindSender()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&FindSender), &info) == 0) {
        return std::string();
    }
    // The folder as it is, without links: the loader may say /lib for /usr/lib, and beside /lib lies no libexec.
    const fs::path named = fs::path(AbsolutePath(info.dli_fname)).parent_path();
    std::error_code error;
    const fs::path found = fs::canonical(named, error);
    const fs::path& library = error ? named : found;
    for (const char* place : { "fallcatch_sender", FALLCATCH_SENDER_FROM_LIBRARY }) {
        std::string candidate = (library / place).lexically_normal().string();
        if (IsProgram(candidate)) {
            return candidate;
        }
    }
    return std::string();
}

} // namespace BreakpadLinux
