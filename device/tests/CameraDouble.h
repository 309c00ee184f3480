#ifndef DEVICE_TESTS_CAMERADOUBLE_H
#define DEVICE_TESTS_CAMERADOUBLE_H

#include "device/src/PreviewServices.h"

#include <mutex>
#include <vector>

namespace selvik
{

/**
 * A camera without a network: its pictures and sounds are a few bytes each, and come when its script says.
 *
 * Threads: made by the test; the counters are for any thread.
 */
class CameraDouble
{
public:
    /** What comes next. */
    struct Step {
        Milliseconds wait{40};   /**< after what came before */
        bool bSound = false;     /**< else a picture */
        unsigned long error = 0; /**< the connection breaks instead */
    };

    /** Picture `nUnit` of connection `nConnection`, both from 0; from any thread. */
    std::function<Step(int nConnection, int nUnit)> script = [](int, int) { return Step(); };
    /** How long a connection takes, and how it fails. */
    std::function<Step(int nConnection)> opening = [](int) { return Step{Milliseconds(0), false, 0}; };
    bool bPictures = true;
    bool bSound = true;

    /** For Devices: every address leads to this camera. */
    [[nodiscard]] InputMaker maker();
    [[nodiscard]] int connections() const;
    /** Those that were opened and not closed yet. */
    [[nodiscard]] int openConnections() const;
    [[nodiscard]] std::vector<Clock::time_point> connectionTimes() const;

private:
    class Input;

    mutable std::mutex m_mutex;
    std::vector<Clock::time_point> m_times; /**< of each connection, guarded by m_mutex */
    int m_nOpen = 0;
};

} // namespace selvik

#endif
