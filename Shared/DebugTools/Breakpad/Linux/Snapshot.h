// A text that any thread may replace while a signal handler reads it.
#ifndef FALLCATCH_BREAKPAD_SNAPSHOT_H
#define FALLCATCH_BREAKPAD_SNAPSHOT_H

#include <atomic>
#include <memory>
#include <string>

namespace BreakpadLinux {

// Writers come one at a time. The reader takes no lock and allocates nothing: it may interrupt a writer
// anywhere, on the writer's own thread or beside it, and always sees one whole text.
class Snapshot {
public:
    Snapshot() = default;
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;
    ~Snapshot() { delete mText.load(); }

    void Replace(std::string text)
    {
        const std::string* old = mText.exchange(std::make_unique<std::string>(std::move(text)).release());
        // A text that the handler holds is left to it: the process is about to die.
        if (mHeld.load() != old) {
            delete old;
        }
    }

    // For the one signal handler of a dying process. Null before the first Replace.
    const std::string* Hold()
    {
        const std::string* text = mText.load();
        for (;;) {
            mHeld.store(text);
            const std::string* now = mText.load();
            if (now == text) {
                return text;
            }
            text = now;
        }
    }

private:
    std::atomic<const std::string*> mText { nullptr };
    std::atomic<const std::string*> mHeld { nullptr };
};

} // namespace BreakpadLinux

#endif
