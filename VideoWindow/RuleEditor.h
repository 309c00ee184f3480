#ifndef VIDEOWINDOW_RULEEDITOR_H
#define VIDEOWINDOW_RULEEDITOR_H

#include "VideoWindow/RuleMgr.h"

namespace pellora
{

/** One mouse event on the picture. */
struct RuleMouseEvent {
    enum class Kind { Press, Release, Move };
    /** The button that was pressed or released; None for a move, and for the other buttons. */
    enum class Button { None, Left, Right };

    Kind kind = Kind::Move;
    Button button = Button::None;
    PixelPoint point;
};

/**
 * Turns the mouse's events on one pane into new and edited rules, and reports these to the host.
 *
 * Threads: the GUI thread.
 * Owns:    nothing; the rules are the manager's. The host may do anything to them while it is told.
 */
class RuleEditor
{
public:
    explicit RuleEditor(RuleMgr &ruleMgr);

    /** The host has created this rule: when it has no geometry yet, the next event starts drawing it. */
    void setCreated(long lRuleID, RuleType type);
    void handle(const RuleMouseEvent &event);

private:
    enum class State { Idle = 0, Drawing = 1, DrawingMoving = 2, Selected = 3, Editing = 4 };

    void selectAt(PixelPoint point);
    void draw(const RuleMouseEvent &event);
    void drawPoint(const RuleMouseEvent &event);
    void drawLine(const RuleMouseEvent &event);
    void drawRect(const RuleMouseEvent &event);
    void drawPolygon(const RuleMouseEvent &event);
    void edit(const RuleMouseEvent &event);
    void add(PixelPoint point, RuleAction action);
    void finish();
    void reset();
    void report(State state);

    RuleMgr &m_ruleMgr;
    long m_lCurRule = -1;
    RuleFamily m_family = RuleFamily::None;
    State m_state = State::Idle;
    /** Counts the events that drew, to notice one inside a report. */
    unsigned int m_nEvents = 0;
};

} // namespace pellora

#endif
