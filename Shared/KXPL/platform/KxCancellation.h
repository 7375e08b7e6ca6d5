// Keeping a thread from being cancelled in the middle of something.
#ifndef KXPL_KX_CANCELLATION_H
#define KXPL_KX_CANCELLATION_H

#include <pthread.h>

// While it lives, pthread_cancel has no effect on the calling thread; it has afterwards. To be destroyed on the
// thread that made it.
class KxCancellationHeldBack {
public:
    KxCancellationHeldBack() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mBefore); }
    ~KxCancellationHeldBack()
    {
        int ignored = 0;
        pthread_setcancelstate(mBefore, &ignored);
    }

    KxCancellationHeldBack(const KxCancellationHeldBack&) = delete;
    KxCancellationHeldBack& operator=(const KxCancellationHeldBack&) = delete;

private:
    int mBefore = PTHREAD_CANCEL_ENABLE;
};

#endif
