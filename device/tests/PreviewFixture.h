#ifndef DEVICE_TESTS_PREVIEWFIXTURE_H
#define DEVICE_TESTS_PREVIEWFIXTURE_H

#include "device/src/Devices.h"
#include "device/tests/FakeTime.h"
#include "device/tests/ScriptedCamera.h"
#include "device/tests/StreamRecorder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

namespace selvik
{

using namespace std::chrono_literals;

/** The address of a test clip. */
inline std::string clip(const std::string &name)
{
    const char *pMedia = std::getenv("PELLORA_TEST_MEDIA");
    return std::string("file:") + (pMedia != nullptr ? pMedia : "build/media") + "/" + name;
}

/** Whether a condition comes true within so much of that time. */
template <typename Condition>
bool waitUntil(TimeSource &time, Condition condition, Milliseconds most)
{
    return time.poll(most, [&](Milliseconds left) {
        std::this_thread::sleep_for(std::min(left, Milliseconds(2)));
        return condition();
    });
}

/** Devices on a time of their own, on which their cameras live too. */
class PreviewFixture : public testing::Test
{
protected:
    /** A preview that is stopped at the end of its scope. */
    class Started
    {
    public:
        Started(PreviewFixture &fixture, StreamRecorder &recorder, const std::string &url, long userID = -1)
            : m_fixture(fixture)
        {
            const SELVIK_DCM_PREVIEW_INFO info = recorder.request(url);
            const Clock::time_point begin = fixture.m_time.now();
            try {
                m_lHandle = fixture.m_devices.startPreview(userID, &info);
            } catch (const Failure &failure) {
                m_nError = failure.error();
            }
            m_duration = fixture.since(begin);
        }
        ~Started()
        {
            if (m_lHandle >= 0) {
                (void)m_fixture.stop(m_lHandle);
            }
        }
        Started(const Started &) = delete;
        Started &operator=(const Started &) = delete;

        [[nodiscard]] long handle() const
        {
            return m_lHandle;
        }
        [[nodiscard]] unsigned long error() const
        {
            return m_nError;
        }
        [[nodiscard]] Milliseconds duration() const
        {
            return m_duration;
        }
        /** How long the stop took. */
        [[nodiscard]] Milliseconds stop()
        {
            const Clock::time_point begin = m_fixture.m_time.now();
            EXPECT_TRUE(m_fixture.stop(m_lHandle));
            m_lHandle = -1;
            return m_fixture.since(begin);
        }

    private:
        PreviewFixture &m_fixture;
        long m_lHandle = -1;
        unsigned long m_nError = SELVIK_ERROR_NONE;
        Milliseconds m_duration{};
    };

    /** False where there is no such preview any more. */
    bool stop(long handle)
    {
        try {
            m_devices.stopPreview(handle);
            return true;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
            return false;
        }
    }
    [[nodiscard]] Milliseconds since(Clock::time_point begin) const
    {
        return std::chrono::duration_cast<Milliseconds>(m_time.now() - begin);
    }
    template <typename Condition>
    [[nodiscard]] bool waitFor(Condition condition, Milliseconds most)
    {
        return waitUntil(m_time, condition, most);
    }

    FakeTime m_time;
    Devices m_devices{m_time};
};

} // namespace selvik

#endif
