#include "Selvikdcm.h"
#include "interface/Pellora.h"
#include "tests/soak/Failure.h"
#include "tests/soak/Generators.h"
#include "tests/soak/Media.h"
#include "tests/soak/OperationLists.h"
#include "tests/soak/World.h"

#include <algorithm>
#include <string>

namespace soak
{

namespace
{

void login(World &world, const Arguments &arguments)
{
    long &lUserID = world.m_logins.at(static_cast<std::size_t>(arguments[0]));
    SELVIK_DCM_Logout(lUserID);
    lUserID = SELVIK_DCM_Login(camera(arguments[1]).c_str(), arguments[2] != 0 ? "user" : "", "");
}

void logout(World &world, const Arguments &arguments)
{
    // The number stays: previews are asked for with it.
    SELVIK_DCM_Logout(world.m_logins.at(static_cast<std::size_t>(arguments[0])));
}

long userOf(const World &world, long long nLogin)
{
    const auto index = static_cast<std::size_t>(nLogin);
    return index < world.m_logins.size() ? world.m_logins.at(index) : nLogin == 4 ? -1 : 12345;
}

void previewStream(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    tagPELLORA_PREVIEW_PARAM param{};
    param.userID = userOf(world, arguments[1]);
    param.lChannel = static_cast<unsigned long>(arguments[2]);
    param.streamType = static_cast<long>(arguments[3]);
    param.openDraw = static_cast<unsigned char>(arguments[4]);
    const bool bGood = param.userID >= 0 && param.lChannel != 0 && param.streamType <= 2 && param.openDraw <= 1;
    // A start that is under way refuses the next one.
    const auto expected = bGood ? world.onWindow(lHandle, std::nullopt) : 0;
    const Call call(world);
    call.expect(PELLORA_PreviewStream(lHandle, param), expected);
    if (bGood) {
        world.forgetPane(lHandle, -1, true);
    }
}

void batchPreview(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto wNum = static_cast<unsigned short>(arguments[1]);
    std::string address = camera(arguments[4]);
    address.append(arguments[5] == 2 ? 300 : 0, 'x');
    tagPELLORA_BATCH_PREVIEW_PARAM batch{};
    batch.wNum = wNum;
    for (tagPELLORA_PREVIEW_PARAM &param : batch.struPreviewParam) {
        param.userID = userOf(world, arguments[2]);
        param.lChannel = 1;
        param.openDraw = 1;
        param.url = arguments[5] == 0 ? nullptr : address.data();
    }
    tagPELLORA_BATCH_PREVIEW_PARAM answer{};
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    const int nAnswer = arguments[3] != 0 ? PELLORA_BatchPreviewStream_Async(lHandle, batch, &answer)
                                          : PELLORA_BatchPreviewStream(lHandle, batch, &answer);
    call.expect(nAnswer, expected);
    if (nAnswer != 0) {
        call.expect(answer.wNum, std::min<long long>(wNum, kPanes), "what was handed over");
    }
    for (long i = 0; World::isHandle(lHandle) && i < kPanes; ++i) {
        world.forgetPane(lHandle, i, true);
    }
}

void stopPreviews(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    int nAnswer = 0;
    switch (arguments[1]) {
    case 0:
        nAnswer = PELLORA_StopPreviewStream(lHandle);
        break;
    case 1:
        nAnswer = PELLORA_StopAllPreviewStream(lHandle);
        break;
    default:
        nAnswer = PELLORA_StopAllPreviewStream_Async(lHandle);
    }
    if (!call.expect(nAnswer, expected) || !World::isHandle(lHandle)) {
        return;
    }
    const bool bAll = arguments[1] != 0;
    if (!bAll && world.pane(lHandle) == nullptr) {
        world.forgetPane(lHandle);
    }
    for (long i = 0; i < kPanes; ++i) {
        PaneModel &pane = world.window(lHandle).panes.at(static_cast<std::size_t>(i));
        if (bAll || world.window(lHandle).current == i) {
            pane.clear();
        }
    }
}

void onStatus(tagPELLORA_PREVIEW_STATUS status)
{
    if (status.lHandle != status.lSubHandel || status.lSubHandel < 0 || status.lSubHandel >= kPanes ||
        status.byPlaying > 1) {
        fail(Outcome::WrongAnswer,
             "a status of panes " + std::to_string(status.lHandle) + " and " + std::to_string(status.lSubHandel));
    }
    world().called(Inside::Status);
}

void setStatusCallback(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    call.expect(PELLORA_SetPreviewStatusCallback(lHandle, arguments[1] != 0 ? &onStatus : nullptr), expected);
}

void setIntelData(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    call.expect(PELLORA_SetIntelData(lHandle, static_cast<unsigned short>(arguments[1])), expected);
}

} // namespace

std::vector<Operation> previewOperations()
{
    const auto count = [](Random &random) { return random.oneOf({1, 2, 4, 9, 0, 12}); };
    const auto channel = [](Random &random) { return random.oneOf({1, 1, 1, 2, 0, 4294967295}); };
    const auto stream = [](Random &random) { return random.oneOf({0, 0, 0, 1, 2, 3}); };
    const auto open = [](Random &random) { return random.oneOf({0, 1, 1, 2}); };
    const auto slot = [](Random &random) { return random.below(kLogins); };
    return {
        {"Login", 20, &login, {slot, &draw::below<kCameras>, &draw::flag}},
        {"Logout", 4, &logout, {slot}},
        {"PreviewStream", 35, &previewStream, {&draw::handle, &draw::login, channel, stream, open}},
        {"BatchPreview",
         7,
         &batchPreview,
         {&draw::handle, count, &draw::login, &draw::flag, &draw::below<kCameras>, &draw::below<3>}},
        {"StopPreviews", 20, &stopPreviews, {&draw::handle, &draw::below<3>}},
        {"SetStatusCallback", 12, &setStatusCallback, {&draw::handle, &draw::flag}},
        {"SetIntelData", 5, &setIntelData, {&draw::handle, &draw::flag}},
    };
}

} // namespace soak
