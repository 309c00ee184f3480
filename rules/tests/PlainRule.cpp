#include "rules/tests/PlainRule.h"

#include <cmath>
#include <cstdlib>

namespace pellora
{

namespace
{

std::int32_t plus(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t minus(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

std::int32_t toInt(double value)
{
    const double whole = std::trunc(value);
    if (whole >= -2147483648.0 && whole <= 2147483647.0) {
        return static_cast<std::int32_t>(whole);
    }
    return -2147483647 - 1;
}

std::int32_t times(std::int32_t a, float factor)
{
    const float product = static_cast<float>(a) * factor;
    return toInt(static_cast<double>(product));
}

/** A picture's two edges: at least one pixel apart, as they were when the factor is 0 or no int32 holds them. */
void stretch(std::int32_t &low, std::int32_t &high, float factor)
{
    const double newLow = std::trunc(static_cast<double>(static_cast<float>(low) * factor));
    const double newHigh = std::trunc(static_cast<double>(static_cast<float>(high) * factor));
    const double limit = 2147483647.0;
    const double largest = std::fmax(std::fmax(std::fabs(newLow), std::fabs(newHigh)), std::fabs(newHigh - newLow));
    if (factor == 0 || std::isnan(newLow + newHigh) || largest > limit) {
        return;
    }
    const int direction = (high > low) == (factor > 0) ? 1 : -1;
    low = static_cast<std::int32_t>(newLow);
    high = newLow == newHigh ? low + direction : static_cast<std::int32_t>(newHigh);
}

double quotient(double a, double b)
{
    return b == 0 ? NAN : a / b; // whatever it is, no int32 holds it
}

std::int64_t crossOf(std::int64_t ax, std::int64_t ay, std::int64_t bx, std::int64_t by)
{
    return ax * by - bx * ay;
}

bool onEdge(std::int64_t px, std::int64_t py, std::int64_t ax, std::int64_t ay, std::int64_t bx, std::int64_t by)
{
    return crossOf(bx - ax, by - ay, px - ax, py - ay) == 0 && (px - ax) * (px - bx) <= 0 && (py - ay) * (py - by) <= 0;
}

} // namespace

bool PlainRule::allZero() const
{
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (x[i] != 0 || y[i] != 0) {
            return false;
        }
    }
    return true;
}

bool PlainRule::empty() const
{
    // The texts of this model are never empty.
    return family != 5 && allZero();
}

bool PlainRule::near(std::int32_t px, std::int32_t py, std::size_t i) const
{
    const std::int64_t qx = x[i];
    const std::int64_t qy = y[i];
    return qx - 5 < px && px < qx + 5 && qy - 5 < py && py < qy + 5;
}

bool PlainRule::breaks(std::int32_t px, std::int32_t py) const
{
    const auto [cx, cy] = clamp(px, py);
    return cx != px || cy != py;
}

std::pair<std::int32_t, std::int32_t> PlainRule::clamp(std::int32_t px, std::int32_t py) const
{
    if ((mask & 1U) != 0 && px < pictureLeft) {
        px = pictureLeft;
    }
    if ((mask & 2U) != 0 && py < pictureTop) {
        py = pictureTop;
    }
    if ((mask & 4U) != 0 && px > pictureRight) {
        px = pictureRight;
    }
    if ((mask & 8U) != 0 && py > pictureBottom) {
        py = pictureBottom;
    }
    return {px, py};
}

bool PlainRule::onLine(std::int32_t px, std::int32_t py) const
{
    const double whole = std::hypot(static_cast<double>(x[0]) - x[1], static_cast<double>(y[0]) - y[1]);
    const double first = std::hypot(static_cast<double>(px) - x[0], static_cast<double>(py) - y[0]);
    const double second = std::hypot(static_cast<double>(px) - x[1], static_cast<double>(py) - y[1]);
    return whole + 0.5 > first + second;
}

bool PlainRule::inPolygon(std::int32_t px, std::int32_t py) const
{
    if (x.empty()) {
        return false;
    }
    double minX = x[0];
    for (const std::int32_t value : x) {
        minX = value < minX ? value : minX;
    }
    const std::int64_t rayX = toInt(minX - 10);
    int count = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const std::size_t j = i + 1 == x.size() ? 0 : i + 1;
        if (near(px, py, i) || onEdge(px, py, x[i], y[i], x[j], y[j])) {
            return true;
        }
        if (y[i] == y[j]) {
            continue;
        }
        if (onEdge(x[i], y[i], px, py, rayX, py)) {
            count += y[i] > y[j] ? 1 : 0;
        } else if (onEdge(x[j], y[j], px, py, rayX, py)) {
            count += y[j] > y[i] ? 1 : 0;
        } else {
            const std::int64_t ax = x[i];
            const std::int64_t ay = y[i];
            const std::int64_t bx = x[j];
            const std::int64_t by = y[j];
            const std::int64_t d1 = crossOf(px - ax, py - ay, rayX - ax, py - ay);
            const std::int64_t d2 = crossOf(px - bx, py - by, rayX - bx, py - by);
            const std::int64_t d3 = crossOf(ax - px, ay - py, bx - px, by - py);
            const std::int64_t d4 = crossOf(ax - rayX, ay - py, bx - rayX, by - py);
            const bool sameSide = (d1 > 0 && d2 > 0) || (d1 < 0 && d2 < 0);
            const bool sameOther = (d3 > 0 && d4 > 0) || (d3 < 0 && d4 < 0);
            count += !sameSide && !sameOther ? 1 : 0;
        }
    }
    return count % 2 == 1;
}

bool PlainRule::hit(std::int32_t px, std::int32_t py) const
{
    switch (family) {
    case 1:
        return near(px, py, 0);
    case 2:
        return onLine(px, py) || near(px, py, 0) || near(px, py, 1);
    case 4:
        return inPolygon(px, py);
    default:
        return x[0] <= px && px <= x[1] && y[0] <= py && py <= y[1];
    }
}

void PlainRule::box(std::int32_t px, std::int32_t py)
{
    x = {px < anchorX ? px : anchorX, px < anchorX ? anchorX : px};
    y = {py < anchorY ? py : anchorY, py < anchorY ? anchorY : py};
}

bool PlainRule::add(std::int32_t px, std::int32_t py, int action)
{
    const bool outside = px < 0 || px > paneWidth || py < 0 || py > paneHeight;
    if (family == 1) {
        if (action == 1) {
            x[0] = px;
            y[0] = py;
        }
        return true;
    }
    if (family == 2) {
        if (allZero() && action == 1) {
            x = {px, px};
            y = {py, py};
            return true;
        }
        if (action == 1 || !outside) {
            x[1] = px;
            y[1] = py;
        }
        return action != 1;
    }
    if (family == 3) {
        if (allZero() && action == 1) {
            anchorX = px;
            anchorY = py;
        }
        if (action == 1 || !outside) {
            box(px, py);
        }
        return true;
    }
    if (family == 5) {
        return false;
    }
    if (action == 1 && x.empty()) {
        x = {px, px};
        y = {py, py};
        return true;
    }
    if (action == 1) {
        if (static_cast<int>(x.size()) >= maxPoints) {
            return false;
        }
        x.push_back(px);
        y.push_back(py);
        return true;
    }
    if (action == 3 && early && x.size() >= 5) {
        x.pop_back();
        y.pop_back();
        return false;
    }
    if (!x.empty()) {
        x.back() = px;
        y.back() = py;
    }
    return true;
}

void PlainRule::drag(std::int32_t px, std::int32_t py)
{
    const std::int32_t dx = minus(px, lastX);
    const std::int32_t dy = minus(py, lastY);
    lastX = px;
    lastY = py;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (breaks(plus(x[i], dx), plus(y[i], dy))) {
            return;
        }
    }
    const std::int32_t width = family == 5 ? minus(x[1], x[0]) : 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = plus(x[i], dx);
        y[i] = plus(y[i], dy);
    }
    if (family == 5 && dockMode == 1) {
        x = {pictureLeft, plus(pictureLeft, width)};
    }
    if (family == 5 && dockMode == 2) {
        x = {minus(pictureRight, width), pictureRight};
    }
}

void PlainRule::grab(std::int32_t px, std::int32_t py)
{
    if (family == 1) {
        grabMode = near(px, py, 0) ? 1 : 0;
        return;
    }
    lastX = px;
    lastY = py;
    if (family == 2) {
        grabMode = near(px, py, 0) ? 1 : (near(px, py, 1) ? 2 : (hit(px, py) ? 3 : 0));
    } else if (family == 3) {
        grabMode = hit(px, py) ? 5 : 0;
        const int columns[] = {0, 1, 1, 0};
        const int rows[] = {0, 0, 1, 1};
        for (int corner = 3; corner >= 0; --corner) {
            if (std::abs(static_cast<std::int64_t>(px) - x[columns[corner]]) <= 4 &&
                std::abs(static_cast<std::int64_t>(py) - y[rows[corner]]) <= 4) {
                grabMode = corner + 1;
            }
        }
    } else if (family == 4) {
        grabMode = 0;
        grabIndex = -1;
        for (std::size_t i = x.size(); i-- > 0;) {
            if (near(px, py, i)) {
                grabMode = 1;
                grabIndex = static_cast<int>(i);
            }
        }
    }
}

void PlainRule::edit(std::int32_t px, std::int32_t py, int action)
{
    if (action == 2) {
        grab(px, py);
        return;
    }
    if (family == 1) {
        if (grabMode == 1 && !breaks(px, py)) {
            x[0] = px;
            y[0] = py;
        }
    } else if (family == 2) {
        if (grabMode == 3) {
            drag(px, py);
        } else if (grabMode != 0 && !breaks(px, py)) {
            x[grabMode - 1] = px;
            y[grabMode - 1] = py;
        }
    } else if (family == 3) {
        if (action == 4) {
            if (x[0] > x[1]) {
                std::swap(x[0], x[1]);
            }
            if (y[0] > y[1]) {
                std::swap(y[0], y[1]);
            }
        } else if (!breaks(px, py)) {
            if (grabMode == 5) {
                drag(px, py);
            } else if (grabMode != 0) {
                x[grabMode == 1 || grabMode == 4 ? 0 : 1] = px;
                y[grabMode == 1 || grabMode == 2 ? 0 : 1] = py;
            }
        }
    } else if (family == 4 && grabMode == 1) {
        if (grabIndex < static_cast<int>(x.size()) && !breaks(px, py)) {
            x[grabIndex] = px;
            y[grabIndex] = py;
        }
    } else {
        drag(px, py);
    }
}

void PlainRule::scale(float fx, float fy)
{
    const std::size_t moving = family == 5 ? 1 : x.size();
    for (std::size_t i = 0; i < moving; ++i) {
        x[i] = times(x[i], fx);
        y[i] = times(y[i], fy);
    }
    anchorX = times(anchorX, fx);
    anchorY = times(anchorY, fy);
    stretch(pictureLeft, pictureRight, fx);
    stretch(pictureTop, pictureBottom, fy);
    paneWidth = minus(pictureRight, pictureLeft);
    paneHeight = minus(pictureBottom, pictureTop);
}

void PlainRule::translate(std::int32_t dx, std::int32_t dy)
{
    const std::size_t moving = family == 5 ? 1 : x.size();
    for (std::size_t i = 0; i < moving; ++i) {
        x[i] = plus(x[i], dx);
        y[i] = plus(y[i], dy);
    }
    anchorX = plus(anchorX, dx);
    anchorY = plus(anchorY, dy);
    pictureLeft = plus(pictureLeft, dx);
    pictureRight = plus(pictureRight, dx);
    pictureTop = plus(pictureTop, dy);
    pictureBottom = plus(pictureBottom, dy);
    paneWidth = minus(pictureRight, pictureLeft);
    paneHeight = minus(pictureBottom, pictureTop);
}

std::pair<std::int32_t, std::int32_t> plainToNormalised(const PlainRule &rule, int origin, std::int32_t px,
                                                        std::int32_t py)
{
    const double width = rule.paneWidth;
    const double height = rule.paneHeight;
    const std::int32_t down = minus(py, rule.pictureTop);
    const std::int32_t row = origin == 2 ? minus(rule.paneHeight, down) : down;
    return {toInt(quotient(minus(px, rule.pictureLeft) * 1000.0, width)), toInt(quotient(row * 1000.0, height))};
}

std::pair<std::int32_t, std::int32_t> plainToPixels(const PlainRule &rule, int origin, std::int32_t nx, std::int32_t ny)
{
    const auto product = [](std::int32_t a, std::int32_t b) {
        return static_cast<double>(
            static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(a) * b))); // the low half
    };
    const std::int32_t px = toInt(product(nx, rule.paneWidth) / 1000.0 + rule.pictureLeft);
    const double down = origin == 2 ? (1000.0 - ny) * rule.paneHeight / 1000.0 : product(ny, rule.paneHeight) / 1000.0;
    return {px, toInt(down + rule.pictureTop)};
}

} // namespace pellora
