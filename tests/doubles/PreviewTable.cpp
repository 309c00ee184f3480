#include "tests/doubles/PreviewTable.h"

#include "tests/doubles/CallGates.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace doubles
{

namespace
{

struct Preview {
    long handle = -1;
    SELVIK_DCM_STREAM_CB callback = nullptr;
    void *user = nullptr;

    /** Held while the callback runs, so that a stop waits for it; recursive for a stop from inside. */
    std::recursive_mutex mutex;
    bool stopped = false;
};

struct Table {
    std::mutex mutex;
    std::condition_variable changed;
    // All guarded by the mutex.
    std::map<long, std::shared_ptr<Preview>> previews;
    std::vector<StartRequest> requests;
    std::deque<long> answers;
    std::function<void(long)> whenStarted;
    std::optional<Traffic> traffic;
    std::size_t started = 0;
    std::size_t stopped = 0;
    long nextHandle = 0;
    int streams = 0;
};

/** Never destroyed: threads that send may outlive the static objects. */
Table &table()
{
    static auto *const pTable = new Table;
    return *pTable;
}

thread_local long t_currentPreview = -1;

bool send(Preview &preview, unsigned int type, const std::string &bytes)
{
    const std::lock_guard<std::recursive_mutex> lock(preview.mutex);
    if (preview.stopped || preview.callback == nullptr) {
        return false;
    }
    std::vector<unsigned char> buffer(bytes.begin(), bytes.end());
    const SELVIK_DCM_STREAM_DATA data = {type, static_cast<unsigned int>(buffer.size()), buffer.data()};
    t_currentPreview = preview.handle;
    preview.callback(preview.handle, &data, preview.user);
    t_currentPreview = -1;
    return !preview.stopped;
}

void pause(const Traffic &traffic)
{
    if (traffic.longestPause > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1 + chance(traffic.longestPause - 1)));
    }
}

void sendUntilStopped(const std::shared_ptr<Preview> &preview, const Traffic &traffic)
{
    unsigned int records = 0;
    bool running = send(*preview, SELVIK_STREAM_HEADER, traffic.header);
    while (running) {
        pause(traffic);
        const bool header = traffic.recordsPerHeader > 0 && ++records % traffic.recordsPerHeader == 0;
        running = header ? send(*preview, SELVIK_STREAM_HEADER, traffic.header)
                         : send(*preview, SELVIK_STREAM_DATA, traffic.data);
    }
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    --all.streams;
    all.changed.notify_all();
}

std::shared_ptr<Preview> findPreview(long previewHandle)
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.previews.find(previewHandle);
    return found == all.previews.end() ? nullptr : found->second;
}

} // namespace

std::vector<long> openPreviews()
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    std::vector<long> handles;
    for (const auto &entry : all.previews) {
        handles.push_back(entry.first);
    }
    return handles;
}

std::size_t startedPreviews()
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.started;
}

std::size_t stoppedPreviews()
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.stopped;
}

std::vector<StartRequest> startRequests()
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.requests;
}

void answerStarts(std::vector<long> handles)
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.answers.assign(handles.begin(), handles.end());
}

void whenStarted(std::function<void(long)> action)
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.whenStarted = std::move(action);
}

void setTraffic(const Traffic *traffic)
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.traffic = traffic != nullptr ? std::optional<Traffic>(*traffic) : std::nullopt;
}

int runningStreams()
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.streams;
}

bool sendStream(long previewHandle, unsigned int type, const std::string &bytes)
{
    bool sent = false;
    std::thread([&] {
        const std::shared_ptr<Preview> preview = findPreview(previewHandle);
        if (preview != nullptr && preview->callback != nullptr) {
            const std::lock_guard<std::recursive_mutex> lock(preview->mutex);
            sent = !preview->stopped;
            send(*preview, type, bytes);
        }
    }).join();
    return sent;
}

long currentPreview()
{
    return t_currentPreview;
}

void callBack(const StartRequest &request, long previewHandle, const SELVIK_DCM_STREAM_DATA *data)
{
    SELVIK_DCM_PREVIEW_INFO info = {};
    request.bytes.copy(reinterpret_cast<char *>(&info), sizeof(info));
    std::thread([&] { info.callback(previewHandle, data, info.user); }).join();
}

void recordRequest(long userID, const SELVIK_DCM_PREVIEW_INFO &info)
{
    StartRequest request;
    request.userID = userID;
    request.bytes.assign(reinterpret_cast<const char *>(&info), sizeof(info));
    request.bUrl = info.url != nullptr;
    request.url = request.bUrl ? info.url : "";
    request.threadId = GetCurrentThreadId();
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.requests.push_back(std::move(request));
}

long takePreview(const SELVIK_DCM_PREVIEW_INFO &info)
{
    Table &all = table();
    const auto preview = std::make_shared<Preview>();
    preview->callback = info.callback;
    preview->user = info.user;
    std::function<void(long)> action;
    std::optional<Traffic> traffic;
    {
        const std::lock_guard<std::mutex> lock(all.mutex);
        if (all.answers.empty()) {
            preview->handle = all.nextHandle++;
        } else {
            preview->handle = all.answers.front();
            all.answers.pop_front();
        }
        if (preview->handle < 0) {
            return preview->handle;
        }
        all.previews[preview->handle] = preview;
        ++all.started;
        action = all.whenStarted;
        traffic = all.traffic;
        all.streams += traffic ? 1 : 0;
    }
    if (traffic) {
        std::thread(sendUntilStopped, preview, *traffic).detach();
        std::this_thread::sleep_for(std::chrono::milliseconds(chance(traffic->longestStart)));
    }
    if (action) {
        action(preview->handle);
    }
    return preview->handle;
}

long takeFailure()
{
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    if (all.answers.empty() || all.answers.front() >= 0) {
        return -1;
    }
    const long answer = all.answers.front();
    all.answers.pop_front();
    return answer;
}

bool dropPreview(long previewHandle)
{
    const std::shared_ptr<Preview> preview = findPreview(previewHandle);
    if (preview == nullptr) {
        return false;
    }
    const std::lock_guard<std::recursive_mutex> callbackLock(preview->mutex);
    if (preview->stopped) {
        return false;
    }
    preview->stopped = true;
    Table &all = table();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.previews.erase(previewHandle);
    ++all.stopped;
    return true;
}

void resetPreviews()
{
    for (const long handle : openPreviews()) {
        static_cast<void>(dropPreview(handle));
    }
    Table &all = table();
    std::unique_lock<std::mutex> lock(all.mutex);
    all.changed.wait(lock, [&all] { return all.streams == 0; });
    all.requests.clear();
    all.answers.clear();
    all.whenStarted = nullptr;
    all.traffic.reset();
    all.started = 0;
    all.stopped = 0;
}

} // namespace doubles
