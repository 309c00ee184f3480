#include "player/tests/support/FakePlatform.h"

#include "player/tests/support/PictureNumber.h"
#include "player/tests/support/StdioBytes.h"

#include <algorithm>

namespace player::test
{

class FakePresenter : public Presenter
{
public:
    explicit FakePresenter(FakePlatform &platform) : m_platform(platform)
    {
        ++m_platform.m_nPresenters;
    }

    ~FakePresenter() override
    {
        --m_platform.m_nPresenters;
    }

    void present(const Picture &picture, const PixelRect &region, const Overlay &overlay) override
    {
        if (overlay) {
            overlay(this);
        }
        m_platform.note({numberOf(picture), picture.time, region, std::chrono::steady_clock::now()});
    }

private:
    FakePlatform &m_platform;
};

std::unique_ptr<ByteSource> FakePlatform::openFile(const char *path)
{
    return StdioBytes::open(path);
}

bool FakePlatform::isWindow(WindowHandle window)
{
    return window == &m_window;
}

std::unique_ptr<Presenter> FakePlatform::makePresenter(WindowHandle)
{
    return std::make_unique<FakePresenter>(*this);
}

void FakePlatform::note(const Shown &shown)
{
    {
        const std::lock_guard lock(m_mutex);
        m_shown.push_back(shown);
    }
    m_noted.notify_all();
}

std::vector<Shown> FakePlatform::shown() const
{
    const std::lock_guard lock(m_mutex);
    return m_shown;
}

std::chrono::steady_clock::duration FakePlatform::quickest(std::size_t pictures) const
{
    const std::lock_guard lock(m_mutex);
    auto shortest = std::chrono::steady_clock::duration::max();
    for (std::size_t i = pictures; i < m_shown.size(); ++i) {
        shortest = std::min(shortest, m_shown[i].moment - m_shown[i - pictures].moment);
    }
    return shortest;
}

void FakePlatform::forget()
{
    const std::lock_guard lock(m_mutex);
    m_shown.clear();
}

bool FakePlatform::waitFor(const std::function<bool(const Shown &)> &condition, std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    return m_noted.wait_for(lock, patience, [&] { return std::any_of(m_shown.begin(), m_shown.end(), condition); });
}

bool FakePlatform::waitForNumber(int number)
{
    return waitFor([number](const Shown &shown) { return shown.number == number; });
}

bool FakePlatform::waitForNumberOrLater(int number)
{
    return waitFor([number](const Shown &shown) { return shown.number >= number; });
}

} // namespace player::test
