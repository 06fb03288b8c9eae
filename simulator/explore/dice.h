#pragma once

#include <QRandomGenerator>

#include <initializer_list>
#include <vector>

/// Chance that follows from a seed alone, everywhere and for ever.
class Dice
{
public:
    explicit Dice(quint64 seed);

    /// From least to most, both included.
    int number(int least, int most);
    bool chance(int percent) { return number(0, 99) < percent; }
    /// As number, but the small as likely as the large: of each magnitude equally many.
    int magnitude(int least, int most);
    double seconds(double most) { return number(0, static_cast<int>(most * 100)) / 100.0; }
    /// An index, each as likely as its weight; one of the weights must be more than 0.
    std::size_t weighted(const std::vector<int>& weights);

    template <typename Value>
    Value oneOf(std::initializer_list<Value> values)
    {
        return values.begin()[number(0, static_cast<int>(values.size()) - 1)];
    }
    template <typename Value>
    const Value& oneOf(const std::vector<Value>& values)
    {
        return values[static_cast<std::size_t>(number(0, static_cast<int>(values.size()) - 1))];
    }

private:
    QRandomGenerator m_random;
};
