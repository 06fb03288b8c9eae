#pragma once

#include <QtGlobal>

#include <algorithm>
#include <chrono>
#include <optional>

/// A transfer on its way over a wire.
struct Passage
{
    std::optional<std::chrono::steady_clock::time_point> due; ///< none before it has begun
};

/// The speed of one pod's wire. Times follow from each other, not from the clock, so that late
/// timers and the host's gaps between two transfers don't add up. A value; never fails.
class Pacer
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// 0 bytes per second: no limit.
    explicit Pacer(quint32 bytes_per_second)
        : m_bytes_per_second(bytes_per_second)
    {
    }

    /// The wire has been idle: what it could have carried meanwhile is lost.
    void idleUntil(TimePoint now) { m_free_at = std::max(m_free_at, now); }

    /// When the last of these bytes will have passed.
    TimePoint book(int length_bytes, TimePoint now)
    {
        if (m_bytes_per_second == 0)
            return now;
        m_free_at = std::max(m_free_at, now - kForgivenLateness) +
                    std::chrono::nanoseconds(std::nano::den * length_bytes / m_bytes_per_second);
        return m_free_at;
    }

    /// Whether so many bytes have passed by now; they set out when they were first asked about.
    /// With no bytes, nothing is on its way.
    bool passed(Passage& passage, int length_bytes, TimePoint now)
    {
        if (length_bytes == 0)
            passage.due.reset();
        else if (!passage.due)
            passage.due = book(length_bytes, now);
        return passage.due && *passage.due <= now;
    }

private:
    /// A pod fills its buffers, or empties them, while the host is late by less than this.
    static constexpr std::chrono::milliseconds kForgivenLateness{50};

    quint32 m_bytes_per_second;
    TimePoint m_free_at;
};
