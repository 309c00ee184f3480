#include "player/tests/support/Collector.h"

#include "player/tests/support/PictureNumber.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <stdexcept>

namespace player::test
{

Collector::Collector(const Bytes &header, std::size_t bufferSize, StreamMode mode)
    : m_mode(mode), m_feed(m_clock, header, bufferSize, mode, [this] {
          if (m_mode == StreamMode::RealTime) {
              take();
          }
      })
{
    m_feed.setCapacity(10000);
    m_feed.start();
}

void Collector::push(const Record &record)
{
    ASSERT_EQ(m_feed.push(record.bytes.data(), record.bytes.size()), Error::None);
}

void Collector::push(const PushedStream &stream, std::size_t from, std::size_t to)
{
    for (std::size_t i = from; i < to; ++i) {
        push(stream.records[i]);
    }
}

void Collector::pushPaced(const PushedStream &stream, std::size_t from, std::size_t to,
                          std::chrono::microseconds interval)
{
    for (std::size_t i = from; i < to; ++i) {
        push(stream.records[i]);
        m_clock.advance(interval);
    }
}

void Collector::take()
{
    Picture picture = m_feed.take();
    if (picture) {
        m_numbers.push_back(numberOf(picture));
        m_pictures.push_back(std::move(picture));
    }
}

std::vector<int> Collector::numbers()
{
    m_clock.settle();
    // Large pictures do not all fit into the queue.
    while (m_mode == StreamMode::File && m_feed.nextTime()) {
        take();
        m_clock.settle();
    }
    return m_numbers;
}

const std::vector<Picture> &Collector::pictures()
{
    numbers();
    return m_pictures;
}

Error Collector::failure()
{
    m_clock.settle();
    return m_feed.failure();
}

std::vector<int> range(int from, int to)
{
    std::vector<int> numbers(static_cast<std::size_t>(to - from));
    std::iota(numbers.begin(), numbers.end(), from);
    return numbers;
}

std::vector<int> operator+(std::vector<int> left, const std::vector<int> &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::size_t place(const PushedStream &stream, int number)
{
    for (std::size_t i = 0; i < stream.records.size(); ++i) {
        if (stream.records[i].number == number) {
            return i;
        }
    }
    throw std::runtime_error("no such picture");
}

int apart(const Picture &left, const Picture &right)
{
    if (left.shape.width != right.shape.width || left.shape.height != right.shape.height) {
        return 255;
    }
    int most = 0;
    for (int row = 0; row < left.shape.height; ++row) {
        const std::uint8_t *pLeft = left.pFrame->data[0] + std::ptrdiff_t{row} * left.pFrame->linesize[0];
        const std::uint8_t *pRight = right.pFrame->data[0] + std::ptrdiff_t{row} * right.pFrame->linesize[0];
        for (int column = 0; column < left.shape.width; ++column) {
            most = std::max(most, std::abs(pLeft[column] - pRight[column]));
        }
    }
    return most;
}

void expectWhole(Collector &collector, const PushedStream &whole)
{
    Collector all(whole.header);
    all.push(whole, 0, whole.records.size());
    const auto &expected = all.pictures();
    const auto numbers = all.numbers();
    const auto shown = collector.numbers();
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto found = std::find(numbers.begin(), numbers.end(), shown[i]);
        ASSERT_NE(found, numbers.end()) << shown[i];
        EXPECT_EQ(apart(collector.pictures()[i], expected[static_cast<std::size_t>(found - numbers.begin())]), 0)
            << shown[i];
    }
}

} // namespace player::test
