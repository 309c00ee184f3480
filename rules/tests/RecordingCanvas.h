#ifndef RULES_TESTS_RECORDINGCANVAS_H
#define RULES_TESTS_RECORDINGCANVAS_H

#include "rules/RuleCanvas.h"
#include "rules/tests/RuleTestSupport.h"

#include <sstream>
#include <string>
#include <vector>

namespace pellora
{

/** Notes what is drawn. A text is 7 pixels wide a unit and 11 high; an empty one is nothing. */
class RecordingCanvas : public RuleCanvas
{
public:
    void setPen(RulePen pen) override
    {
        note("pen ", pen.width, ' ', pen.color);
    }
    void moveTo(PixelPoint point) override
    {
        note("move ", point);
    }
    void lineTo(PixelPoint point) override
    {
        note("line ", point);
    }
    void frame(const PixelRect &rect) override
    {
        note("frame ", rect);
    }
    void disc(PixelPoint centre, std::int32_t nRadius, RuleColor fill) override
    {
        note("disc ", centre, ' ', nRadius, ' ', fill);
    }
    [[nodiscard]] PixelSize measureText(const char16_t *pText) override
    {
        const auto nUnits = static_cast<std::int32_t>(std::u16string(pText).size());
        return {nUnits * 7, nUnits == 0 ? 0 : 11};
    }
    void drawText(const char16_t *pText, const PixelRect &box, RuleColor color) override
    {
        note("text ", std::u16string(pText).size(), ' ', box, ' ', color);
    }

    [[nodiscard]] const std::vector<std::string> &notes() const
    {
        return m_notes;
    }

private:
    template <typename... Parts>
    void note(const Parts &...parts)
    {
        std::ostringstream stream;
        (stream << ... << parts);
        m_notes.push_back(stream.str());
    }

    std::vector<std::string> m_notes;
};

} // namespace pellora

#endif
