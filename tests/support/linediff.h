#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// The lines in which two texts differ, those of `before` with "-" and those of `after` with "+" in front,
/// and a common line before each such place. Empty for equal texts.
inline QString lineDiff(const QString &before, const QString &after)
{
    const QStringList old = before.split(QLatin1Char('\n'));
    const QStringList now = after.split(QLatin1Char('\n'));
    // The length of the longest common subsequence of what stands from each pair of lines on.
    QVector<QVector<int>> common(old.size() + 1, QVector<int>(now.size() + 1, 0));
    for (int i = old.size() - 1; i >= 0; --i) {
        for (int j = now.size() - 1; j >= 0; --j)
            common[i][j] = old.at(i) == now.at(j) ? common.at(i + 1).at(j + 1) + 1
                                                  : qMax(common.at(i + 1).at(j), common.at(i).at(j + 1));
    }
    QString diff;
    QString shared;
    int i = 0;
    int j = 0;
    while (i < old.size() || j < now.size()) {
        if (i < old.size() && j < now.size() && old.at(i) == now.at(j)) {
            shared = QLatin1String("  ") + old.at(i++) + QLatin1Char('\n');
            ++j;
            continue;
        }
        diff += shared;
        shared.clear();
        if (j == now.size() || (i < old.size() && common.at(i + 1).at(j) >= common.at(i).at(j + 1)))
            diff += QLatin1String("- ") + old.at(i++) + QLatin1Char('\n');
        else
            diff += QLatin1String("+ ") + now.at(j++) + QLatin1Char('\n');
    }
    return diff;
}
