#include "run_pace.h"

#include <QCoreApplication>

namespace {

QString duration_text(qint64 seconds)
{
    if (seconds < 60)
        return QCoreApplication::translate("MainWindow", "%1 s").arg(seconds);
    if (seconds < 3600)
        return QCoreApplication::translate("MainWindow", "%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    return QCoreApplication::translate("MainWindow", "%1 h %2 min").arg(seconds / 3600).arg(seconds % 3600 / 60);
}

} // namespace

QString run_pace_format(int done, int total, qint64 elapsed_ms)
{
    const QString counted = QCoreApplication::translate("MainWindow", "%v of %m");
    // Before a second has passed the pace says little, and it is gone again by then in short runs.
    if (done <= 0 || elapsed_ms < 1000 || total <= done)
        return counted;
    const double per_second = done * 1000.0 / double(elapsed_ms);
    const qint64 left = qint64((total - done) / per_second + 0.5);
    return QCoreApplication::translate("MainWindow", "%1, %2 files/s, %3 left")
        .arg(counted)
        .arg(per_second >= 10 ? QString::number(qRound(per_second)) : QString::number(per_second, 'f', 1))
        .arg(duration_text(left));
}
