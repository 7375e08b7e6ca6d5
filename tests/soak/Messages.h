// What the soak's threads log: a function of the run's seed, the thread's number and the message's own number,
// so that whoever sees a line can tell every byte of it.
#ifndef FALLCATCH_TESTS_SOAK_MESSAGES_H
#define FALLCATCH_TESTS_SOAK_MESSAGES_H

#include "hslog/HSLValue.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace soak {

// Small and quick to seed (splitmix64).
class Random {
public:
    explicit Random(unsigned long long seed)
        : mState(seed)
    {
    }

    unsigned long long Next();
    unsigned int Below(unsigned int bound) { return static_cast<unsigned int>(Next() % bound); }

private:
    unsigned long long mState;
};

// A format and what its values are; the same for all threads, so that hosts can register it.
struct Shape {
    struct Piece {
        unsigned char type; // an HSL tag
        std::string literal;
        const char* conversion;
    };

    std::string format;
    std::vector<Piece> pieces;
};

// All shapes of a run. The first two have every type between them, for calls whose types the compiler knows.
class Shapes {
public:
    static constexpr std::size_t kCount = 48;

    explicit Shapes(unsigned long long seed);
    const Shape& operator[](std::size_t i) const { return mShapes[i]; }

private:
    std::vector<Shape> mShapes;
};

// Which of the ways to log a message takes.
enum class Way {
    kTextAlone,  // no value
    kOneString,  // one value, its type known at the call
    kKnownTypes, // ten values, likewise
    kAnyTypes    // two to ten values
};

class Message {
public:
    // Keeps references.
    Message(unsigned long long seed, const Shapes& shapes);

    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    // Replaces the message by another one. The values point into this object.
    void Make(unsigned int thread, unsigned int serial);

    Way GetWay() const { return mWay; }
    std::size_t GetShape() const { return mShape; }
    int Depth() const { return mDepth; }
    const std::vector<HSL::CValue>& Values() const { return mValues; }
    // What the message must look like in the output, behind the indentation.
    const std::string& Text() const { return mText; }

private:
    void AddValue(Random& random, const Shape::Piece& piece);
    void AddString(Random& random, const Shape::Piece& piece);
    unsigned int TextLength(Random& random, unsigned int unitSize);
    template <typename T> void Append(const char* conversion, T value);

    const unsigned long long mSeed;
    const Shapes& mShapes;
    Way mWay = Way::kTextAlone;
    std::size_t mShape = 0;
    int mDepth = 0;
    unsigned int mBytesLeft = 0; // for texts
    std::vector<HSL::CValue> mValues;
    std::string mText;
    std::array<std::string, 10> mNarrow;
    std::array<std::wstring, 10> mWide;
    std::array<std::vector<unsigned short>, 10> mUTF16;
};

} // namespace soak

#endif
