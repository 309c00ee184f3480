#include "hosts/node/src/ScriptQueue.h"

#include "hosts/node/src/Contained.h"

#include <utility>

namespace pellora::node
{

std::shared_ptr<ScriptQueue> ScriptQueue::make(napi_env env, Receiver receiver)
{
    auto pQueue = std::make_shared<ScriptQueue>();
    pQueue->m_receiver = std::move(receiver);
    // The engine has a share until it has finalized the function.
    auto pShare = std::make_unique<std::shared_ptr<ScriptQueue>>(pQueue);
    napi_value name = nullptr;
    g_napi.napi_create_string_utf8(env, "pellora", NAPI_AUTO_LENGTH, &name);
    if (g_napi.napi_create_threadsafe_function(env, nullptr, nullptr, name, 0, 1, pShare.get(),
                                               &ScriptQueue::onFinalize, pQueue.get(), &ScriptQueue::onCall,
                                               &pQueue->m_function) != napi_ok) {
        return nullptr;
    }
    (void)pShare.release();
    g_napi.napi_unref_threadsafe_function(env, pQueue->m_function);
    return pQueue;
}

void ScriptQueue::postOutcome(Work work)
{
    post({std::move(work), false});
}

void ScriptQueue::postEvent(Work work)
{
    post({std::move(work), true});
}

void ScriptQueue::post(Entry entry)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_function == nullptr) {
        return;
    }
    if (entry.bEvent && m_nEvents >= kMostEvents) {
        ++m_nLost;
        return;
    }
    m_nEvents += entry.bEvent ? 1 : 0;
    m_entries.push_back(std::move(entry));
    if (!m_bCalled) {
        // Under the lock, so that close cannot end the function meanwhile. It enqueues and returns.
        m_bCalled = g_napi.napi_call_threadsafe_function(m_function, nullptr, napi_tsfn_nonblocking) == napi_ok;
    }
}

void ScriptQueue::hold(napi_env env)
{
    if (m_nHolds++ == 0 && m_function != nullptr) {
        g_napi.napi_ref_threadsafe_function(env, m_function);
    }
}

void ScriptQueue::letGo(napi_env env)
{
    if (--m_nHolds == 0 && m_function != nullptr) {
        g_napi.napi_unref_threadsafe_function(env, m_function);
    }
}

void ScriptQueue::close()
{
    std::deque<Entry> entries;
    napi_threadsafe_function function = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::swap(function, m_function);
        entries.swap(m_entries);
    }
    m_bClosed = true;
    if (function != nullptr) {
        g_napi.napi_release_threadsafe_function(function, napi_tsfn_abort);
    }
}

void ScriptQueue::onCall(napi_env env, napi_value, void *pContext, void *)
{
    // Without an environment the engine is on its way out.
    if (env != nullptr) {
        contained([pContext] { static_cast<ScriptQueue *>(pContext)->deliver(); });
    }
}

void ScriptQueue::onFinalize(napi_env, void *pData, void *)
{
    delete static_cast<std::shared_ptr<ScriptQueue> *>(pData);
}

void ScriptQueue::deliver()
{
    std::deque<Entry> entries;
    std::size_t nLost = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        entries.swap(m_entries);
        std::swap(nLost, m_nLost);
        m_nEvents = 0;
        m_bCalled = false;
    }
    for (const Entry &entry : entries) {
        // A listener may end it.
        if (m_bClosed) {
            return;
        }
        m_receiver.deliver(entry.work);
    }
    if (nLost > 0 && !m_bClosed) {
        m_receiver.lost(nLost);
    }
}

} // namespace pellora::node
