#include "SenderForm.h"

#include <filesystem>

namespace BreakpadLinux {

namespace {

std::size_t readDump(char* bytes, std::size_t size, std::size_t count, void* dump)
{
    const ssize_t got = static_cast<PostedDump*>(dump)->Read(bytes, size * count);
    return got < 0 ? CURL_READFUNC_ABORT : static_cast<std::size_t>(got);
}

int seekDump(void* dump, curl_off_t offset, int origin)
{
    return static_cast<PostedDump*>(dump)->Seek(offset, origin) ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_FAIL;
}

bool addFile(curl_mime* mime, const FormFile& file)
{
    curl_mimepart* part = curl_mime_addpart(mime);
    return curl_mime_name(part, file.field.c_str()) == CURLE_OK
        && curl_mime_data(part, file.contents.data(), file.contents.size()) == CURLE_OK
        && curl_mime_filename(part, file.name.c_str()) == CURLE_OK
        && curl_mime_type(part, file.type.c_str()) == CURLE_OK;
}

} // namespace

PostedDump::PostedDump(const std::string& path)
    : mName(std::filesystem::path(path).filename().string())
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    std::string why;
    const Descriptor place = OpenOwnFolder(folder.empty() ? "." : folder, why);
    if (place) {
        mFile = OpenOwnFile(place.Number(), mName, mFacts, why);
    }
}

bool FillForm(curl_mime* mime, const Submission& submission, PostedDump& dump)
{
    for (const auto& field : submission.fields) {
        curl_mimepart* part = curl_mime_addpart(mime);
        if (curl_mime_name(part, field.first.c_str()) != CURLE_OK
            || curl_mime_data(part, field.second.data(), field.second.size()) != CURLE_OK) {
            return false;
        }
    }
    for (const FormFile& file : submission.files) {
        if (!addFile(mime, file)) {
            return false;
        }
    }
    curl_mimepart* part = curl_mime_addpart(mime);
    return curl_mime_name(part, kDumpField) == CURLE_OK
        && curl_mime_data_cb(part, static_cast<curl_off_t>(dump.Bytes()), readDump, seekDump, nullptr, &dump)
        == CURLE_OK
        && curl_mime_filename(part, dump.Name().c_str()) == CURLE_OK
        && curl_mime_type(part, kDumpType) == CURLE_OK;
}

} // namespace BreakpadLinux
