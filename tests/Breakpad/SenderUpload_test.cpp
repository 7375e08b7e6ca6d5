// The upload, without a server.
#include "SenderUpload.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <curl/curl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace BreakpadLinux;

namespace {

// libcurl's allocations, one of which fails.
int gUntilFailure = -1;

bool isToFail()
{
    return gUntilFailure >= 0 && gUntilFailure-- == 0;
}

void* allocate(std::size_t size)
{
    return isToFail() ? nullptr : std::malloc(size);
}

void* reallocate(void* memory, std::size_t size)
{
    return isToFail() ? nullptr : std::realloc(memory, size);
}

void* allocateZeros(std::size_t count, std::size_t size)
{
    return isToFail() ? nullptr : std::calloc(count, size);
}

char* duplicate(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    void* copy = allocate(size);
    return static_cast<char*>(copy != nullptr ? std::memcpy(copy, text, size) : nullptr);
}

} // namespace

// As it is, and compressed.
class SenderUpload : public testing::TestWithParam<bool> { };

INSTANTIATE_TEST_SUITE_P(Posts, SenderUpload, testing::Bool());

TEST_P(SenderUpload, WithoutAnyOfItsMemoryItEndsWithAReason)
{
    curl_global_cleanup(); // what a test before this one may have begun
    ASSERT_EQ(curl_global_init_mem(CURL_GLOBAL_ALL, allocate, std::free, reallocate, duplicate, allocateZeros),
              CURLE_OK);
    char pattern[] = "/tmp/fallcatch-upload-XXXXXX";
    const std::filesystem::path folder = mkdtemp(pattern);
    Submission submission;
    submission.url = "http://127.0.0.1:1/submit";
    submission.gzip = GetParam();
    submission.dump = (folder / "1-2-3.dmp").string();
    submission.fields = { { "prod", "App" }, { "ver", "1.2" } };
    submission.files = { { "upload_file_log", "1-2-3.log", "text/plain", "lines\n" } };
    submission.query = { { "product", "App" }, { "guid", "client" } };
    std::ofstream(submission.dump) << "MDMP";
    int failures = 0;
    std::string first;
    std::string last;
    do {
        gUntilFailure = failures++;
        const Answer answer = Upload(submission);
        ASSERT_EQ(answer.status, 0);
        ASSERT_NE(answer.error, "") << "allocation " << failures;
        first = failures == 1 ? answer.error : first;
        last = answer.error;
    } while (gUntilFailure < 0);
    gUntilFailure = -1;
    curl_global_cleanup();
    EXPECT_EQ(first, "out of memory");
    EXPECT_NE(last.find("connect"), std::string::npos) << last;
    EXPECT_GT(failures, 20);
    std::filesystem::remove_all(folder);
}
