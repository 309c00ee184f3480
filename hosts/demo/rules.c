#include "hosts/demo/rules.h"

#include <stdio.h>
#include <string.h>

typedef struct {
    const wchar_t *howToDraw;
    COLORREF color;
} Look;

static const Look looks[] = {
    [PELLORA_RULE_POINT] = {L"Point: click", RGB(255, 64, 64)},
    [PELLORA_RULE_LINE] = {L"Line: click twice", RGB(255, 160, 0)},
    [PELLORA_RULE_RECT] = {L"Rectangle: drag", RGB(255, 255, 0)},
    [PELLORA_RULE_POLYGON] = {L"Polygon: click four times, or more until the right button", RGB(128, 255, 0)},
    [PELLORA_RULE_TEXT] = {L"Text: drag it", RGB(255, 255, 255)},
    [PELLORA_RULE_LINE_WITH_ARROWS] = {L"Line with arrows: drag it or its ends", RGB(0, 255, 160)},
    [PELLORA_RULE_RECT_WITH_TEXT] = {L"Rectangle with a text: drag", RGB(0, 224, 255)},
    [PELLORA_RULE_POLYGON_WITH_TEXT] = {L"Polygon with a text: click four times, or more until the right button",
                                        RGB(64, 128, 255)},
    [PELLORA_RULE_LINE_WITH_TEXT] = {L"Line with a text: click twice", RGB(192, 96, 255)},
    [PELLORA_RULE_CROSS_WITH_TEXT] = {L"Cross with a text: click", RGB(255, 96, 192)},
};
_Static_assert(sizeof looks / sizeof looks[0] == PELLORA_MAX_RULE_TYPE + 1, "each type has a look");

/* The polygons' extension: three bytes, and at once behind them the caption. */
#pragma pack(push, 1)
typedef struct {
    unsigned short wPointNum;
    unsigned char byFinishEarly;
    char caption[16];
} PolygonExtension;
#pragma pack(pop)

static long create(const Library *library, long window, long pane, unsigned short type)
{
    PolygonExtension polygon = {6, 1, "polygon"};
    char caption[16] = "";
    void *extension = NULL; /* ignored by the other types */
    switch (type) {
    case PELLORA_RULE_POLYGON:
    case PELLORA_RULE_POLYGON_WITH_TEXT:
        extension = &polygon;
        break;
    case PELLORA_RULE_RECT_WITH_TEXT:
        extension = strcpy(caption, "rectangle");
        break;
    case PELLORA_RULE_LINE_WITH_TEXT:
        extension = strcpy(caption, "line");
        break;
    case PELLORA_RULE_CROSS_WITH_TEXT:
        extension = strcpy(caption, "cross");
        break;
    }
    const COLORREF color = looks[type].color;
    return library->video.PELLORA_CreateRule(window, type, GetRValue(color), GetGValue(color), GetBValue(color),
                                             extension, PELLORA_LIMIT_NONE, pane);
}

/** The words of a text and its place come from the host, never from the mouse. */
static void set_text(const Library *library, long window, long pane, long rule, const char *text,
                     tagPELLORA_POINT point)
{
    tagPELLORA_RULE_TEXT record = {.wAnchor = PELLORA_ANCHOR_TOP_LEFT, .struPoint = point};
    strncpy(record.szText, text, sizeof record.szText - 1);
    library->video.PELLORA_SetRuleCoord(window, rule, &record, pane);
}

void rules_put(const Library *library, long window, long pane)
{
    /* Thousandths of the picture, whatever its size. */
    tagPELLORA_RULE_POINT point = {{100, 180}};
    tagPELLORA_RULE_LINE line = {{200, 100}, {340, 260}};
    tagPELLORA_RULE_RECT rect = {{430, 100}, {570, 260}};
    tagPELLORA_RULE_POLYGON polygon = {{{650, 180}, {700, 90}, {790, 120}, {780, 240}, {690, 270}}, 5};
    tagPELLORA_RULE_LINE arrow = {{60, 450}, {160, 750}};
    tagPELLORA_RULE_RECT rectText = {{280, 450}, {440, 700}};
    tagPELLORA_RULE_POLYGON polygonText = {{{520, 560}, {600, 430}, {700, 520}, {640, 720}}, 4};
    tagPELLORA_RULE_LINE lineText = {{760, 720}, {920, 480}};
    tagPELLORA_RULE_POINT cross = {{500, 860}};
    const struct {
        unsigned short type;
        void *record;
    } rules[] = {
        {PELLORA_RULE_POINT, &point},
        {PELLORA_RULE_LINE, &line},
        {PELLORA_RULE_RECT, &rect},
        {PELLORA_RULE_POLYGON, &polygon},
        {PELLORA_RULE_LINE_WITH_ARROWS, &arrow},
        {PELLORA_RULE_RECT_WITH_TEXT, &rectText},
        {PELLORA_RULE_POLYGON_WITH_TEXT, &polygonText},
        {PELLORA_RULE_LINE_WITH_TEXT, &lineText},
        {PELLORA_RULE_CROSS_WITH_TEXT, &cross},
    };
    for (size_t i = 0; i < sizeof rules / sizeof rules[0]; ++i)
        library->video.PELLORA_SetRuleCoord(window, create(library, window, pane, rules[i].type), rules[i].record,
                                            pane);
    set_text(library, window, pane, create(library, window, pane, PELLORA_RULE_TEXT), "text",
             (tagPELLORA_POINT){860, 160});
}

static void print_point(const tagPELLORA_POINT *point)
{
    printf(" %ld,%ld", point->x, point->y);
}

static void print_polygon(const tagPELLORA_RULE_POLYGON *polygon)
{
    for (int i = 0; i < polygon->wPointNum; ++i)
        print_point(&polygon->struPoints[i]);
}

static void print_text(const tagPELLORA_RULE_TEXT *text)
{
    printf(" \"%s\"", text->szText);
    print_point(&text->struPoint);
}

/** The library's report; the record is only lent. */
static void on_coordinates(long rule, unsigned short type, void *record, unsigned char state, long window, long pane,
                           unsigned long size)
{
    printf("rule %ld type %u state %u window %ld pane %ld size %lu:", rule, type, state, window, pane, size);
    switch (type) {
    case PELLORA_RULE_POINT:
    case PELLORA_RULE_CROSS_WITH_TEXT:
        print_point(&((const tagPELLORA_RULE_POINT *)record)->struPoint);
        break;
    case PELLORA_RULE_POLYGON:
    case PELLORA_RULE_POLYGON_WITH_TEXT:
        print_polygon(record);
        break;
    case PELLORA_RULE_TEXT:
        print_text(record);
        break;
    default: { /* lines and rectangles: two points each */
        const tagPELLORA_RULE_LINE *line = record;
        print_point(&line->struStart);
        print_point(&line->struEnd);
        break;
    }
    }
    putchar('\n');
    fflush(stdout);
}

void rules_listen(const Library *library, long window)
{
    library->video.PELLORA_SetRuleCoordCallback(window, on_coordinates, PELLORA_ALL_PANES);
}

bool rules_draw_new(const Library *library, long window, WPARAM key, wchar_t *message, size_t size)
{
    if (key < '0' || key > '9')
        return false;
    const unsigned short type = key == '0' ? PELLORA_RULE_CROSS_WITH_TEXT : (unsigned short)(key - '0');
    const long rule = create(library, window, PELLORA_CURRENT_PANE, type);
    if (type == PELLORA_RULE_TEXT)
        set_text(library, window, PELLORA_CURRENT_PANE, rule, "new text", (tagPELLORA_POINT){450, 350});
    swprintf(message, size, L"%ls",
             rule != PELLORA_NO_RULE ? looks[type].howToDraw : L"The pane has all the rules it can have");
    return true;
}
