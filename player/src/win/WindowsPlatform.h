#ifndef PLAYER_WINDOWSPLATFORM_H
#define PLAYER_WINDOWSPLATFORM_H

#include "player/src/core/Platform.h"

namespace player
{

/** Windows' files and windows. Threads: any. */
class WindowsPlatform : public Platform
{
public:
    std::unique_ptr<ByteSource> openFile(const char *path) override;
    [[nodiscard]] bool isWindow(WindowHandle window) override;
    std::unique_ptr<Presenter> makePresenter(WindowHandle window) override;
};

} // namespace player

#endif
