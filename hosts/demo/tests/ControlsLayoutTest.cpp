// Where the demo host's controls lie, and what their sliders stand for.
extern "C" {
#include "hosts/demo/controls_layout.h"
}

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace
{

using Places = std::array<RECT, CONTROL_COUNT>;

constexpr int kTop = 300;
constexpr int kHeight = 32;

Places layout_of(int width)
{
    Places places{};
    controls_layout({0, kTop, width, kTop + kHeight}, places.data());
    return places;
}

int width_of(const RECT &rect)
{
    return static_cast<int>(rect.right - rect.left);
}

std::vector<Control> gone_at(int width)
{
    const Places places = layout_of(width);
    std::vector<Control> gone;
    for (int control = 0; control < CONTROL_COUNT; ++control) {
        if (width_of(places.at(control)) == 0) {
            gone.push_back(static_cast<Control>(control));
        }
    }
    return gone;
}

TEST(ControlsLayout, KeepsControlsApartInsideTheStripInTheirOrderAtEveryWidth)
{
    for (int width = 0; width <= 1400; ++width) {
        LONG end = 0;
        for (const RECT &place : layout_of(width)) {
            if (width_of(place) == 0) {
                continue;
            }
            EXPECT_GT(width_of(place), 0) << width;
            EXPECT_GE(place.left, end) << width;
            EXPECT_LE(place.right, width) << width;
            EXPECT_EQ(place.top, kTop) << width;
            EXPECT_EQ(place.bottom, kTop + kHeight) << width;
            end = place.right;
        }
    }
}

TEST(ControlsLayout, GivesThePositionBarWhatTheOthersLeave)
{
    EXPECT_TRUE(gone_at(1280).empty());
    const int bar = width_of(layout_of(1280)[CONTROL_BAR]);
    EXPECT_GT(bar, 900);
    EXPECT_EQ(width_of(layout_of(1380)[CONTROL_BAR]), bar + 100);
}

TEST(ControlsLayout, LeavesOutWhatCanBeDoneWithoutFirst)
{
    using List = std::vector<Control>;
    std::vector<List> steps;
    for (int width = 1400; width >= 100; --width) {
        if (steps.empty() || steps.back() != gone_at(width)) {
            steps.push_back(gone_at(width));
        }
    }
    EXPECT_EQ(steps, (std::vector<List>{
                         {},
                         {CONTROL_TIME},
                         {CONTROL_TIME, CONTROL_VOLUME},
                         {CONTROL_BACK, CONTROL_ON, CONTROL_TIME, CONTROL_VOLUME},
                         {CONTROL_BACK, CONTROL_ON, CONTROL_TIME, CONTROL_MUTE, CONTROL_VOLUME},
                         {CONTROL_PLAY, CONTROL_BACK, CONTROL_ON, CONTROL_TIME, CONTROL_MUTE, CONTROL_VOLUME}}));
    for (int width = 100; width <= 1400; ++width) {
        EXPECT_GE(width_of(layout_of(width)[CONTROL_BAR]), 80) << width;
    }
}

TEST(ControlsLayout, FindsTheControlAtAPoint)
{
    const Places places = layout_of(800);
    for (int control = 0; control < CONTROL_COUNT; ++control) {
        const RECT &place = places.at(control);
        EXPECT_EQ(controls_at(places.data(), {place.left, kTop}), control);
        EXPECT_EQ(controls_at(places.data(), {place.right - 1, kTop + kHeight - 1}), control);
        EXPECT_EQ(controls_at(places.data(), {place.right, kTop}), CONTROL_NONE);
        EXPECT_EQ(controls_at(places.data(), {place.left, kTop - 1}), CONTROL_NONE);
    }
    const Places small = layout_of(100);
    EXPECT_EQ(controls_at(small.data(), {small[CONTROL_MUTE].left, kTop}), CONTROL_NONE);
}

TEST(ControlsSlider, StandsForEveryValueFromEndToEnd)
{
    const RECT slider{50, 0, 151, 32};
    EXPECT_EQ(controls_value_at(&slider, 50, 60), 0U);
    EXPECT_EQ(controls_value_at(&slider, 150, 60), 60U);
    EXPECT_EQ(controls_value_at(&slider, 100, 60), 30U);
    for (unsigned long value = 0; value <= 60; ++value) {
        EXPECT_EQ(controls_value_at(&slider, controls_column_of(&slider, value, 60), 60), value);
    }
    // A day of seconds.
    EXPECT_EQ(controls_value_at(&slider, 75, 86400), 21600U);
    EXPECT_EQ(controls_column_of(&slider, 21600, 86400), 75);
}

TEST(ControlsSlider, StandsForTheNearestValueBesideIt)
{
    const RECT slider{50, 0, 151, 32};
    EXPECT_EQ(controls_value_at(&slider, -3000, 60), 0U);
    EXPECT_EQ(controls_value_at(&slider, 5000, 60), 60U);
    EXPECT_EQ(controls_column_of(&slider, 99, 60), 150);
}

TEST(ControlsSlider, WithoutRoomOrValuesStandsForNought)
{
    const RECT none{50, 0, 50, 32};
    EXPECT_EQ(controls_value_at(&none, 50, 60), 0U);
    EXPECT_EQ(controls_column_of(&none, 30, 60), 50);
    const RECT slider{50, 0, 151, 32};
    EXPECT_EQ(controls_value_at(&slider, 100, 0), 0U);
    EXPECT_EQ(controls_column_of(&slider, 5, 0), 50);
}

} // namespace
