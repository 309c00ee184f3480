// Every function of the wrapper, for compilers that only look at it: tools/tests/headers_test.py.
#include "Pellora.hpp"

bool useSession(HWND hHost)
{
    std::string reason;
    const auto functions = pellora::loadedFunctions(L"Pellora.dll", &reason);
    auto session = functions ? pellora::Session::start(*functions) : pellora::Session::start();
    auto window = session ? session->createWindow(hHost, PELLORA_EMBED_D3D_WINDOW) : std::nullopt;
    auto login = session ? session->logIn("rtsp://192.0.2.7") : std::nullopt;
    if (!window || !login) {
        return false;
    }
    session->onCameraState([](const pellora::CameraState &state) { (void)state.reason.size(); });
    window->onStatus([](const pellora::PaneStatus &) {});
    window->onFileEnd([](int) {});
    window->onRule([](const pellora::RuleEvent &) {});
    pellora::Window moved = std::move(*window);
    pellora::Session movedSession = std::move(*session);
    moved = std::move(*movedSession.createWindow(hHost));
    return moved.cut({{{0, 0, 1, 1}, 3}}) && moved.previewAll({{login->id()}}) == 1 && moved.stopAllPreviews() &&
           moved.show() && moved.place(0, 0, 1, 1) && moved.split(4) && moved.fullScreen(true) &&
           moved.showAnalysis(true) && movedSession.fileLength(pellora::utf8(L"a.mp4")) > 0;
}

bool usePane(const pellora::Window &window)
{
    const pellora::Pane pane = window.pane(1);
    return pane.playFile("a.mp4", true, true) && pane.stopFile() && pane.play() && pane.pause() && pane.resume() &&
           pane.faster() && pane.slower() && pane.stepOn() && pane.stepBack() && pane.seek(1) && pane.position() > 0 &&
           pane.length() > 0 && pane.recordingTime() && pane.pictureSize() && pane.capture() &&
           pane.capturePart({0, 0, 1000, 1000}) && pane.showPart({}) && pane.showWhole() && pane.openSound() &&
           pane.closeSound() && pane.setVolume(1) && pane.volume() > 0 && pane.preview({}) && pane.stopPreview() &&
           pane.openOverlay() && pane.closeOverlay() && pane.setOrigin(PELLORA_ORIGIN_TOP_LEFT) && pane.clearRules();
}

template <PELLORA_RULE_TYPE type>
bool useRule(const pellora::Pane &pane)
{
    const auto rule = pane.addRule<type>({RGB(1, 2, 3), "text"});
    return rule && rule->set({}) && rule->get() && rule->number() >= 0 && rule->remove();
}

bool useRules(const pellora::Pane &pane)
{
    const auto arrows = pane.addRule<PELLORA_RULE_LINE_WITH_ARROWS>();
    return useRule<PELLORA_RULE_POINT>(pane) && useRule<PELLORA_RULE_LINE>(pane) && useRule<PELLORA_RULE_RECT>(pane) &&
           useRule<PELLORA_RULE_POLYGON>(pane) && useRule<PELLORA_RULE_TEXT>(pane) &&
           useRule<PELLORA_RULE_RECT_WITH_TEXT>(pane) && useRule<PELLORA_RULE_POLYGON_WITH_TEXT>(pane) &&
           useRule<PELLORA_RULE_LINE_WITH_TEXT>(pane) && useRule<PELLORA_RULE_CROSS_WITH_TEXT>(pane) && arrows &&
           arrows->setArrows(PELLORA_ARROW_A);
}
