// A slow model of a collection pass and of the renderer, for any bytes in the rings, and at once the place
// where formats that must not be tried are made harmless.
#ifndef FALLCATCH_FUZZ_RECORD_MODEL_H
#define FALLCATCH_FUZZ_RECORD_MODEL_H

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

// The bytes that a ring will have held. Behind what is visible a reader finds zeros.
struct ModelRing {
    std::string bytes;
    std::size_t visible = 0;
    std::size_t next = 0;

    std::string Take(std::size_t count);
    template <typename T> T Take()
    {
        T field;
        std::memcpy(&field, Take(sizeof field).data(), sizeof field);
        return field;
    }
};

struct ModelContext {
    std::string name;
    ModelRing ring;
    int count = 0; // of records, as the context claims
};

struct ModelFormat {
    bool narrow;
    std::string text;
};

// One call of an output callback, as one text.
std::string structuredOutput(const char* text, const std::string& context, unsigned int depth,
                             const std::string& categories, unsigned int seconds, unsigned int microseconds);

class RecordModel {
public:
    // The message of the record whose format kind comes next.
    std::string Message(bool render, ModelRing& ring);
    void Pass(std::vector<ModelContext>& contexts);

    std::vector<ModelFormat> mFormats;
    bool mFilter[256] = {};
    bool mStructured = false;

    std::vector<std::string> mOutput;
    // A "%" of a registered format has been replaced by "_": what came before may have been rendered by the
    // format as it was.
    bool mFormatChanged = false;

private:
    struct Text;

    bool TryMessage(bool render, ModelRing& ring, std::string& message);
    bool TryValues(bool render, ModelRing& ring, Text& format, int count, std::string& message);
    Text TakeFormat(ModelRing& ring);
    void Record(ModelContext& context, int sequence);

    unsigned int mLastSeconds = 0;
    unsigned int mLastMicroseconds = 0;
};

#endif
