// A file of any bytes through a port: opened, played with its analysis, sought, stepped, captured, closed.
#include "player/src/port/Port.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "tests/support/FuzzTarget.h"

using pellora::test::FuzzInput;
using pellora::test::mustHold;

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::Port;

/** What a host does to the port, by the last bytes of the input. */
void use(Port &port, player::test::FakeClock &clock, FuzzInput &input)
{
    constexpr int kMostSteps = 6;
    const int nSteps = input.choose() % (kMostSteps + 1);
    for (int i = 0; i < nSteps; ++i) {
        const std::uint8_t how = input.choose();
        std::vector<std::uint8_t> picture;
        switch (how & 7) {
        case 0:
        case 1:
        case 2:
            (void)port.seek(static_cast<unsigned long>(how >> 3) * 40);
            break;
        case 3:
            (void)port.stepForward();
            break;
        case 4:
            (void)port.stepBack();
            break;
        case 5:
            (void)port.changeSpeed(how >= 128 ? 1 : -1);
            break;
        case 6:
            (void)port.jpeg(std::nullopt, 85, picture);
            break;
        default:
            (void)port.pause(how >= 128 ? 1 : 0);
            break;
        }
        clock.advance(how % 2 == 0 ? 20ms : 400ms);
    }
    int width = 0;
    int height = 0;
    if (port.pictureSize(width, height) == Error::None) {
        mustHold(width > 0 && height > 0, "a picture has a size");
    }
    unsigned long seconds = 0;
    (void)port.lengthSeconds(seconds);
    (void)port.playedSeconds(seconds);
}

} // namespace

void pellora::test::fuzz(FuzzInput &input)
{
    // Of the thread that asks; the player's own are watched by its clock and by libFuzzer's limit.
    const FuzzTime time(8000);
    player::test::FakeClock clock;
    player::test::FakePlatform platform(clock);
    const auto pPort = std::make_shared<Port>(platform, 1, 0);
    // What the file says about its pictures is read, too.
    pPort->showPrivateData(0xff, true);
    platform.openBy([&](const char *) { return std::make_unique<player::test::MemoryBytes>(input.bytes()); });
    const Error error = pPort->openFile("any");
    if (error == Error::None) {
        mustHold(pPort->play(platform.window()) == Error::None, "what is open can be played");
        clock.advance(100ms);
        use(*pPort, clock, input);
        pPort->close();
        clock.settle();
    } else {
        mustHold(error != Error::Order && error != Error::Argument, "a file that is refused has a reason");
    }
}
