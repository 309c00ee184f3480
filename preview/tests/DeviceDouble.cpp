#include "preview/tests/DeviceDouble.h"

#include "Selvikdcm.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

namespace
{

struct Preview {
    std::thread thread;
    std::atomic<bool> bStop{false};
};

struct State {
    std::mutex mutex;
    // Guarded by the mutex.
    std::map<long, std::shared_ptr<Preview>> previews;
    std::deque<long> answers;
    std::vector<std::string> calls;
    std::mt19937 random;
    std::function<void()> whenStarting;
    SELVIK_DCM_STREAM_CB callback = nullptr;
    int nRefusals = 0;
    bool bTraffic = false;
    long nNext = 0;
};

State &state()
{
    static auto *const pState = new State;
    return *pState;
}

bool hasTraffic()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().bTraffic;
}

void sendOnAndOn(const Preview &preview, long lHandle, const SELVIK_DCM_PREVIEW_INFO &info)
{
    unsigned char bytes[4] = {};
    unsigned int nType = SELVIK_STREAM_HEADER;
    while (!preview.bStop) {
        const SELVIK_DCM_STREAM_DATA data = {nType, sizeof(bytes), bytes};
        info.callback(lHandle, &data, info.user);
        nType = devicedouble::chance(4) == 0 ? SELVIK_STREAM_HEADER : SELVIK_STREAM_DATA;
        devicedouble::pause();
    }
}

} // namespace

namespace devicedouble
{

void reset()
{
    State &all = state();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.answers.clear();
    all.calls.clear();
    all.previews.clear();
    all.nRefusals = 0;
    all.bTraffic = false;
}

void setTraffic(bool bTraffic, unsigned nSeed)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().bTraffic = bTraffic;
    state().random.seed(nSeed);
}

void answerStarts(const std::vector<long> &handles)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().answers.assign(handles.begin(), handles.end());
}

void whenStarting(std::function<void()> action)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().whenStarting = std::move(action);
}

void refuseStops(int nStops)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().nRefusals = nStops;
}

std::vector<std::string> newCalls()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return std::move(state().calls);
}

std::size_t openPreviews()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().previews.size();
}

void send(long lHandle, unsigned int nType, void *pUser)
{
    SELVIK_DCM_STREAM_CB callback = nullptr;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        callback = state().callback;
    }
    unsigned char bytes[4] = {};
    const SELVIK_DCM_STREAM_DATA data = {nType, sizeof(bytes), bytes};
    callback(lHandle, &data, pUser);
}

void pause()
{
    if (!hasTraffic()) {
        return;
    }
    const int nMicroseconds = chance(2000);
    if (nMicroseconds > 500) {
        std::this_thread::sleep_for(std::chrono::microseconds(nMicroseconds));
    }
}

int chance(int nBelow)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return std::uniform_int_distribution<int>(0, nBelow - 1)(state().random);
}

} // namespace devicedouble

long SELVIK_DCM_StartPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *info)
{
    devicedouble::pause();
    State &all = state();
    long lHandle = 0;
    std::shared_ptr<Preview> pPreview;
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> lock(all.mutex);
        action.swap(all.whenStarting);
    }
    if (action) {
        action();
    }
    {
        const std::lock_guard<std::mutex> lock(all.mutex);
        all.calls.push_back("start " + std::to_string(userID));
        all.callback = info->callback;
        if (all.answers.empty()) {
            lHandle = all.nNext++;
        } else {
            lHandle = all.answers.front();
            all.answers.pop_front();
        }
        if (lHandle < 0) {
            return lHandle;
        }
        pPreview = std::make_shared<Preview>();
        all.previews[lHandle] = pPreview;
        if (all.bTraffic) {
            // Within the lock, so that a stop finds the thread.
            pPreview->thread =
                std::thread([pPreview, lHandle, request = *info] { sendOnAndOn(*pPreview, lHandle, request); });
        }
    }
    devicedouble::pause();
    return lHandle;
}

int SELVIK_DCM_StopPreview(long previewHandle)
{
    State &all = state();
    std::shared_ptr<Preview> pPreview;
    {
        const std::lock_guard<std::mutex> lock(all.mutex);
        all.calls.push_back("stop " + std::to_string(previewHandle));
        const auto found = all.previews.find(previewHandle);
        if (all.nRefusals > 0 || found == all.previews.end()) {
            all.nRefusals -= all.nRefusals > 0 ? 1 : 0;
            return 0;
        }
        pPreview = found->second;
        all.previews.erase(found);
    }
    pPreview->bStop = true;
    if (pPreview->thread.joinable()) {
        pPreview->thread.join();
    }
    return 1;
}

unsigned long SELVIK_DCM_GetLastError(void)
{
    return SELVIK_ERROR_HOST;
}
