#pragma once

#include <QString>
#include <QStringList>

namespace test_support {

// Runs `program` with `arguments` to its end; returns its standard output, or fails the test
// (QVERIFY-style, through qFatal) when it cannot be started.
QString run(const QString& program, const QStringList& arguments, int* exit_code = nullptr);

} // namespace test_support
