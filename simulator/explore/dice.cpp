#include "explore/dice.h"

#include <QtAlgorithms>

#include <algorithm>
#include <array>
#include <numeric>

namespace {

QRandomGenerator seeded(quint64 seed)
{
    const std::array<quint32, 2> halves{static_cast<quint32>(seed),
                                        static_cast<quint32>(seed >> 32)};
    return {halves.data(), halves.size()};
}

} // namespace

Dice::Dice(quint64 seed)
    : m_random(seeded(seed))
{
}

int Dice::number(int least, int most)
{
    return least + static_cast<int>(m_random.bounded(static_cast<quint32>(most - least) + 1));
}

int Dice::magnitude(int least, int most)
{
    const auto bitsOf = [](int number) { return 31 - qCountLeadingZeroBits(quint32(number)); };
    const int bits = number(static_cast<int>(bitsOf(least)), static_cast<int>(bitsOf(most)));
    return number(std::max(least, 1 << bits), std::min(most, int((qint64{2} << bits) - 1)));
}

std::size_t Dice::weighted(const std::vector<int>& weights)
{
    int left = number(0, std::accumulate(weights.begin(), weights.end(), 0) - 1);
    std::size_t index = 0;
    while (left >= weights[index])
        left -= weights[index++];
    return index;
}
