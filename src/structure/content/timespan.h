#pragma once

namespace structure::content {

/// A span of time in whole seconds; negative ones are possible.
class Timespan final
{
public:
    /// 0 seconds.
    Timespan() = default;
    explicit Timespan(long long seconds)
        : m_seconds(seconds)
    {
    }

    /// A span of so many seconds, a count beyond the range of long long being taken modulo 2^64.
    [[nodiscard]] static Timespan createTimespanSeconds(unsigned long seconds)
    {
        return Timespan(static_cast<long long>(seconds));
    }

    [[nodiscard]] long long seconds() const { return m_seconds; }

private:
    long long m_seconds = 0;
};

} // namespace structure::content
