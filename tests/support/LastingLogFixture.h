// Processes whose log outlives them.
#ifndef FALLCATCH_TESTS_LASTING_LOG_FIXTURE_H
#define FALLCATCH_TESTS_LASTING_LOG_FIXTURE_H

#include "hslog/HSL.h"
#include "hslog/HSLLastingLog.h"
#include "hslog/crash/LastingObject.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

inline void logTo(HSL::CLogContext& context, int messages, const char* format = "message %d")
{
    for (int i = 0; i < messages; ++i) {
        context.Log(HSL::CCat(3), format, i);
    }
}

class LastingLog : public testing::Test {
protected:
    struct Found {
        std::vector<int> processes;
        std::string lines;
        std::string notes;
        bool isDamaged = false;
    };

    LastingLog()
        : mProduct("a product/of \xC3\xA4 test " + std::to_string(getpid()))
    {
    }
    ~LastingLog() override
    {
        Take();
        std::vector<std::string> names;
        HSL::CrashLog::listLastingObjects(mProduct.c_str(), names);
        for (const std::string& name : names) {
            KXPL::KxRemoveSharedObject(name.c_str());
        }
    }

    // Has a process of its own run the body with a manager whose log lasts, and end without a word.
    int InAProcess(const std::function<void(HSL::CLogManager&)>& body)
    {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            if (HSL::MakeLogLast(mProduct.c_str(), HSL::kLeastLastingBytes) != 0) {
                _exit(100);
            }
            {
                ManualPass pass;
                body(pass.Manager());
                kill(getpid(), SIGKILL);
            }
            _exit(101);
        }
        return EndOf(child);
    }

    static int EndOf(pid_t child)
    {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

    Found Take(bool isRemoved = true)
    {
        mIsRemoved = isRemoved;
        mFound = {};
        mTaken = HSL::TakeLogsOfDead(
            mProduct.c_str(),
            [](const HSL::CDeadLog& log, void* self) {
                LastingLog& test = *static_cast<LastingLog*>(self);
                test.mFound.processes.push_back(log.mProcess);
                test.mFound.lines += log.mLines;
                test.mFound.notes += log.mNotes;
                test.mFound.isDamaged = test.mFound.isDamaged || log.mIsDamaged;
                return test.mIsRemoved;
            },
            this);
        return mFound;
    }

    std::vector<std::string> Messages() const
    {
        std::vector<std::string> messages;
        for (std::size_t at = 0; at < mFound.lines.size();) {
            const std::size_t end = mFound.lines.find('\n', at) + 1;
            messages.push_back(messageOf(mFound.lines.substr(at, end - at)));
            at = end;
        }
        return messages;
    }

    std::size_t Objects() const
    {
        std::vector<std::string> names;
        EXPECT_TRUE(HSL::CrashLog::listLastingObjects(mProduct.c_str(), names));
        return names.size();
    }

    std::string mProduct;
    Found mFound;
    int mTaken = 0;
    bool mIsRemoved = true;
};

constexpr int kKilled = -SIGKILL;

#endif
