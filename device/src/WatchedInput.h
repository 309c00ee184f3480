#ifndef DEVICE_WATCHEDINPUT_H
#define DEVICE_WATCHEDINPUT_H

#include "device/src/CameraInput.h"
#include "device/src/LossWatch.h"

#include <memory>
#include <utility>

namespace selvik
{

/**
 * Any connection to a camera, given up when its pictures stay away; of a camera without pictures, whatever it sends.
 *
 * See CameraInput. Borrows the watch.
 */
class WatchedInput : public CameraInput
{
public:
    WatchedInput(std::unique_ptr<CameraInput> input, LossWatch &watch) : m_input(std::move(input)), m_watch(watch) {}

    void open(const Patience &patience) override
    {
        m_input->open(patience);
        for (std::size_t i = 0; i < tracks().size(); ++i) {
            if (tracks()[i]->codec_type == AVMEDIA_TYPE_VIDEO) {
                m_nPictures = i;
                m_bPictures = true;
            }
        }
        m_watch.begin(patience.now());
    }
    [[nodiscard]] const std::vector<ParametersPtr> &tracks() const override
    {
        return m_input->tracks();
    }
    [[nodiscard]] bool isLeftOut(std::size_t track) const override
    {
        return m_input->isLeftOut(track);
    }
    [[nodiscard]] bool next(MediaUnit &unit, const Patience &patience) override
    {
        const auto left = std::chrono::ceil<Milliseconds>(m_watch.lostAt() - patience.now());
        const bool bCame = m_input->next(unit, patience.atMost(left));
        const bool bWatched = m_bPictures && !m_input->isLeftOut(m_nPictures);
        const bool bPicture = bCame && (!bWatched || unit.track == m_nPictures);
        if (bPicture) {
            m_watch.sawPicture(patience.now());
        } else if (patience.now() >= m_watch.lostAt()) {
            throw Failure(SELVIK_ERROR_TIMEOUT);
        }
        return bCame;
    }
    void close(const Patience &patience) noexcept override
    {
        m_input->close(patience);
    }

private:
    std::unique_ptr<CameraInput> m_input;
    LossWatch &m_watch;
    std::size_t m_nPictures = 0; /**< their track, if there is one */
    bool m_bPictures = false;
};

} // namespace selvik

#endif
