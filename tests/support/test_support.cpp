#include "test_support.h"

#include <QProcess>

namespace test_support {

QString run(const QString& program, const QStringList& arguments, int* exit_code)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(10000))
        qFatal("cannot start %s", qPrintable(program));
    process.waitForFinished(120000);
    if (exit_code)
        *exit_code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace test_support
