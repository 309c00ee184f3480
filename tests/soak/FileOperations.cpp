#include "interface/Pellora.h"
#include "tests/soak/Failure.h"
#include "tests/soak/Generators.h"
#include "tests/soak/Media.h"
#include "tests/soak/OperationLists.h"
#include "tests/soak/World.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace soak
{

namespace
{

/** 0 in a pane where nothing plays; not certain elsewhere. */
std::optional<long long> needsSource(World &world, long lHandle, long nPane = -1)
{
    const PaneModel *const pPane = world.pane(lHandle, nPane);
    const bool bNone = pPane != nullptr && pPane->source == PaneModel::Source::None;
    return world.onPane(lHandle, nPane, bNone ? std::optional<long long>(0) : std::nullopt);
}

void previewFile(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    Clip file = clip(arguments[1]);
    const auto expected =
        world.onWindow(lHandle, file.bPlays ? std::optional<long long>(*file.bPlays ? 1 : 0) : std::nullopt);
    const Call call(world);
    const int nAnswer =
        PELLORA_PreviewFile(lHandle, file.bNull ? nullptr : file.path.data(), static_cast<unsigned char>(arguments[2]),
                            static_cast<unsigned char>(arguments[3]));
    const bool bAlone = call.expect(nAnswer, expected);
    PaneModel *const pPane = world.pane(lHandle);
    if (bAlone && pPane != nullptr) {
        pPane->clear();
        pPane->source = nAnswer != 0 ? PaneModel::Source::File : PaneModel::Source::Unknown;
    } else {
        world.forgetPane(lHandle);
    }
}

void stopPreviewFile(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    const int nAnswer = PELLORA_StopPreviewFile(lHandle);
    PaneModel *const pPane = world.pane(lHandle);
    if (call.expect(nAnswer, expected) && pPane != nullptr) {
        pPane->clear();
    } else {
        world.forgetPane(lHandle);
    }
}

void onFileEnd(long lHandle)
{
    if (!World::isHandle(lHandle) || !world().window(lHandle).bExists) {
        fail(Outcome::WrongAnswer,
             "the end of a file is told of window " + std::to_string(lHandle) + ", which is gone");
    }
    world().called(Inside::FileEnd);
}

void setFileEndCallback(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, std::nullopt);
    const Call call(world);
    call.expect(PELLORA_SetFileEndCallback(lHandle, arguments[1] != 0 ? &onFileEnd : nullptr), expected);
}

void command(World &world, const Arguments &arguments)
{
    static const std::array<int (*)(long), 9> kCommands = {
        &PELLORA_Play,     &PELLORA_Pause,        &PELLORA_Restore,   &PELLORA_Fast,      &PELLORA_Slow,
        &PELLORA_OneByOne, &PELLORA_OneByOneBack, &PELLORA_OpenSound, &PELLORA_CloseSound};
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = needsSource(world, lHandle);
    const Call call(world);
    call.expect(kCommands.at(static_cast<std::size_t>(arguments[1]))(lHandle), expected);
}

void ask(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = needsSource(world, lHandle);
    const Call call(world);
    tagPELLORA_POINT size{};
    switch (arguments[1]) {
    case 0:
        call.expect(PELLORA_GetPlayPos(lHandle), expected);
        break;
    case 1:
        call.expect(PELLORA_GetFileTime(lHandle), expected);
        break;
    case 2:
        call.expect(PELLORA_GetPictureSize(lHandle, &size), expected);
        break;
    default:
        call.expect(PELLORA_GetPictureSize(lHandle, nullptr), 0);
    }
}

void setPlayPos(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = needsSource(world, lHandle);
    const Call call(world);
    call.expect(PELLORA_SetPlayPos(lHandle, static_cast<unsigned long>(arguments[1])), expected);
}

void askTimes(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    tagPELLORA_SYSTEM_TIME first{};
    tagPELLORA_SYSTEM_TIME last{};
    const Call call(world);
    // 0 always, whatever was filled.
    switch (arguments[1]) {
    case 0:
        call.expect(PELLORA_GetSystemTime(lHandle, &first), 0);
        break;
    case 1:
        call.expect(PELLORA_GetSystemTime(lHandle, nullptr), 0);
        break;
    case 2:
        call.expect(PELLORA_GetSystemFileTime(lHandle, &first, &last), 0);
        break;
    default:
        call.expect(PELLORA_GetSystemFileTime(lHandle, &first, nullptr), 0);
    }
}

void lengthOfFile(World &world, const Arguments &arguments)
{
    Clip file = clip(arguments[0]);
    const Call call(world);
    const unsigned long nLength = PELLORA_GetFileTimeNoPriview(file.bNull ? nullptr : file.path.data());
    call.expect(nLength, file.bPlays == false ? std::optional<long long>(0) : std::nullopt);
}

/** A buffer of which nothing behind the size that is told may be written. */
class Buffer
{
public:
    explicit Buffer(std::size_t size) : m_nSize(size), m_bytes(size + kGuard, kMark) {}
    [[nodiscard]] unsigned char *get()
    {
        return m_bytes.data();
    }
    void lookBehind() const
    {
        const auto end = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_nSize);
        if (std::any_of(end, m_bytes.end(), [](unsigned char byte) { return byte != kMark; })) {
            fail(Outcome::WrongAnswer, "wrote behind the host's buffer");
        }
    }

private:
    static constexpr std::size_t kGuard = 64;
    static constexpr unsigned char kMark = 0xA5;

    std::size_t m_nSize;
    std::vector<unsigned char> m_bytes;
};

void capture(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nSize = static_cast<unsigned long>(arguments[1]);
    Buffer buffer(nSize);
    unsigned long nWritten = 0;
    const auto expected = needsSource(world, lHandle);
    const Call call(world);
    const int nAnswer = PELLORA_Capture(lHandle, arguments[2] == 1 ? nullptr : buffer.get(), nSize,
                                        arguments[2] == 2 ? nullptr : &nWritten);
    call.expect(nAnswer, expected);
    buffer.lookBehind();
    if (nAnswer != 0 && (arguments[2] == 1 || nWritten > nSize)) {
        fail(Outcome::WrongAnswer, "a capture of " + std::to_string(nWritten) + " bytes in " + std::to_string(nSize));
    }
}

void screenshot(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nSize = static_cast<unsigned long>(arguments[1]);
    Buffer buffer(nSize);
    std::array<unsigned long, 4> rect = {static_cast<unsigned long>(arguments[2]), 0, 1000,
                                         static_cast<unsigned long>(arguments[3])};
    tagPELLORA_CROP_PIC_INFO info{};
    info.pBuf = buffer.get();
    info.dwBufSize = nSize;
    info.pCropRect = arguments[4] == 1 ? nullptr : rect.data();
    const auto expected = arguments[4] != 0 ? world.onWindow(lHandle, 0) : needsSource(world, lHandle);
    const Call call(world);
    call.expect(PELLORA_Screenshot(lHandle, arguments[4] == 2 ? nullptr : &info), expected);
    buffer.lookBehind();
}

void setDisplayRegion(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    tagPELLORA_RECT region = {static_cast<long>(arguments[2]), 0, static_cast<long>(arguments[3]), 700};
    const auto expected = needsSource(world, lHandle, nPane);
    const Call call(world);
    call.expect(PELLORA_SetDisplayRegion(lHandle, arguments[4] != 0 ? &region : nullptr, nPane), expected);
}

void setVolume(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    PaneModel *const pPane = world.pane(lHandle);
    const bool bFile = pPane != nullptr && pPane->source == PaneModel::Source::File;
    const auto expected = bFile ? world.onWindow(lHandle, 1) : needsSource(world, lHandle);
    const auto wVolume = static_cast<unsigned short>(arguments[1]);
    const Call call(world);
    if (call.expect(PELLORA_SetVolume(lHandle, wVolume), expected) && bFile) {
        pPane->volume = wVolume;
    }
}

void getVolume(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const PaneModel *const pPane = world.pane(lHandle);
    const auto expected =
        pPane != nullptr && pPane->volume ? std::optional<long long>(*pPane->volume) : needsSource(world, lHandle);
    const Call call(world);
    call.expect(PELLORA_GetVolume(lHandle), expected);
}

} // namespace

std::vector<Operation> fileOperations()
{
    const auto seconds = [](Random &random) { return random.oneOf({0, 0, 1, 1, 2, 5, 30, 4294967, 4294967295}); };
    const auto size = [](Random &random) { return random.oneOf({0, 1, 100, 3000, 200000, 200000, 200000}); };
    const auto wrong = [](Random &random) { return random.oneOf({0, 0, 0, 0, 1, 2}); };
    const auto edge = [](Random &random) { return random.oneOf({0, 0, 250, 500, 1000, 1500, -100, 4294967295}); };
    const auto other = [](Random &random) { return random.oneOf({1000, 1000, 750, 500, 1, 0, 2000}); };
    const auto volume = [](Random &random) { return random.below(65536); };
    return {
        {"PreviewFile", 55, &previewFile, {&draw::handle, &draw::below<kClips>, &draw::flag, &draw::flag}},
        {"StopPreviewFile", 12, &stopPreviewFile, {&draw::handle}},
        {"SetFileEndCallback", 12, &setFileEndCallback, {&draw::handle, &draw::flag}},
        {"Command", 60, &command, {&draw::handle, &draw::below<9>}},
        {"Ask", 20, &ask, {&draw::handle, &draw::below<4>}},
        {"SetPlayPos", 20, &setPlayPos, {&draw::handle, seconds}},
        {"AskTimes", 10, &askTimes, {&draw::handle, &draw::below<4>}},
        {"LengthOfFile", 6, &lengthOfFile, {&draw::below<kClips>}},
        {"Capture", 20, &capture, {&draw::handle, size, wrong}},
        {"Screenshot", 12, &screenshot, {&draw::handle, size, edge, other, wrong}},
        {"SetDisplayRegion", 15, &setDisplayRegion, {&draw::handle, &draw::pane, edge, other, &draw::flag}},
        {"SetVolume", 10, &setVolume, {&draw::handle, volume}},
        {"GetVolume", 10, &getVolume, {&draw::handle}},
    };
}

} // namespace soak
