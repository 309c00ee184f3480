#include "player/tests/support/FakePlatform.h"

#include "player/tests/support/PictureNumber.h"
#include "player/tests/support/PlainDecoding.h"
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

    bool canBeSeen() override
    {
        return m_platform.m_bSeen;
    }

    void present(const Picture &picture, const PixelRect &region, const Overlay &overlay) override
    {
        m_labels.clear();
        if (overlay) {
            overlay(this);
        }
        if (m_platform.m_bSums && m_pSummed != picture.pFrame) {
            m_nChecksum = checksumOf(*picture.pFrame);
            m_pSummed = picture.pFrame;
        }
        const Shown shown{numberOf(picture),          picture.time, region,     m_platform.m_clock.now(),
                          std::this_thread::get_id(), m_labels,     m_nChecksum};
        const std::lock_guard lock(m_platform.m_mutex);
        m_platform.m_shown.push_back(shown);
    }

    /** What an overlay has drawn of the picture's analysis. */
    std::vector<std::string> m_labels;

private:
    std::shared_ptr<const AVFrame> m_pSummed;
    std::uint32_t m_nChecksum = 0;
    FakePlatform &m_platform;
};

void FakePlatform::drawAnalysis(void *pContext, const AnalysisFrames &frames, const PictureShape & /*shape*/,
                                const PixelRect & /*region*/)
{
    for (const auto &pFrame : frames) {
        for (const AnalysisObject &object : pFrame->objects) {
            static_cast<FakePresenter *>(pContext)->m_labels.push_back(object.label);
        }
    }
}

std::unique_ptr<ByteSource> FakePlatform::openFile(const char *path)
{
    return m_open ? m_open(path) : StdioBytes::open(path);
}

bool FakePlatform::isWindow(WindowHandle window)
{
    return window == &m_window;
}

std::unique_ptr<Presenter> FakePlatform::makePresenter(WindowHandle)
{
    return std::make_unique<FakePresenter>(*this);
}

std::vector<Shown> FakePlatform::shown() const
{
    const std::lock_guard lock(m_mutex);
    return m_shown;
}

std::vector<Shown> FakePlatform::changes() const
{
    std::vector<Shown> changes = shown();
    changes.erase(std::unique(changes.begin(), changes.end(),
                              [](const Shown &left, const Shown &right) { return left.number == right.number; }),
                  changes.end());
    return changes;
}

std::vector<int> FakePlatform::numbers() const
{
    std::vector<int> numbers;
    for (const Shown &change : changes()) {
        numbers.push_back(change.number);
    }
    return numbers;
}

int FakePlatform::number() const
{
    const std::lock_guard lock(m_mutex);
    return m_shown.empty() ? -1 : m_shown.back().number;
}

void FakePlatform::forget()
{
    const std::lock_guard lock(m_mutex);
    m_shown.clear();
}

void FakePlatform::forgetAllButLast()
{
    const std::lock_guard lock(m_mutex);
    if (!m_shown.empty()) {
        m_shown.erase(m_shown.begin(), std::prev(m_shown.end()));
    }
}

} // namespace player::test
