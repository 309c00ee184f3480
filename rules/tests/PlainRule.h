#ifndef RULES_TESTS_PLAINRULE_H
#define RULES_TESTS_PLAINRULE_H

#include <cstdint>
#include <utility>
#include <vector>

namespace pellora
{

/**
 * A second implementation of all rules, to compare them with. It shares no line with them, and is as plain as can be.
 *
 * x[i], y[i] are the point, the two ends, (left, top) and (right, bottom), or the vertices.
 */
struct PlainRule {
    int family = 1; // 1 point, 2 line, 3 rectangle, 4 polygon, 5 text
    std::vector<std::int32_t> x;
    std::vector<std::int32_t> y;
    std::int32_t paneWidth = 0;
    std::int32_t paneHeight = 0;
    std::int32_t pictureLeft = 0;
    std::int32_t pictureTop = 0;
    std::int32_t pictureRight = 0;
    std::int32_t pictureBottom = 0;
    unsigned int mask = 0;
    int maxPoints = 4;
    bool early = false;
    int anchorMode = 0;
    int dockMode = 0;
    int grabMode = 0;
    int grabIndex = -1;
    std::int32_t anchorX = 0;
    std::int32_t anchorY = 0;
    std::int32_t lastX = 0;
    std::int32_t lastY = 0;

    [[nodiscard]] bool empty() const;
    [[nodiscard]] bool hit(std::int32_t px, std::int32_t py) const;
    bool add(std::int32_t px, std::int32_t py, int action);
    void edit(std::int32_t px, std::int32_t py, int action);
    void scale(float fx, float fy);
    void translate(std::int32_t dx, std::int32_t dy);
    /** One point of the host's, in pixels, as the masks leave it. */
    [[nodiscard]] std::pair<std::int32_t, std::int32_t> clamp(std::int32_t px, std::int32_t py) const;

private:
    [[nodiscard]] bool allZero() const;
    [[nodiscard]] bool near(std::int32_t px, std::int32_t py, std::size_t i) const;
    [[nodiscard]] bool breaks(std::int32_t px, std::int32_t py) const;
    [[nodiscard]] bool inPolygon(std::int32_t px, std::int32_t py) const;
    [[nodiscard]] bool onLine(std::int32_t px, std::int32_t py) const;
    void grab(std::int32_t px, std::int32_t py);
    void drag(std::int32_t px, std::int32_t py);
    void box(std::int32_t px, std::int32_t py);
};

/** Pixels of a picture to thousandths and back; origin 1 or 2. */
std::pair<std::int32_t, std::int32_t> plainToNormalised(const PlainRule &rule, int origin, std::int32_t px,
                                                        std::int32_t py);
std::pair<std::int32_t, std::int32_t> plainToPixels(const PlainRule &rule, int origin, std::int32_t nx,
                                                    std::int32_t ny);

} // namespace pellora

#endif
