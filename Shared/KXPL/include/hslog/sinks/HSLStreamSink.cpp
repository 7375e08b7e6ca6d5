#include "hslog/sinks/HSLStreamSink.h"

#include "hslog/sinks/HSLTextSink.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace HSL {
namespace Sinks {
namespace {

class DescriptorSink : public TextSink {
public:
    DescriptorSink(int file, std::unique_ptr<Layout> layout)
        : TextSink(std::move(layout), kUsualBytes)
        , mFile(file)
    {
        Start();
    }

    ~DescriptorSink() override { Stop(); }

private:
    // The queue's thread takes no SIGPIPE.
    void Consume(const std::string& bytes) override { WriteAll(mFile, bytes.data(), bytes.size()); }

    int mFile;
};

bool wantsColours(int file)
{
    const char* no = std::getenv("NO_COLOR");
    return ::isatty(file) != 0 && (no == nullptr || *no == 0);
}

} // namespace

std::unique_ptr<Sink> MakeDescriptorSink(int file, std::unique_ptr<Layout> layout)
{
    if (layout == nullptr) {
        layout = MakePatternLayout(kUsualPattern, wantsColours(file));
    }
    return std::make_unique<DescriptorSink>(file, std::move(layout));
}

std::unique_ptr<Sink> MakeStandardErrorSink(std::unique_ptr<Layout> layout)
{
    return MakeDescriptorSink(STDERR_FILENO, std::move(layout));
}

} // namespace Sinks
} // namespace HSL
