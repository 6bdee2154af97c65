#include "camera_clocks.h"

#include <QCoreApplication>

#include <algorithm>

namespace camera_clocks {

std::optional<qint64> gps_difference(const QDateTime& gps_utc, const QDateTime& recorded, const QDateTime& now)
{
    static const QDateTime earliest(QDate(1990, 1, 1), QTime(0, 0), Qt::UTC);
    if (!gps_utc.isValid() || !recorded.isValid() || gps_utc < earliest || gps_utc > now)
        return std::nullopt;
    const qint64 difference = recorded.secsTo(gps_utc);
    if (qAbs(difference) > 366 * qint64(86400))
        return std::nullopt;
    return difference;
}

std::optional<gps_estimate> estimate(QVector<qint64> differences)
{
    if (differences.isEmpty())
        return std::nullopt;
    std::sort(differences.begin(), differences.end());
    const int middle = differences.size() / 2;
    // The lower of the two middle values where the count is even: a clock error is whole seconds.
    const qint64 median = differences.size() % 2 ? differences.at(middle) : differences.at(middle - 1)
        + (differences.at(middle) - differences.at(middle - 1)) / 2;
    return gps_estimate{median, int(differences.size()), differences.last() - differences.first()};
}

QString correction_text(qint64 seconds)
{
    if (seconds == 0)
        return QStringLiteral("0 s");
    const QString sign = seconds < 0 ? QStringLiteral("\u2212") : QStringLiteral("+");
    const qint64 total = qAbs(seconds);
    const qint64 days = total / 86400, hours = total % 86400 / 3600, minutes = total % 3600 / 60, rest = total % 60;
    QString text = sign;
    if (days)
        text += QStringLiteral("%1 d ").arg(days);
    return text + QStringLiteral("%1 h %2 min %3 s").arg(hours).arg(minutes).arg(rest);
}

} // namespace camera_clocks
