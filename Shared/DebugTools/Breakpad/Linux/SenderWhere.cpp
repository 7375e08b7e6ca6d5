#include "SenderWhere.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace BreakpadLinux {

namespace fs = std::filesystem;

std::string FolderOfProduct(const std::string& product, std::string& why)
{
    std::error_code error;
    const fs::path here = fs::read_symlink("/proc/self/exe", error).parent_path();
    void* library = nullptr;
    for (const char* place : { FALLCATCH_LIBRARY_NAME, FALLCATCH_LIBRARY_FROM_SENDER }) {
        const fs::path path = (here / place).lexically_normal();
        if (library == nullptr && fs::exists(path, error)) {
            library = dlopen(path.c_str(), RTLD_NOW);
        }
    }
    using Ask = unsigned int (*)(const char*, char*, unsigned int);
    const auto ask =
        library == nullptr ? nullptr : reinterpret_cast<Ask>(dlsym(library, "FallcatchBreakpadFolder"));
    if (ask == nullptr) {
        const char* told = dlerror();
        why = told != nullptr ? told : FALLCATCH_LIBRARY_NAME " is not where it belongs";
        return std::string();
    }
    char path[4096] = "";
    why = ask(product.c_str(), path, sizeof(path)) == 0 ? "the user has no cache folder" : "";
    return path;
}

} // namespace BreakpadLinux
