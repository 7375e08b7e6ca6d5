// A thread whose work is a function of the test.
#ifndef FALLCATCH_TESTS_FUNCTION_THREAD_H
#define FALLCATCH_TESTS_FUNCTION_THREAD_H

#include "KxThread.h"

#include <functional>
#include <utility>

class FunctionThread : public KxThread {
public:
    explicit FunctionThread(std::function<void()> work = [] {})
        : mWork(std::move(work))
    {
    }

    void Run() override { mWork(); }

    // Starts the thread and waits for its end.
    void runToEnd()
    {
        Start();
        WaitForExit();
    }

private:
    std::function<void()> mWork;
};

#endif
