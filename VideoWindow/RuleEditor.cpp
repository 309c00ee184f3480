#include "VideoWindow/RuleEditor.h"

namespace pellora
{

namespace
{

bool isPress(const RuleMouseEvent &event, RuleMouseEvent::Button button)
{
    return event.kind == RuleMouseEvent::Kind::Press && event.button == button;
}

bool isLeftPress(const RuleMouseEvent &event)
{
    return isPress(event, RuleMouseEvent::Button::Left);
}

bool isLeftRelease(const RuleMouseEvent &event)
{
    return event.kind == RuleMouseEvent::Kind::Release && event.button == RuleMouseEvent::Button::Left;
}

bool isMove(const RuleMouseEvent &event)
{
    return event.kind == RuleMouseEvent::Kind::Move;
}

} // namespace

RuleEditor::RuleEditor(RuleMgr &ruleMgr) : m_ruleMgr(ruleMgr) {}

void RuleEditor::setCreated(long lRuleID, RuleType type)
{
    m_lCurRule = lRuleID;
    m_family = familyOf(type);
    m_state = State::Idle;
}

void RuleEditor::handle(const RuleMouseEvent &event)
{
    if (m_state == State::Idle && m_ruleMgr.isRuleEmpty(m_lCurRule)) {
        m_state = State::Drawing;
        m_family = familyOf(m_ruleMgr.getRule(m_lCurRule)->getType());
    } else if (m_state != State::Drawing && m_state != State::DrawingMoving && isLeftPress(event)) {
        selectAt(event.point);
    }
    if (m_state == State::Drawing || m_state == State::DrawingMoving) {
        const unsigned int nEvent = ++m_nEvents;
        draw(event);
        // A drawing that began while the host was told of the last one has been reported by its own event.
        if (m_nEvents == nEvent) {
            report(State::DrawingMoving);
        }
    } else if (m_state == State::Selected || m_state == State::Editing) {
        edit(event);
        report(State::Editing);
    }
}

void RuleEditor::selectAt(PixelPoint point)
{
    const AbstractRule *pRule = m_ruleMgr.selectAt(point);
    m_lCurRule = m_ruleMgr.indexOf(pRule);
    m_state = pRule != nullptr ? State::Selected : State::Idle;
    m_family = pRule != nullptr ? familyOf(pRule->getType()) : RuleFamily::None;
}

void RuleEditor::draw(const RuleMouseEvent &event)
{
    switch (m_family) {
    case RuleFamily::Point:
        drawPoint(event);
        break;
    case RuleFamily::Line:
        drawLine(event);
        break;
    case RuleFamily::Rect:
        drawRect(event);
        break;
    case RuleFamily::Polygon:
        drawPolygon(event);
        break;
    case RuleFamily::Text:
        // Its text and place come from the host; there is nothing to draw by mouse.
        finish();
        break;
    case RuleFamily::None:
        break;
    }
}

void RuleEditor::drawPoint(const RuleMouseEvent &event)
{
    if (isLeftPress(event)) {
        m_ruleMgr.addPoint(m_lCurRule, event.point, RuleAction::LeftPress);
        finish();
    }
}

void RuleEditor::drawLine(const RuleMouseEvent &event)
{
    if (isLeftPress(event)) {
        add(event.point, RuleAction::LeftPress);
    } else if (isMove(event) && m_state == State::DrawingMoving) {
        m_ruleMgr.addPoint(m_lCurRule, event.point, RuleAction::Move);
    }
}

void RuleEditor::drawRect(const RuleMouseEvent &event)
{
    if (isLeftPress(event) && m_state == State::Drawing) {
        m_ruleMgr.addPoint(m_lCurRule, event.point, RuleAction::LeftPress);
        m_state = State::DrawingMoving;
    } else if (isMove(event) && m_state == State::DrawingMoving) {
        m_ruleMgr.addPoint(m_lCurRule, event.point, RuleAction::Move);
    } else if (isLeftRelease(event) && m_state == State::DrawingMoving) {
        m_ruleMgr.addPoint(m_lCurRule, event.point, RuleAction::LeftPress);
        finish();
    }
}

void RuleEditor::drawPolygon(const RuleMouseEvent &event)
{
    if (isLeftPress(event)) {
        add(event.point, RuleAction::LeftPress);
    } else if (isPress(event, RuleMouseEvent::Button::Right)) {
        add(event.point, RuleAction::RightPress);
    } else if (isMove(event) && m_state == State::DrawingMoving) {
        m_ruleMgr.addPoint(m_lCurRule, event.point, RuleAction::Move);
    }
}

void RuleEditor::edit(const RuleMouseEvent &event)
{
    if (isLeftPress(event)) {
        m_ruleMgr.editPoint(m_lCurRule, event.point, RuleAction::Grab);
        m_state = State::Editing;
    } else if (isMove(event) && (m_state == State::Editing || m_family == RuleFamily::Line)) {
        // docs/compatibility.md: line-moves-at-once.
        m_ruleMgr.editPoint(m_lCurRule, event.point, RuleAction::Move);
    } else if (isLeftRelease(event)) {
        // A rectangle's corners may have passed each other; its release puts them in order.
        // docs/compatibility.md: edit-end-untold.
        const RuleAction action = m_family == RuleFamily::Rect ? RuleAction::Release : RuleAction::Move;
        m_ruleMgr.editPoint(m_lCurRule, event.point, action);
        reset();
    }
}

void RuleEditor::add(PixelPoint point, RuleAction action)
{
    if (m_ruleMgr.addPoint(m_lCurRule, point, action)) {
        m_state = State::DrawingMoving;
    } else {
        finish();
    }
}

void RuleEditor::finish()
{
    const long lRuleID = m_lCurRule;
    // Before the host is told: it may create the next rule, or run a message loop in which the mouse takes another one.
    reset();
    m_ruleMgr.notifyRuleCoord(lRuleID, static_cast<unsigned char>(State::Idle));
}

void RuleEditor::reset()
{
    m_state = State::Idle;
    m_family = RuleFamily::None;
    m_lCurRule = -1;
}

void RuleEditor::report(State state)
{
    if (m_state == state) {
        m_ruleMgr.notifyRuleCoord(m_lCurRule, static_cast<unsigned char>(state));
    }
}

} // namespace pellora
