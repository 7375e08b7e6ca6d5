// A small model of the ring for comparison with the real one. It counts in slots: slot 0 is the first, a
// negative slot lies inside the header.
#ifndef FALLCATCH_TESTS_RING_MODEL_H
#define FALLCATCH_TESTS_RING_MODEL_H

#include <string>

class RingModel {
public:
    struct Result {
        unsigned int code;
        int count;
        std::string data;
    };

    // `header` is the header's size in bytes.
    RingModel(int header, int elemSize, int numElem);

    Result write(const std::string& data, int count);
    Result read(long long index, int count, bool consume);
    Result remove(int count);
    unsigned int clearErrors();
    bool isFull() const;
    int used() const;

    // The header's bytes, which a read may meet. The test keeps them up to date.
    std::string mHeaderBytes;
    // All slots.
    std::string mSlots;

    int mHeader;
    int mElemSize;
    int mLast; // number of the last slot
    int mRead = 0;
    int mWrite = 0;
    bool mCopies = false;     // a copy function is set
    bool mSuppressed = false; // overflow is not recorded
    unsigned int mFirstError = 0;
    unsigned int mLastError = 0;

private:
    void record(unsigned int code);
    void recordOverflow();
    int store(const std::string& data, int from, int count);
    Result writeInPieces(const std::string& data, int count);
    std::string elementAt(int slot) const;
};

#endif
