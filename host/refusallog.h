#pragma once

#include <QString>

#include <chrono>
#include <functional>

/**
 * Tells at warning level what was refused, one line each, in the category "ch.tessel.vexo-service.access".
 * Whoever is refused may come again as often as it likes: beyond so many lines within a period refusals are
 * only counted, and their number is told with the next one after it, or at the end.
 */
class RefusalLog final
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    static constexpr int linesPerPeriod = 10;
    static constexpr std::chrono::seconds period{60};

    explicit RefusalLog(Clock clock = &std::chrono::steady_clock::now);
    ~RefusalLog();
    Q_DISABLE_COPY_MOVE(RefusalLog)

    /// `what` has no credentials and no line ends.
    void add(const QString &what);
    /// As above; `what` is asked for only if it is told.
    void add(const std::function<QString()> &what);

private:
    void tellCount();

    const Clock m_clock;
    std::chrono::steady_clock::time_point m_begin; ///< of the period
    int m_lines = 0; ///< told within the period
    int m_untold = 0;
};
