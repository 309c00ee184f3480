#ifndef PREVIEW_TESTS_TESTSTART_H
#define PREVIEW_TESTS_TESTSTART_H

#include "VideoWindow/TakeStreamMgr.h"
#include "preview/PreviewStart.h"
#include "threadpool/ThreadTask.h"

#include <atomic>
#include <functional>
#include <utility>

/** A start as the pool knows it; its result is a function instead of a signal. */
class TestStart : public publicdatacontroller::ThreadTask, public pellora::PreviewStart
{
public:
    TestStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request, std::function<void()> whenBack)
        : PreviewStart(lUserID, request), m_whenBack(std::move(whenBack))
    {
        ++s_nLive;
        donotDelete();
    }
    ~TestStart() override
    {
        --s_nLive;
    }

    void run() override
    {
        pellora::TakeStreamMgr::getInstance()->taken(this);
        carryOut();
    }
    [[nodiscard]] publicdatacontroller::ThreadTask &task() override
    {
        return *this;
    }

    /** Starts that have not been deleted. */
    static inline std::atomic<int> s_nLive{0};

protected:
    void deliver(long) override
    {
        m_whenBack();
    }

private:
    std::function<void()> m_whenBack;
};

#endif
