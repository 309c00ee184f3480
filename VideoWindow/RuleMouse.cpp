#include "VideoWindow/RuleMouse.h"

#include <QMouseEvent>

namespace pellora
{

std::optional<RuleMouseEvent> ruleMouseEvent(const QEvent &event)
{
    RuleMouseEvent result;
    switch (event.type()) {
    case QEvent::MouseButtonPress:
        result.kind = RuleMouseEvent::Kind::Press;
        break;
    case QEvent::MouseButtonRelease:
        result.kind = RuleMouseEvent::Kind::Release;
        break;
    case QEvent::MouseMove:
        result.kind = RuleMouseEvent::Kind::Move;
        break;
    default:
        return std::nullopt;
    }
    const auto &mouseEvent = static_cast<const QMouseEvent &>(event);
    if (mouseEvent.button() == Qt::LeftButton) {
        result.button = RuleMouseEvent::Button::Left;
    } else if (mouseEvent.button() == Qt::RightButton) {
        result.button = RuleMouseEvent::Button::Right;
    }
    result.point = {mouseEvent.x(), mouseEvent.y()};
    return result;
}

} // namespace pellora
